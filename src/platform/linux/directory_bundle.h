// An application bundle laid out as a directory: Info.plist, <lang>.lproj/<table>.strings and
// resources such as fr_FR.xlf. What is read is cached; any thread may call.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "kolvane/bundle.h"
#include "kolvane/platform.h"

namespace kolvane {

class DirectoryBundle : public Bundle {
 public:
  // Reads Info.plist and the localisations present; the process language is taken from
  // LANGUAGE, LC_ALL, LC_MESSAGES and LANG as they are now.
  // `defaultInfo` answers the info keys the folder's Info.plist lacks.
  explicit DirectoryBundle(std::string path, std::map<std::string, std::string> defaultInfo = {});

  std::u16string platformLocalizedStringForKey(std::string_view key, std::u16string_view value,
                                               std::string_view table) const override;
  std::optional<std::string> infoString(std::string_view key) const override;
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type,
                                             std::string_view localization) const override;
  std::string bundleIdentifier() const override;
  std::string bundlePath() const override { return path_; }

  // The localisation whose tables answer lookups: the best match for the process language
  // among those present, else the development region; empty when the bundle has none.
  const std::string& preferredLocalization() const { return preferred_; }

 private:
  // A table's texts by key, hashed: every miss of Kolvane's stores ends here.
  struct KeyHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view key) const noexcept {
      return std::hash<std::string_view>{}(key);
    }
  };
  using KeyedTable = std::unordered_map<std::string, std::u16string, KeyHash, std::equal_to<>>;
  std::shared_ptr<const KeyedTable> table(const std::string& name) const;

  std::string path_;
  std::map<std::string, std::string> info_;
  std::string preferred_;
  mutable std::mutex mutex_;
  mutable std::map<std::string, std::shared_ptr<const KeyedTable>, std::less<>> tables_;
};

// The localisation to use among `available` for the language preferences `wanted` (entries
// such as "fr_FR.UTF-8"), else `fallback` when it is available, else empty.
std::string bestLocalization(const std::vector<std::string>& available,
                             const std::vector<std::string>& wanted, const std::string& fallback);

}  // namespace kolvane
