#include "strings/cues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/log.h"
#include "base/utf.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::u16string showMarked(std::u16string_view text) {
  return kv_stringShowingCues(kv_stringWithCues(text));
}

TEST(CueMarkingTest, WrapsTextAndEachSpecifier) {
  EXPECT_EQ(kv_stringWithCues(u"Hello %@, you have %ld items"),
            u"\u200BHello \u2063%@\u2064, you have \u2063%ld\u2064 items\u2062");
  EXPECT_EQ(showMarked(u"plain"), u"[plain]");
  EXPECT_EQ(showMarked(u""), u"[]");
  EXPECT_EQ(showMarked(u"%1$@ and %2$ld"), u"[{%1$@} and {%2$ld}]");
}

TEST(CueMarkingTest, AlreadyMarkedTextComesBackUnchanged) {
  const std::u16string marked = kv_stringWithCues(u"Hi %@");
  EXPECT_EQ(kv_stringWithCues(marked), marked);
  // Only a leading begin cue counts as marked.
  EXPECT_EQ(showMarked(u"x\u200B"), u"[x[]");
}

TEST(CueMarkingTest, DoublePercentIsLiteralOnlyWhenTextFollows) {
  EXPECT_EQ(showMarked(u"100%% sure"), u"[100%% sure]");
  // Too close to the end to be taken as a literal, and no conversion letter follows: the
  // rest stays as it is.
  EXPECT_EQ(showMarked(u"100%%"), u"[100%%]");
  EXPECT_EQ(showMarked(u"100%% "), u"[100%% ]");
}

TEST(CueMarkingTest, PercentWithoutConversionLetterKeepsTheRestLiteral) {
  EXPECT_EQ(showMarked(u"50%"), u"[50%]");
  EXPECT_EQ(showMarked(u"%"), u"[%]");
  EXPECT_EQ(showMarked(u"%@ costs 5%"), u"[{%@} costs 5%]");
  // A lone "%" inside a sentence still runs to the next conversion letter.
  EXPECT_EQ(showMarked(u"5% off"), u"[5{% o}ff]");
}

TEST(CueMarkingTest, SpecifierRunsToTheFirstConversionLetter) {
  // "i" is not a conversion letter: the specifier runs on to the "a" of "apples".
  EXPECT_EQ(showMarked(u"%i apples"), u"[{%i a}pples]");
  EXPECT_EQ(showMarked(u"%5.2f%%x"), u"[{%5.2f}%%x]");
}

TEST(CueMarkingTest, QtPlaceholdersAreSpecifiersOfTheirOwn) {
  EXPECT_EQ(showMarked(u"Hello %1 and %@"), u"[Hello {%1} and {%@}]");
  EXPECT_EQ(showMarked(u"%n files in %L2, %Ln bytes"), u"[{%n} files in {%L2}, {%Ln} bytes]");
  EXPECT_EQ(showMarked(u"Saved to %1. Page %12 of %99%"), u"[Saved to {%1}. Page {%12} of {%99}%]");
  // What continues a printf specifier keeps it printf's: a position, a precision, length
  // letters before a conversion. Units written after a Qt placeholder stay text.
  EXPECT_EQ(showMarked(u"%1$@ %1.2f %3ld %2hd"), u"[{%1$@} {%1.2f} {%3ld} {%2hd}]");
  EXPECT_EQ(showMarked(u"%1h %2m left, %1d ago, %1s, %1x%2"),
            u"[{%1}h {%2}m left, {%1}d ago, {%1}s, {%1}x{%2}]");
  EXPECT_EQ(kv_argumentIndexOfSpecifier(u"%2", 0), 1u);
  // Neither a zero nor a third digit starts one: printf reads on to its conversion letter.
  EXPECT_EQ(showMarked(u"%0 a"), u"[{%0 a}]");
  EXPECT_EQ(showMarked(u"%L1d"), u"[{%L1}d]");

  EXPECT_EQ(kv_argumentIndexOfSpecifier(u"%2", 0), 1u);
  EXPECT_EQ(kv_argumentIndexOfSpecifier(u"%L12", 0), 11u);
  EXPECT_EQ(kv_argumentIndexOfSpecifier(u"%n", 3), 3u);
  EXPECT_EQ(kv_stringByRemovingCues(
                kv_formatKeepingCues(kv_stringWithCues(u"%2 then %1"), {u"one", u"two"})),
            u"two then one");
}

