// The rules that tell what is wrong with a text of a window, apart from its strings: whether
// an untraced text is data rather than wording, and whether a text fits the room its widget
// gives it. Pure functions; any thread.
#pragma once

#include <string_view>

#include "kolvane/host_view.h"

namespace kolvane {

// Whether `text` (without cues) is obviously data rather than wording the app should have
// looked up: nothing but digits, signs and punctuation ("12:30", "-3.5 %"), a number with short
// words ("25 Nov 2026", "3.5 MB"), an address ("ann@example.org", "https://…", "/home/ann"),
// or nothing visible at all.
bool kv_looksLikeData(std::u16string_view text);

// Whether `text` (without cues) needs more room than `box`: a line wider than the box (a word
// wider than the box when lines wrap), or more lines than its height holds. A box without a
// width or a way to measure says nothing.
bool kv_textOverflowsBox(std::u16string_view text, const KVTextBox& box);

// Whether the app cut `cuedText` short itself, eliding it to fit (QFontMetrics::elidedText):
// an ellipsis, and a string whose end cue went with the text after it.
bool kv_textWasElided(std::u16string_view cuedText);

}  // namespace kolvane
