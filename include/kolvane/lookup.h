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

// Reads a stored string without copying it: `read` gets the text (valid only during the call)
// and `context`, and the answer says whether a store held it. For adapters that make their own
// string type from the text; `value` as above, or none for the string without plural forms.
using KolvaneTextReader = void (*)(std::u16string_view text, void* context);
KOLVANE_EXPORT bool KolvaneReadStoredString(std::string_view key,
                                            const std::optional<Number>& pluralValue,
                                            KolvaneTextReader read, void* context);

// Notes that the app's own catalogue (a toolkit's translator below Kolvane's) answered `key`
// with `text` (cues included), translated from `source` (UTF-8) into `language`; with
// `pluralValue` for the plural form that fits that value in that language (the language is
// read only then). A long press on the text then finds the string, and an edit of it starts
// from it. Any thread.
KOLVANE_EXPORT void KolvaneNoteAppString(std::string_view key, std::string_view source,
                                         std::u16string_view text, std::string_view language,
                                         const std::optional<Number>& pluralValue);

// The key of a message that has a disambiguation (Qt's comment that tells two messages with
// the same source text apart): the source text, U+241E (the record separator symbol), the
// disambiguation. Without a disambiguation the key is the source text alone. The lookup, the
// stores, the dev server and the command-line tool all spell it this way.
// Example: KolvaneMessageKey("Open", "verb") gives "Open\u241Everb".
KOLVANE_EXPORT std::string KolvaneMessageKey(std::string_view source,
                                             std::string_view disambiguation);

// The server environment: 0 staging, 1 production (set at start-up from the options).
KOLVANE_EXPORT extern int kolvaneEnvironment;

}  // namespace kolvane
