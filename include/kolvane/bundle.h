// An application bundle: its info values, its resources and its own localised strings.
// Every method may be called from any thread.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>

#include "kolvane/export.h"

namespace kolvane {

class KOLVANE_EXPORT Bundle {
 public:
  // The shape of a string lookup implementation: receiver, selector name, key, default value,
  // table (empty for "Localizable").
  using LocalizedStringImp = std::u16string (*)(const Bundle& self, std::string_view selector,
                                                std::string_view key, std::u16string_view value,
                                                std::string_view table);

  static constexpr std::string_view kLocalizedStringSelector = "localizedStringForKey:value:table:";

  virtual ~Bundle() = default;

  // The string the app shows for `key`. Goes through the replaceable implementation slot, so
  // once Kolvane is linked into the process the answer comes from its translation stores
  // (wrapped in invisible cue characters), else from the bundle's own tables.
  // Example: bundle.localizedStringForKey("welcome.title", u"Welcome", "")
  std::u16string localizedStringForKey(std::string_view key, std::u16string_view value,
                                       std::string_view table) const;

  // The bundle's own lookup, never replaced: the table of the best localisation for the
  // process language; a missing key answers `value` when it is not empty, else the key.
  virtual std::u16string platformLocalizedStringForKey(std::string_view key,
                                                       std::u16string_view value,
                                                       std::string_view table) const = 0;

  // An info-dictionary value that is a string (such as "CFBundleDevelopmentRegion").
  virtual std::optional<std::string> infoString(std::string_view key) const = 0;
  // The path of resource `name`.`type`, searched in the named localisation when one is
  // given, else at the top of the bundle and then in its localisations; none when absent.
  virtual std::optional<std::string> pathForResource(std::string_view name, std::string_view type,
                                                     std::string_view localization = {}) const = 0;
  virtual std::string bundleIdentifier() const = 0;
  virtual std::string bundlePath() const = 0;

  // The implementation slot behind localizedStringForKey(). It starts as the platform's own
  // lookup and is replaced when Kolvane loads, before the host's main() runs.
  static std::atomic<LocalizedStringImp>& localizedStringForKeyImp();
};

}  // namespace kolvane
