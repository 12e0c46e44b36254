// KVMainController: the process-wide runtime state (project id, log switches, chosen workflow
// step, the stores of the shown and the base locale) and the lookups over it.
// Start-up and every setter run on the main thread; the lookups and getters run on any thread.
#pragma once

#include <atomic>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kolvane/locale.h"
#include "kolvane/number.h"
#include "strings/string_record.h"

namespace kolvane {

class KVLocaleStrings;
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
  void setupActions();
  // The saved workflow step, the base locale's store and the saved shown locale's store.
  void loadSavedParameters();
  // Forgets the workflow step and the shown locale; the base store and switches stay.
  void reset();

  // The shown locale, or none when the app shows its own strings.
  std::optional<Locale> locale() const;
  // A workflow step is chosen and it lets the reviewer translate.
  bool editionEnabled() const;
  // Where downloaded and edited files are kept: the documents folder + "/Kolvane".
  static std::string kolvaneFilesFolder();

  // The record whose matching key is `text` (cues added at either end when missing,
  // lowercased): the shown locale's store first, then the base store.
  std::shared_ptr<KVString> kolvaneStringForLocalizedString(std::u16string_view text) const;
  // Finds the record of a text whose nested strings were replaced by empty markers, and
  // collects its argument values in `values`: the literal argument texts and, for each empty
  // marker, the next of the values `values` held on entry.
  std::shared_ptr<KVString> kolvaneStringWithNonNestedString(
      std::u16string_view text, std::optional<std::vector<KVArgumentValue>>* values) const;
  // The format of the plural form of `key` for `value`: shown locale, base, then the bundle.
  std::u16string pluralizedStringWithKey(std::string_view key,
                                         const std::optional<Number>& value) const;

  const std::optional<std::string>& appId() const { return appId_; }
  bool appLaunched() const { return appLaunched_.load(); }
  bool log() const;
  void setLog(bool on);
  bool debug() const;
  void setDebug(bool on);
  std::shared_ptr<const KVWorkflowStep> workflowStep() const { return workflowStep_.load(); }
  void setWorkflowStep(std::shared_ptr<const KVWorkflowStep> step);
  std::shared_ptr<KVLocaleStrings> localeStrings() const { return localeStrings_.load(); }
  void setLocaleStrings(std::shared_ptr<KVLocaleStrings> store);
  std::shared_ptr<KVLocaleStrings> baseLocaleStrings() const { return baseLocaleStrings_.load(); }
  void setBaseLocaleStrings(std::shared_ptr<KVLocaleStrings> store);

  // Back to the state before start-up. For tests; main thread, no lookups running.
  void resetForTesting();

 private:
  KVMainController() = default;

  std::optional<std::string> appId_;
  std::atomic<bool> appLaunched_{false};
  std::atomic<std::shared_ptr<const KVWorkflowStep>> workflowStep_;
  std::atomic<std::shared_ptr<KVLocaleStrings>> localeStrings_;
  std::atomic<std::shared_ptr<KVLocaleStrings>> baseLocaleStrings_;
};

}  // namespace kolvane
