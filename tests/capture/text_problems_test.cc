// The rules that tell data from wording and a text that fits from one cut off.
#include "capture/text_problems.h"

#include <gtest/gtest.h>

#include "base/utf.h"

namespace kolvane {
namespace {

// Ten pixels a character, ten a line: widths are easy to reckon.
KVTextBox box(double width, double height, bool wordWrap) {
  KVTextBox box;
  box.width = width;
  box.height = height;
  box.lineHeight = 10;
  box.wordWrap = wordWrap;
  box.advance = [](std::u16string_view text) { return 10.0 * static_cast<double>(text.size()); };
  return box;
}

TEST(TextProblemsTest, NumbersDatesAndAddressesAreDataButWordsAreNot) {
  for (const char16_t* data :
       {u"12:30", u"-3.5 %", u"2026-11-25", u"25 Nov 2026", u"3.5 MB", u"ann@example.org",
        u"https://example.org/a", u"/home/ann", u"  ", u"\u2014", u"42"}) {
    EXPECT_TRUE(kv_looksLikeData(data)) << toUtf8(data);
  }
  for (const char16_t* words : {u"Hello", u"Page 2", u"2 new", u"3 files", u"Écrire", u"Ответ",
                                u"ann at example.org", u"Sent at 12:30"}) {
    EXPECT_FALSE(kv_looksLikeData(words)) << toUtf8(words);
  }
}

TEST(TextProblemsTest, ALineWiderThanItsBoxIsCutOffUnlessItMayWrap) {
  EXPECT_FALSE(kv_textOverflowsBox(u"Hello", box(50, 10, false)));
  EXPECT_TRUE(kv_textOverflowsBox(u"Hello!", box(50, 10, false)));
  // Each line of a text with line breaks is measured alone, and each needs its height.
  EXPECT_FALSE(kv_textOverflowsBox(u"Hello\nWorld", box(50, 20, false)));
  EXPECT_TRUE(kv_textOverflowsBox(u"Hello\nWorld", box(50, 15, false)));
  // Half a pixel of rounding is no cut.
  EXPECT_FALSE(kv_textOverflowsBox(u"Hello", box(49.6, 10, false)));
  // A line that fits at the font's widest character is not measured.
  KVTextBox quick = box(50, 20, false);
  quick.widestCharacter = 10;
  int measured = 0;
  quick.advance = [&measured](std::u16string_view text) {
    ++measured;
    return 10.0 * static_cast<double>(text.size());
  };
  EXPECT_FALSE(kv_textOverflowsBox(u"Hello\nWorld", quick));
  EXPECT_EQ(measured, 0);
  EXPECT_TRUE(kv_textOverflowsBox(u"Hello!", quick));
  EXPECT_EQ(measured, 1);
  // A box that cannot measure, or was never laid out, says nothing.
  KVTextBox unmeasured = box(10, 10, false);
  unmeasured.advance = nullptr;
  EXPECT_FALSE(kv_textOverflowsBox(u"Hello", unmeasured));
  EXPECT_FALSE(kv_textOverflowsBox(u"Hello", box(0, 0, false)));
}

TEST(TextProblemsTest, WrappedTextIsCutOffByItsHeightOrByAWordWiderThanTheBox) {
  // "aa bb" is 50 wide and fills the first line; "cc" takes a second.
  EXPECT_FALSE(kv_textOverflowsBox(u"aa bb cc", box(50, 20, true)));
  EXPECT_TRUE(kv_textOverflowsBox(u"aa bb cc", box(50, 15, true)));
  // Without a height, only the width counts.
  EXPECT_FALSE(kv_textOverflowsBox(u"aa bb cc dd ee", box(50, 0, true)));
  // Wrapping breaks between words only: a long word overflows the line.
  EXPECT_TRUE(kv_textOverflowsBox(u"a supercalifragilistic word", box(100, 100, true)));
  // Line breaks of the text start lines of their own.
  EXPECT_TRUE(kv_textOverflowsBox(u"aa\nbb\ncc", box(50, 20, true)));
}

TEST(TextProblemsTest, AnElisionThatTookTheEndCueIsACut) {
  EXPECT_TRUE(kv_textWasElided(u"\u200BA very long te\u2026"));
  // Cues that pair: the ellipsis is the string's own.
  EXPECT_FALSE(kv_textWasElided(u"\u200BLoading\u2026\u2062"));
  EXPECT_FALSE(kv_textWasElided(u"Loading\u2026"));
  EXPECT_FALSE(kv_textWasElided(u"\u200BA very long te"));
}

}  // namespace
}  // namespace kolvane
