// KVLocaleStrings: every translated string known for one locale, by key. Lookups may come from
// any thread while the main thread replaces the dictionaries: each dictionary is an immutable
// snapshot published atomically, so a lookup sees the old or the new one, never a torn one.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "kolvane/locale.h"
#include "strings/string_group.h"

namespace kolvane {

struct KVStringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept {
    return std::hash<std::string_view>{}(text);
  }
};

// Key to the forms of that key.
using KVStringGroups =
    std::unordered_map<std::string, std::shared_ptr<KVStringGroup>, KVStringHash, std::equal_to<>>;

class KVLocaleStrings {
 public:
  explicit KVLocaleStrings(Locale locale) : locale_(std::move(locale)) {}
  static std::shared_ptr<KVLocaleStrings> localeStringsForLocale(const Locale& locale);

  const Locale& locale() const { return locale_; }

  // Strings read from the published, pending or packaged file (for the base locale, from the
  // app's own table); none until loaded.
  std::shared_ptr<const KVStringGroups> loadedStrings() const { return loadedStrings_.load(); }
  void setLoadedStrings(KVStringGroups groups);
  // Strings edited on this device and not yet sent. Main thread writes.
  std::shared_ptr<const KVStringGroups> dirtyStrings() const { return dirtyStrings_.load(); }
  void setDirtyStrings(KVStringGroups groups);

  // The edited group while editing is enabled and the key was edited, else the loaded group.
  std::shared_ptr<KVStringGroup> kolvaneStringGroupForKey(std::string_view key) const;
  // The form of a category, falling back as the group's non-strict choice does.
  std::shared_ptr<KVString> kolvaneStringForKey(std::string_view key,
                                                const std::optional<std::string>& plural) const;
  std::optional<std::u16string> localizedStringForKey(std::string_view key) const;
  std::optional<std::u16string> localizedStringForKey(
      std::string_view key, const std::optional<std::string>& plural) const;

  // The first form in `groups` whose matching key equals `hash` exactly.
  static std::shared_ptr<KVString> findLocalizedString(std::u16string_view hash,
                                                       const KVStringGroups& groups);
  // By matching key: the edited strings first, then the loaded ones.
  std::shared_ptr<KVString> kolvaneStringForLocalizedString(std::u16string_view hash) const;

 private:
  Locale locale_;
  std::atomic<std::shared_ptr<const KVStringGroups>> loadedStrings_;
  std::atomic<std::shared_ptr<const KVStringGroups>> dirtyStrings_{
      std::make_shared<const KVStringGroups>()};
};

}  // namespace kolvane
