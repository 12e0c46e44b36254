// Tracing a label's text back to its records and rebuilding it after the stores changed.
#include "capture/view_strings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/capture_fixture.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

using testing::cued;
using testing::shown;

class ViewStringsTest : public testing::CaptureTest {
 protected:
  KVViewStrings traced(const std::u16string& text) {
    KVViewStrings strings;
    strings.originalString = cued(text);
    strings.kolvaneStringsInString();
    return strings;
  }
  std::vector<std::string> keys(const KVViewStrings& strings) {
    std::vector<std::string> found;
    for (const auto& string : strings.kolvaneStrings()) found.push_back(string->key);
    return found;
  }
};

TEST_F(ViewStringsTest, TextWithoutCuesTracesToNothingAndRebuildsAsItWas) {
  const KVViewStrings strings = traced(u"Plain text");
  EXPECT_TRUE(strings.kolvaneStrings().empty());
  EXPECT_TRUE(strings.orderedFirstLevelStrings().empty());
  EXPECT_EQ(strings.newLocalizedString(), u"Plain text");
}

TEST_F(ViewStringsTest, NestedStringsAreFoundInnermostFirstAndRebuiltRecursively) {
  const KVViewStrings strings = traced(u"[Sent {[a file]} today]");
  EXPECT_THAT(keys(strings), ElementsAre("file", "sent"));
  ASSERT_EQ(strings.valuesForKolvaneStrings().size(), 2u);
  EXPECT_TRUE(strings.valuesForKolvaneStrings()[0].empty());
  ASSERT_EQ(strings.valuesForKolvaneStrings()[1].size(), 1u);
  EXPECT_EQ(std::get<std::shared_ptr<const KVString>>(strings.valuesForKolvaneStrings()[1][0]),
            strings.kolvaneStrings()[0]);
  ASSERT_EQ(strings.orderedFirstLevelStrings().size(), 1u);
  EXPECT_EQ(strings.orderedFirstLevelStrings()[0].targetString->key, "sent");

  // The outer record is looked up again; a nested one is rebuilt from the record the trace
  // found, with its own values.
  setBase({{"sent", u"Envoyé %@"}, {"file", u"un fichier"}});
  EXPECT_EQ(shown(strings.newLocalizedString()), u"[Envoyé {[a file]}]");
}

TEST_F(ViewStringsTest, LiteralArgumentsComeBackAndTextAroundTheSpansIsDropped) {
  const KVViewStrings strings = traced(u"Note: [Hi] [Sent {Ann} today]!");
  EXPECT_THAT(keys(strings), ElementsAre("sent", "hi"));
  setBase({{"sent", u"Sent %@ now"}, {"hi", u"Hello"}});
  EXPECT_EQ(shown(strings.newLocalizedString()), u"[Hello][Sent {Ann} now]");
}

TEST_F(ViewStringsTest, ArgumentsInAnotherOrderAreRebuiltByTheirPositions) {
  showFrench({{"invited", u"%2$@ a été invité par %1$@"}});
  setBase({{"invited", u"%1$@ invited %2$@"}});
  const KVViewStrings strings = traced(u"[{Bob} a été invité par {Ann}]");
  ASSERT_THAT(keys(strings), ElementsAre("invited"));
  EXPECT_EQ(shown(strings.newLocalizedString()), u"[{Ann} invited {Bob}]");

  // A format may name a later argument alone: its one value is that argument's.
  showFrench({{"where", u"Dans %2$@"}});
  setBase({{"where", u"In %2$@"}});
  EXPECT_EQ(shown(traced(u"[Dans {Paris}]").newLocalizedString()), u"[In {Paris}]");
}

TEST_F(ViewStringsTest, TheSameRecordTwiceIsKeptOnceAndRebuiltOnce) {
  const KVViewStrings strings = traced(u"[Hi] and [Hi]");
  EXPECT_THAT(keys(strings), ElementsAre("hi"));
  EXPECT_EQ(strings.orderedFirstLevelStrings().size(), 1u);
  EXPECT_EQ(strings.orderedFirstLevelStrings()[0].range.location, 9u);  // the later one
  EXPECT_EQ(shown(strings.newLocalizedString()), u"[Hi]");
}

TEST_F(ViewStringsTest, ARecordWithoutValuesKeepsItsFormatAndSaysSo) {
  controller().setDebug(true);
  const KVViewStrings strings = traced(u"[Hi]");
  KVString other;
  other.key = "elsewhere";
  other.extractFormatFromString(kv_stringWithCues(u"Count %d"));
  EXPECT_EQ(shown(strings.newLocalizedStringForKolvaneString(other)), u"[Count {%d}]");
  EXPECT_THAT(platform().log.lines(),
              ::testing::Contains(HasSubstr("Did not find values for kolvane string")));
}

TEST_F(ViewStringsTest, WithoutOuterSpansPlainTextReplacesEveryOccurrenceAttributedOnlyTheFirst) {
  // The outer string is no record: only the nested ones are known, and the same one twice.
  const std::u16string text = cued(u"[Unknown {[a file]} {[a file]}]");
  KVViewStrings plain;
  plain.originalString = text;
  plain.kolvaneStringsInString();
  KVViewStrings attributed;
  attributed.originalAttributedString = KVAttributedText(text, {{"font", "bold"}});
  attributed.kolvaneStringsInString();
  EXPECT_TRUE(plain.orderedFirstLevelStrings().empty());
  EXPECT_THAT(keys(plain), ElementsAre("file"));

  setBase({{"file", u"a map"}});
  EXPECT_EQ(shown(plain.newLocalizedString()), u"[Unknown {[a map]} {[a map]}]");
  EXPECT_EQ(shown(attributed.newLocalizedAttributedString().string()),
            u"[Unknown {[a map]} {[a file]}]");
}

TEST_F(ViewStringsTest, AttributedSpansKeepTheirAttributesOrThoseOfTheSpanBefore) {
  KVAttributedText text(cued(u"[Hi]"), {{"font", "bold"}});
  text.append(cued(u"[Sent {"), {{"font", "plain"}});
  text.append(cued(u"x} today]"), {{"font", "italic"}});  // not uniform over the span
  KVViewStrings strings;
  strings.originalAttributedString = text;
  strings.kolvaneStringsInString();
  EXPECT_THAT(keys(strings), ElementsAre("sent", "hi"));
  const KVAttributedText rebuilt = strings.newLocalizedAttributedString();
  EXPECT_EQ(shown(rebuilt.string()), u"[Hi][Sent {x} today]");
  KVRange effective;
  EXPECT_EQ(rebuilt.attributesAt(0, {0, rebuilt.string().size()}, &effective),
            (KVTextAttributes{{"font", "bold"}}));
  EXPECT_EQ(effective.length, rebuilt.string().size());
}

TEST_F(ViewStringsTest, TheBaseStoresRecordIsWhatIsRebuiltEvenWithAShownLocale) {
  auto french = KVLocaleStrings::localeStringsForLocale(Locale("fr_FR"));
  french->setLoadedStrings(testing::groupsOf({{"hi", u"Salut"}}));
  controller().setLocaleStrings(french);
  const KVViewStrings strings = traced(u"[Hi]");
  KVString hi;
  hi.key = "hi";
  EXPECT_EQ(KVViewStrings::updatedKolvaneString(hi), base_->kolvaneStringForKey("hi", {}));
}

}  // namespace
}  // namespace kolvane
