// Two ways to check the app's interface without a translation in hand, switched on and off
// while it runs: pseudo-translation (every answer accented, longer and in brackets, so that
// texts left out of the lookup and texts that will not fit stand out) and a right-to-left
// layout. The switches are read on any thread; they are set on the main thread.
#pragma once

#include <string>
#include <string_view>

namespace kolvane {

// A looked-up answer (cues included) pseudo-translated: inside each string's cues its text in
// brackets, every Latin letter accented, and about 40% more length as a run of "~" after a
// space; placeholders (between their cues) and texts without cues stay as they are.
// Example: u"\u200BOpen %1\u2062" (with %1 between placeholder cues) gives
// u"\u200B[Ȯṗȩṅ %1 ~~~~]\u2062".
std::u16string kv_pseudoTranslated(std::u16string_view answer);
// The text as it was before kv_pseudoTranslated, for tracing a text shown pseudo-translated to
// its strings; text outside cues and placeholders is given back as it is.
std::u16string kv_withoutPseudoTranslation(std::u16string_view shown);

bool kv_pseudoTranslation();
// Switches pseudo-translation and has the app look its texts up again. No store is touched.
void kv_setPseudoTranslation(bool on);

bool kv_rightToLeft();
// Lays the app out right to left (on) or as it was (off).
void kv_setRightToLeft(bool on);

}  // namespace kolvane