TEST(CueMarkingTest, RemovingCuesUndoesMarkingAtEveryCut) {
  const std::u16string text = u"Déjà %1$@ vu 😀 %ld%% of %lld, 100%";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    const std::u16string cut = text.substr(0, length);
    EXPECT_EQ(kv_stringByRemovingCues(kv_stringWithCues(cut)), cut) << "cut at " << length;
  }
}

TEST(CueEnumerationTest, ReplacesPlaceholderContentsInOrderKeepingCues) {
  std::vector<std::u16string> seen;
  const std::u16string out =
      kv_enumerateCuesUsingBlock(kv_stringWithCues(u"%@ has %d"), [&](std::u16string_view s) {
        seen.emplace_back(s);
        return seen.size() == 1 ? std::optional<std::u16string>(u"X") : std::nullopt;
      });
  EXPECT_THAT(seen, ElementsAre(u"%@", u"%d"));
  EXPECT_EQ(kv_stringShowingCues(out), u"[{X} has {}]");
}

TEST(CueFormattingTest, ValuesGoToTheArgumentsTheirSpecifiersNameInEveryLanguage) {
  const std::vector<std::u16string> values = {u"Ann", u"Bob"};
  const auto filled = [&values](std::u16string_view text) {
    return kv_stringShowingCues(kv_formatKeepingCues(kv_stringWithCues(text), values));
  };
  EXPECT_EQ(filled(u"%1$@ invited %2$@"), u"[{Ann} invited {Bob}]");
  EXPECT_EQ(filled(u"%2$@ a été invité par %1$@"), u"[{Bob} a été invité par {Ann}]");
  EXPECT_EQ(filled(u"%2$@ wurde von %1$@ eingeladen"), u"[{Bob} wurde von {Ann} eingeladen]");
  EXPECT_EQ(filled(u"%@ and %@"), u"[{Ann} and {Bob}]");
  EXPECT_EQ(filled(u"%@, %@ and %@"), u"[{Ann}, {Bob} and {%@}]");  // no third value
  EXPECT_EQ(filled(u"%3$@"), u"[{%3$@}]");

  EXPECT_EQ(kv_argumentIndexOfSpecifier(u"%12$ld", 0), 11u);
  for (std::u16string_view unpositioned : {u"%0$@", u"%$@", u"%123456$@", u"%1@", u"%"}) {
    EXPECT_EQ(kv_argumentIndexOfSpecifier(unpositioned, 4), 4u) << toUtf8(unpositioned);
  }
}

TEST(CueEnumerationTest, IdentityBlockGivesTheInputBack) {
  const std::u16string marked = kv_stringWithCues(u"a %@ b %d c");
  EXPECT_EQ(kv_enumerateCuesUsingBlock(
                marked, [](std::u16string_view s) { return std::optional<std::u16string>(s); }),
            marked);
}

TEST(CueEnumerationTest, EmptyAndUnclosedPlaceholders) {
  int calls = 0;
  const auto count = [&](std::u16string_view) {
    ++calls;
    return std::optional<std::u16string>(u"v");
  };
  EXPECT_EQ(kv_enumerateCuesUsingBlock(u"\u2063\u2064", count), u"\u2063\u2064");
  EXPECT_EQ(calls, 0);
  // A placeholder cut off at the end is closed, never read past.
  EXPECT_EQ(kv_enumerateCuesUsingBlock(u"x\u2063%@", count), u"x\u2063v\u2064");
  EXPECT_EQ(kv_enumerateCuesUsingBlock(u"x\u2063", count), u"x\u2063\u2064");
  EXPECT_EQ(calls, 1);
}

