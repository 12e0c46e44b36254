#include "kolvane/attributed_text.h"

#include <gtest/gtest.h>

namespace kolvane {
namespace {

const KVTextAttributes kBold{{"font", "bold"}};
const KVTextAttributes kPlain{{"font", "plain"}};

TEST(AttributedTextTest, RunsAnswerWithTheirEffectiveRangeWithinALimit) {
  KVAttributedText text(u"Hello ", kBold);
  text.append(u"world", kPlain);
  text.append(u"!", kPlain);  // joins the run before
  KVRange effective;
  EXPECT_EQ(text.attributesAt(7, {0, 12}, &effective), kPlain);
  EXPECT_EQ(effective, (KVRange{6, 6}));
  EXPECT_EQ(text.attributesAt(2, {1, 3}, &effective), kBold);
  EXPECT_EQ(effective, (KVRange{1, 3}));
  EXPECT_EQ(text.attributesAt(40, {0, 12}, &effective), KVTextAttributes());
  EXPECT_EQ(effective.length, 0u);
}

TEST(AttributedTextTest, ReplacedTextTakesTheAttributesOfWhatItReplaces) {
  KVAttributedText text(u"Hello ", kBold);
  text.append(u"world", kPlain);
  text.replaceCharacters({4, 4}, u"-WO");  // "o w" across both runs: takes the bold one
  EXPECT_EQ(text.string(), u"Hell-WOrld");
  KVRange effective;
  EXPECT_EQ(text.attributesAt(6, {0, 10}, &effective), kBold);
  EXPECT_EQ(effective, (KVRange{0, 7}));
  text.replaceCharacters({10, 0}, u"!");  // at the end: the unit before
  EXPECT_EQ(text.attributesAt(10, {0, 11}, nullptr), kPlain);
  text.replaceCharacters({3, 100}, u"");
  EXPECT_EQ(text, KVAttributedText(u"Hel", kBold));
}

}  // namespace
}  // namespace kolvane
