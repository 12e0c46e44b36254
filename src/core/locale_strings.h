// KVLocaleStrings: every translated string known for one locale, by key: the strings read
// from files, the reviewer's unsent edits and review decisions, and the files behind them.
//
// Lookups (by key and by displayed text) may come from any thread while the main thread
// reloads or edits: the loaded and the edited strings are immutable snapshots, each with an
// index by matching key, published atomically; what a lookup hands out is const. A change of
// review status or text copies the group and publishes a new snapshot. Everything else is for
// the main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/error.h"
#include "core/published.h"
#include "kolvane/locale.h"
#include "strings/string_group.h"
#include "strings/string_table.h"

namespace kolvane {

class KVLocaleStrings : public std::enable_shared_from_this<KVLocaleStrings> {
 public:
  explicit KVLocaleStrings(Locale locale);
  virtual ~KVLocaleStrings() = default;
  static std::shared_ptr<KVLocaleStrings> localeStringsForLocale(const Locale& locale);

  const Locale& locale() const { return locale_; }

  // Reads an XLIFF file: its groups into `into`, its source texts into `source` (either may be
  // absent), every group read stamped as the reader does with `status`. False when there is
  // no file or it could not be read (the debug log says why).
  static bool loadStringsFromPath(const std::string& path, KVStringGroups* into,
                                  KVStringGroups* source, unsigned status);
  // Reads the target texts of the XLIFF file at `path`, whose bytes are `bytes`, into a table
  // stamped `stamp`; null when they cannot be read (the debug log says why).
  static std::shared_ptr<const KVStringTable> tableFromXliff(
      const std::string& path, std::string_view bytes, unsigned status,
      const KVStringTable::SourceStamp& stamp);
  // Reads an app's ".strings" table: each text marked with cues, status 4 (untranslated).
  static bool loadStringsFromLocalizableStringsAtPath(const std::string& path, KVStringGroups& into,
                                                      bool forTable = false);

  // The store's files in the files folder, named after the locale's platform identifier.
  virtual std::string publishedFilePath() const;
  virtual std::string pendingFilePath() const;
  virtual std::string dirtyFilePath() const;
  // A file of this store's locale in the files folder: identifier + suffix.
  std::string fileNamed(std::string_view suffix) const;
  // The XLIFF file of this locale shipped in the app's bundle, if any.
  std::optional<std::string> packagedFilePath() const;

  // Main thread. The strings read from files; null until a load found some. Published: copy a
  // group before changing it.
  std::shared_ptr<const KVStringGroups> loadedStrings() const;
  void setLoadedStrings(KVStringGroups groups);
  // The same, for strings already in a table (read from a file or its image), with `overlay`
  // over it.
  void setLoadedTable(std::shared_ptr<const KVStringTable> table, KVStringGroups overlay = {});
  // Main thread. The strings edited on this device and not yet sent.
  const KVStringGroups& dirtyStrings() const;
  void setDirtyStrings(KVStringGroups groups);
  // Adds or replaces one edited group (null removes it), keeping the index in step.
  void setDirtyGroup(const std::string& key, std::shared_ptr<KVStringGroup> group);

  // Main thread. Review decisions taken on this device.
  KVStringGroups& acceptedStrings() { return acceptedStrings_; }
  KVStringGroups& rejectedStrings() { return rejectedStrings_; }
  // Main thread. Plain text (line breaks removed) to key, for texts set in interface files.
  const std::map<std::u16string, std::string>& nibStrings() const { return nibStrings_; }

  // Any thread. The edited group while editing is enabled and the key was edited, else the
  // loaded group.
  std::shared_ptr<const KVStringGroup> kolvaneStringGroupForKey(std::string_view key) const;
  std::shared_ptr<const KVString> kolvaneStringForKey(
      std::string_view key, const std::optional<std::string>& plural) const;
  std::optional<std::u16string> localizedStringForKey(std::string_view key) const;
  // The same text viewed in the store, for a caller holding a LookupGuard; with `plural`, that
  // form (falling back as a group does).
  std::optional<std::u16string_view> localizedTextForKey(
      std::string_view key, const std::optional<std::string>& plural) const;
  std::optional<std::u16string> localizedStringForKey(
      std::string_view key, const std::optional<std::string>& plural) const;

  // The first form in `groups` whose matching key is `hash`, by scanning every form.
  static std::shared_ptr<KVString> findLocalizedString(std::u16string_view hash,
                                                       const KVStringGroups& groups);
  // Any thread. By matching key, through the index: the edited strings first, then the loaded.
  std::shared_ptr<const KVString> kolvaneStringForLocalizedString(std::u16string_view hash) const;

  // Main thread. Indexes the loaded plain texts of keys shaped like interface-file keys
  // (holding "." and "-"). Nothing in the runtime calls it; hosts may.
  void extractUIStrings();
  std::optional<std::string> keyForIBString(std::u16string_view text) const;

