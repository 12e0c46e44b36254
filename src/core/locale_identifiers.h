// Conversion between the server's locale ids (hyphens, a few codes of its own) and the
// platform's identifiers (underscores), and the display names of locales. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kolvane/locale.h"

namespace kolvane {

// The locale of a server id: "jm-JM", "me-ME" and "xc-MN" map to en_JM, sr_Latn_ME and
// mn_Cyrl_MN; any other id has its "-" turned into "_". None when the id is empty or holds
// anything but ASCII letters, digits, "-" and "_" (no locale could carry it).
std::optional<Locale> localeFromKolvanIdentifier(std::string_view serverId);

// The server id of a locale: the reverse of the table above, else "_" turned into "-".
std::string kolvaneLocaleIdentifier(const Locale& locale);

// "Language (Region)" in the current locale's language, "Language (International)" for a
// locale without region, or the identifier when its language is not known.
std::string kv_localizedLanguageName(const Locale& locale);

}  // namespace kolvane
