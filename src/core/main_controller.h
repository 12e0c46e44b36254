// KVMainController: the process-wide runtime state (project id, log switches, chosen workflow
// step, the stores of the shown and the base locale) and the lookups over it.
// Start-up and every setter run on the main thread; the lookups and getters run on any thread.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/app_catalogue.h"
#include "core/published.h"
#include "kolvane/locale.h"
#include "kolvane/number.h"
#include "strings/string_record.h"
#include "strings/xliff_writer.h"

namespace kolvane {

class KVLocaleStrings;
class KVReviewerServices;
class KVWorkflowStep;

class KVMainController {
 public:
  static KVMainController& sharedInstance();

  // Start-up: project id, options, saved parameters, then marks the app launched. Without a
  // project id nothing happens.
  void startWithProjectId(const std::optional<std::string>& projectId,
                          const nlohmann::json& options);
  // "logging": 1 log, 2 log and debug; "environment": "stage" staging, else production.
  void parseLaunchOptions(const nlohmann::json& options);
  // Restores a reviewer's login through the reviewer's services, when installed.
  void setupActions();
  // The saved workflow step, the base locale's store and the saved shown locale's store.
  void loadSavedParameters();
  // Fills the stores from their files: the base store from the app's own table; the shown
  // store from its published and pending files (else the packaged one), then its edits and
  // saved review decisions. Run at start-up and whenever the shown strings must be rebuilt.
  void loadStrings();
  // The same, with the files read and parsed on a worker thread so that a large download does
  // not hold the app's interface; the stores are filled on the main thread, then `completion`
  // runs there. Stores replaced in the meantime are left alone. Main thread.
  void loadStringsInBackground(std::function<void()> completion);
  // Where loadStringsInBackground's reading runs: a thread of its own unless set (tests run it
  // in place). None restores the default.
  static void setBackgroundRunner(std::function<void(std::function<void()>)> runner);
  // Forgets the workflow step and the shown locale; the base store and switches stay.
  void reset();

  // The shown locale, or none when the app shows its own strings. Any thread.
  std::optional<Locale> locale() const;
  // A workflow step that lets the reviewer translate is chosen and a reviewer is signed in
  // (asked of the reviewer's services). Any thread.
  bool editionEnabled() const;
  // What an XLIFF document written now is about: the base and shown locales, the chosen step,
  // and the base store's forms as source texts. Main thread.
  KVXliffContext xliffContext() const;
  // Where downloaded and edited files are kept: the documents folder + "/Kolvane".
  static std::string kolvaneFilesFolder();

  // The record whose matching key is `text` (cues added at either end when missing,
  // lowercased): the shown locale's store first, then the base store.
  std::shared_ptr<const KVString> kolvaneStringForLocalizedString(std::u16string_view text) const;
  // Finds the record of a text whose nested strings were replaced by empty markers, and
  // collects its argument values in `values`: the literal argument texts and, for each empty
  // marker, the next of the values `values` held on entry.
  std::shared_ptr<const KVString> kolvaneStringWithNonNestedString(
      std::u16string_view text, std::optional<std::vector<KVArgumentValue>>* values) const;
  // The format of the plural form of `key` for `value`: shown locale, base, then the bundle.
  std::u16string pluralizedStringWithKey(std::string_view key,
                                         const std::optional<Number>& value) const;

  // State. The getters below return owning pointers and are for the main thread; lookups on
  // other threads read the same state through the published pointers.
  // The project id. Any thread (usage analytics reads it on its own queue).
  std::optional<std::string> appId() const;
  bool appLaunched() const { return appLaunched_.load(); }
  bool log() const;
  void setLog(bool on);
  bool debug() const;
  void setDebug(bool on);
  const std::shared_ptr<const KVWorkflowStep>& workflowStep() const {
    return workflowStep_.owner();
  }
  void setWorkflowStep(std::shared_ptr<const KVWorkflowStep> step);
  const std::shared_ptr<KVLocaleStrings>& localeStrings() const { return localeStrings_.owner(); }
  // What the app's own catalogues answered, below every store. Any thread.
  KVAppCatalogue& appCatalogue() { return appCatalogue_; }
  const KVAppCatalogue& appCatalogue() const { return appCatalogue_; }
  void setLocaleStrings(std::shared_ptr<KVLocaleStrings> store);
  const std::shared_ptr<KVLocaleStrings>& baseLocaleStrings() const {
    return baseLocaleStrings_.owner();
  }
  void setBaseLocaleStrings(std::shared_ptr<KVLocaleStrings> store);

  // The login and server side, installed by the layers above before start-up (none: nobody
  // is signed in). The services must outlive the runtime. Main thread; read on any thread.
  KVReviewerServices* reviewerServices() const { return reviewerServices_.load(); }
  void setReviewerServices(KVReviewerServices* services) { reviewerServices_ = services; }

  // Any thread, while a LookupGuard is held.
  KVLocaleStrings* publishedLocaleStrings() const { return localeStrings_.get(); }
  KVLocaleStrings* publishedBaseLocaleStrings() const { return baseLocaleStrings_.get(); }

  // Back to the state before start-up. For tests; main thread, no lookups running.
  void resetForTesting();

 private:
  KVMainController() = default;
  // What the stores' files hold, read on any thread and published on the main thread.
  struct FileStrings;
  FileStrings fileStringsToRead() const;
  static void readFileStrings(FileStrings& files);
  void publishFileStrings(FileStrings files);
  void logLoadedStrings() const;

  mutable std::mutex appIdMutex_;
  std::optional<std::string> appId_;
  std::atomic<KVReviewerServices*> reviewerServices_{nullptr};
  KVAppCatalogue appCatalogue_;
  std::atomic<bool> appLaunched_{false};
  PublishedPtr<const KVWorkflowStep> workflowStep_;
  PublishedPtr<KVLocaleStrings> localeStrings_;
  PublishedPtr<KVLocaleStrings> baseLocaleStrings_;
};

}  // namespace kolvane