  // Main thread. Writes the edited strings to the edited file and the review decisions (with
  // the reasons of rejections) to the user defaults ("KVStatuses"). What could not be written
  // stays in memory and goes with the next save; the error says why, and the save-failure
  // handler hears of it.
  std::optional<KVError> saveDirty();
  // Main thread. False while the last save failed: what the store holds is not all on disk.
  bool changesKeptOnDevice() const { return changesKeptOnDevice_; }
  // Main thread. Told of every failed save, so the reviewer hears of it at once.
  static void setSaveFailureHandler(std::function<void(const KVError&)> handler);
  // Main thread. Gives the group of `key` the review status `status`: an accepted or rejected
  // group goes into its map and out of the other, any other status takes the key out of both.
  // Returns the group now published. When the store has no such key, `decided` (the group the
  // reviewer decided on, of the same key) is copied with the status into its map all the same
  // and the copy returned; without it, none.
  std::shared_ptr<const KVStringGroup> setReviewStatus(const std::string& key, unsigned status,
                                                       const KVStringGroup* decided = nullptr);
  void clearDirtyStrings();
  void clearDirtyStatuses();
  void loadDirtyStatuses();

  // Downloads the published text and, when a workflow step is chosen, the text pending in it.
  // Only once every download has come do they replace this store's files and are the unsent
  // edits and decisions thrown away (discardLocalChanges): a failed pull leaves the device as it
  // was. The completion (main queue) gets the first download's error, else the second's. The
  // store is not reloaded.
  void pullWithCompletion(std::function<void(std::optional<KVError>)> completion);
  // What a successful pull throws away: the edits, the edited file and the review decisions.
  virtual void discardLocalChanges();
  // When the pending file was made (seconds since 1970); none without one.
  std::optional<double> lastDownloadDate() const;

 private:
  // The groups of a snapshot are never changed once it is published; edits and review
  // decisions publish a new snapshot. The indexes below rely on it.
  //
  // Strings read from files sit in a table (one block, or its mapped image); groups given as
  // objects (edits, restamped decisions) lie over it and win. Snapshots made from one another
  // share the table, so a decision copies one group, not the store.
  struct Snapshot {
    explicit Snapshot(KVStringGroups strings);
    Snapshot(std::shared_ptr<const KVStringTable> table, KVStringGroups overlay);
    struct Entry {
      const std::shared_ptr<KVStringGroup>* group;  // the value in `overlay`
      const KVString* defaultForm;                  // what a lookup without category answers
    };
    std::shared_ptr<const KVStringTable> table;
    KVStringGroups overlay;
    // By key, straight to the form a lookup answers: the path of every string the app shows.
    std::unordered_map<std::string_view, Entry, KVStringHash, std::equal_to<>> byKey;

    // The text a lookup answers (the default form, or `plural`'s when `named`).
    std::optional<std::u16string_view> textForKey(std::string_view key, std::string_view plural,
                                                  bool named) const;
    // The group of `key`, made from the table once and then kept.
    std::shared_ptr<KVStringGroup> groupForKey(std::string_view key) const;
    // Every group, the overlay over the table; made on first use (the review, logs, tools).
    const KVStringGroups& groups() const;
    // By matching key, for the reviewer's touches; built on the first reverse lookup, so an app
    // whose users never review pays nothing for it.
    std::shared_ptr<const KVString> stringForHash(std::u16string_view hash) const;

   private:
    std::shared_ptr<KVStringGroup> tableGroup(std::uint32_t index) const;
    void buildHashIndex() const;

    mutable std::mutex madeMutex_;
    mutable std::vector<std::shared_ptr<KVStringGroup>> made_;  // by table group, once made
    mutable std::once_flag allGroupsMade_;
    mutable KVStringGroups allGroups_;
    mutable std::once_flag hashIndexBuilt_;
    // Overlay forms, and table forms (by index), by their matching key.
    mutable std::unordered_map<std::u16string_view, std::shared_ptr<const KVString>, KVTextHash,
                               std::equal_to<>>
        overlayByHash_;
    mutable std::u16string tableMatchingKeys_;
    struct TableForm {
      std::uint32_t group;
      std::uint32_t form;
    };
    mutable std::unordered_map<std::u16string_view, TableForm, KVTextHash, std::equal_to<>>
        tableByHash_;
  };

  // Lookups without taking references; the caller holds a LookupGuard.
  // The edited snapshot while editing is enabled and it holds the key, else the loaded one.
  const Snapshot* snapshotForKey(std::string_view key) const;
  // Publishes the loaded and edited snapshots again with `statuses` (key to status) applied
  // to copies of their groups, and keeps accepted and rejected groups in their maps.
  void applyReviewStatuses(const std::map<std::string, unsigned>& statuses);

  void restoreRejectReasons();
  // An accepted or rejected group goes into its map and out of the other.
  void recordDecision(const std::shared_ptr<KVStringGroup>& group);

  Locale locale_;
  bool changesKeptOnDevice_ = true;
  PublishedPtr<const Snapshot> loaded_;
  PublishedPtr<const Snapshot> dirty_;
  KVStringGroups acceptedStrings_;
  KVStringGroups rejectedStrings_;
  std::map<std::u16string, std::string> nibStrings_;

  friend class KVMainController;
};

}  // namespace kolvane
