#include "base/utf.h"

#include <gtest/gtest.h>

namespace kolvane {
namespace {

TEST(UtfTest, RoundTripsAcrossPlanes) {
  const std::string text = "aé漢😀\u0301";
  EXPECT_EQ(toUtf16(text), u"aé漢😀\u0301");
  EXPECT_EQ(toUtf8(toUtf16(text)), text);
  EXPECT_TRUE(isValidUtf8(text));
}

TEST(UtfTest, IllFormedInputBecomesReplacementCharacters) {
  EXPECT_EQ(toUtf16("a\xff"), u"a\uFFFD");
  EXPECT_EQ(toUtf16("\xC0\xAFz"), u"\uFFFDz");      // overlong
  EXPECT_EQ(toUtf16("\xED\xA0\x80z"), u"\uFFFDz");  // an encoded surrogate
  EXPECT_EQ(toUtf8(u"\xD83D"), "\uFFFD");           // lone high surrogate
  EXPECT_FALSE(isValidUtf8("\xE2\x82"));
}

TEST(UtfTest, CutsInsideAMultiByteSequenceNeverReadPastTheEnd) {
  const std::string text = "x😀y";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    const std::u16string converted = toUtf16(text.substr(0, length));
    EXPECT_LE(converted.size(), length);
  }
}

}  // namespace
}  // namespace kolvane
