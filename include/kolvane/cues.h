// The invisible characters Kolvane wraps around every string it hands out (and around each
// placeholder inside one), so that a displayed text can be traced back to its strings. They
// have no width on screen; keep them inside the app (strip them from what leaves it).
#pragma once

namespace kolvane {

inline constexpr char16_t kv_beginCue = u'\u200B';
inline constexpr char16_t kv_endCue = u'\u2062';
inline constexpr char16_t kv_placeholderBeginCue = u'\u2063';
inline constexpr char16_t kv_placeholderEndCue = u'\u2064';

}  // namespace kolvane