class CueFindingTest : public testing::PlatformTest {
 protected:
  std::vector<std::u16string> found(std::u16string_view shown) {
    std::u16string text(shown);
    for (char16_t& c : text) {
      if (c == u'[') c = kv_beginCue;
      if (c == u']') c = kv_endCue;
    }
    std::vector<std::u16string> items;
    for (const auto& item : kv_localizedStringsInString(text)) {
      items.push_back(kv_stringShowingCues(item.string) + u"@" +
                      std::u16string(1, u'0' + item.level));
    }
    return items;
  }
};

TEST_F(CueFindingTest, NestedStringsComeLatestFirstWithTheirDepth) {
  EXPECT_THAT(found(u"[a [b] c][d]"), ElementsAre(u"[d]@1", u"[b]@2", u"[a [b] c]@1"));
  EXPECT_THAT(found(u"[x [y [z]]]"), ElementsAre(u"[z]@3", u"[y [z]]@2", u"[x [y [z]]]@1"));
}

TEST_F(CueFindingTest, TwoCuesAnywhereGiveTheWholeText) {
  const auto items = kv_localizedStringsInString(u"ab \u2062 cd \u200B");
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].range, (KVRange{0, 9}));
  EXPECT_EQ(items[0].level, 1u);
}

TEST_F(CueFindingTest, RangesCountUtf16Units) {
  const std::u16string text = u"😀\u200Bé\u2062\u200B漢\u2062";
  const auto items = kv_localizedStringsInString(text);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].range, (KVRange{5, 3}));
  EXPECT_EQ(items[1].range, (KVRange{2, 3}));
}

TEST_F(CueFindingTest, CuesThatDoNotPairGiveNothingAndSayWhy) {
  logSwitches().debug = true;
  EXPECT_TRUE(found(u"no cues").empty());
  EXPECT_TRUE(found(u"[a]]").empty());
  EXPECT_TRUE(found(u"]a[b][").empty());  // an end before any begin
  EXPECT_TRUE(found(u"[[a][").empty());   // a begin never closed
  EXPECT_TRUE(found(u"[a]][").empty());
  const auto lines = platform().log.lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], "[KV] No cues found in no cues");
  EXPECT_THAT(lines[1], HasSubstr("Incorrect number of cues found in [a]]"));
}

TEST_F(CueFindingTest, NestingIsBoundedWithNoItemsPastTheLimit) {
  const auto nested = [](std::size_t depth) {
    return std::u16string(depth, u'[') + u"x" + std::u16string(depth, u']');
  };
  EXPECT_EQ(found(nested(kv_maxCueNesting)).size(), kv_maxCueNesting);
  EXPECT_TRUE(found(nested(kv_maxCueNesting + 1)).empty());
  // What a hostile translation can carry: 120 KB of nested cues, answered at once.
  EXPECT_TRUE(found(nested(30'000)).empty());
  // Many strings side by side are not nesting.
  std::u16string wide;
  for (int i = 0; i < 10'000; ++i) wide += u"[a]";
  EXPECT_EQ(found(wide).size(), 10'000u);
}

TEST_F(CueFindingTest, LogsNothingWithoutDebug) {
  found(u"]");
  found(u"[a][b]");
  EXPECT_TRUE(platform().log.lines().empty());
  logSwitches().debug = true;
  found(u"[a][b]");
  EXPECT_THAT(platform().log.lines(), ElementsAre("[KV] 2 juxtaposed strings found in [a][b]"));
}

TEST(CueDisplayTest, ShowingAndRemovingCues) {
  const std::u16string text = u"\u200Ba\u2063b\u2064c\u2062";
  EXPECT_EQ(kv_stringShowingCues(text), u"[a{b}c]");
  EXPECT_EQ(kv_stringByRemovingCues(text), u"abc");
}

TEST(CueRecordTest, TypesAndDescriptions) {
  EXPECT_EQ(KVCue::cueWithChar(kv_endCue, 4).description(), "]");
  EXPECT_EQ(KVCue::cueWithChar(kv_placeholderEndCue, 0).description(), "}");
  EXPECT_EQ(KVCue::cueWithChar(u'x', 0).cueType, KVCue::kBegin);
  KVCue odd;
  odd.cueType = 9;
  EXPECT_EQ(odd.description(), "<KVCue>");
}

}  // namespace
}  // namespace kolvane
