// Kolvane's lookups, for adapters that ask them directly. Included by kolvane/kolvane.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kolvane/bundle.h"
#include "kolvane/export.h"
#include "kolvane/number.h"

namespace kolvane {

// The lookup installed in place of the bundle's own: the shown locale's store, then the base
// locale's store, then the bundle's own table; the answer always carries cues. Any thread.
KOLVANE_EXPORT std::u16string KolvaneLocalizedStringForKey(const Bundle& self,
                                                           std::string_view selector,
                                                           std::string_view key,
                                                           std::u16string_view value,
                                                           std::string_view table);

// Kolvane's own string for `key`, cues included: the shown locale's store, then the base
// locale's store; none when neither holds it, so that an adapter can fall back on the app's
// own catalogues. Any thread.
KOLVANE_EXPORT std::optional<std::u16string> KolvaneStoredStringForKey(std::string_view key);
// The same for the plural form of `key` that fits `value` in each store's locale.
KOLVANE_EXPORT std::optional<std::u16string> KolvaneStoredPluralStringForKey(
    std::string_view key, const std::optional<Number>& value);

// The server environment: 0 staging, 1 production (set at start-up from the options).
KOLVANE_EXPORT extern int kolvaneEnvironment;

}  // namespace kolvane
