// The invisible characters Kolvane wraps around every string it hands out (and around each
// placeholder inside one), so that a displayed text can be traced back to its strings. They
// have no width on screen; keep them inside the app (strip them from what leaves it).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kolvane/export.h"

namespace kolvane {

inline constexpr char16_t kv_beginCue = u'\u200B';
inline constexpr char16_t kv_endCue = u'\u2062';
inline constexpr char16_t kv_placeholderBeginCue = u'\u2063';
inline constexpr char16_t kv_placeholderEndCue = u'\u2064';

// The text without any cue: what may leave the app (clipboard, window titles, accessibility).
KOLVANE_EXPORT std::u16string kv_stringByRemovingCues(std::u16string_view text);

// `text` as Kolvane hands out a string: between the begin and end cues, each placeholder
// between the placeholder cues. A text that already starts with the begin cue comes back
// unchanged. A "%" with no conversion after it, up to the end, leaves the rest as it is.
// Example: "Hello %@" gives u"\u200BHello \u2063%@\u2064\u2062".
KOLVANE_EXPORT std::u16string kv_stringWithCues(std::u16string_view text);

// A looked-up format with its placeholders filled: each placeholder takes the value of the
// argument its specifier names ("%2$@" the second; a specifier without a position the one of
// its rank among the placeholders, as printf counts them), and keeps its cues around it, so
// that the text stays traceable. A placeholder without a value keeps its specifier.
KOLVANE_EXPORT std::u16string kv_formatKeepingCues(std::u16string_view format,
                                                   const std::vector<std::u16string>& values);

}  // namespace kolvane
