#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "strings/cues.h"
#include "strings/string_forms.h"
#include "strings/string_group.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;

class StringRecordsTest : public testing::PlatformTest {
 protected:
  static std::shared_ptr<KVString> form(const std::string& key, std::optional<std::string> plural,
                                        std::u16string_view text, const std::string& uid = "") {
    return testing::markedForm(key, std::move(plural), text, uid);
  }
};

TEST_F(StringRecordsTest, FormatWithoutSpecifiersIsStaticAndHashesLowercased) {
  const auto string = form("k", std::nullopt, u"Hello İSTANBUL Straße");
  EXPECT_FALSE(string->dynamic);
  EXPECT_TRUE(string->argumentFormatSpecifiers.empty());
  EXPECT_EQ(string->localizedHash, u"\u200Bhello i\u0307stanbul straße\u2062");
}

TEST_F(StringRecordsTest, SpecifiersAreCollectedAndEmptiedInTheHash) {
  const auto files = form("a", std::nullopt, u"%@ Files in %1$ld");
  EXPECT_TRUE(files->dynamic);
  EXPECT_THAT(files->argumentFormatSpecifiers, ElementsAre(u"%@", u"%1$ld"));
  EXPECT_EQ(kv_stringShowingCues(files->localizedHash), u"[{} files in {}]");
  // Texts that differ only in their placeholders match the same displayed text.
  EXPECT_EQ(form("b", std::nullopt, u"%d files in %@")->localizedHash, files->localizedHash);
}

TEST_F(StringRecordsTest, APlaceholderLeftOpenAtTheEndIsClosedInTheFormat) {
  KVString string;
  string.extractFormatFromString(u"\u200Bsave \u2063%d");
  EXPECT_EQ(string.localizedFormat, u"\u200Bsave \u2063%d\u2064");
  EXPECT_THAT(string.argumentFormatSpecifiers, ElementsAre(u"%d"));
  EXPECT_EQ(string.localizedHash, u"\u200Bsave \u2063\u2064");
}

TEST_F(StringRecordsTest, ADynamicRecordKeepsItsFirstSpecifiers) {
  auto string = form("a", std::nullopt, u"%@ and %d");
  string->extractFormatFromString(kv_stringWithCues(u"only %f"));
  EXPECT_THAT(string->argumentFormatSpecifiers, ElementsAre(u"%@", u"%d"));
  EXPECT_EQ(kv_stringShowingCues(string->localizedFormat), u"[only {%f}]");
}

TEST_F(StringRecordsTest, AddingFormsSetsKeyPluralFlagAndBackReference) {
  auto group = std::make_shared<KVStringGroup>();
  group->addStringForm(form("files", std::nullopt, u"files"));
  group->addStringForm(form("other-key", "one", u"one file"));
  EXPECT_EQ(group->key, "files");
  EXPECT_TRUE(group->hasPlurals);
  EXPECT_EQ(group->pluralForms.size(), 2u);
  EXPECT_EQ(group->pluralForms.at("one")->group.lock(), group);

  auto reversed = std::make_shared<KVStringGroup>();
  reversed->addStringForm(form("files", "one", u"one file"));
  reversed->addStringForm(form("files", std::nullopt, u"files"));
  EXPECT_FALSE(reversed->hasPlurals);
}

TEST_F(StringRecordsTest, ChoosingAFormFallsBackOnlyWhenNotStrict) {
  auto group = std::make_shared<KVStringGroup>();
  group->addStringForm(form("k", "one", u"one"));
  group->addStringForm(form("k", "other", u"other"));
  EXPECT_EQ(group->stringForPluralForm("few", true), nullptr);
  EXPECT_EQ(group->stringForPluralForm("few", false)->pluralForm, "other");
  EXPECT_EQ(group->stringForPluralForm(std::nullopt, true)->pluralForm, "other");

  auto onlyOne = std::make_shared<KVStringGroup>();
  onlyOne->addStringForm(form("k", "one", u"one"));
  EXPECT_EQ(onlyOne->stringForPluralForm("few", false)->pluralForm, "one");
  EXPECT_EQ(KVStringGroup().stringForPluralForm("one", false), nullptr);
}

TEST_F(StringRecordsTest, GroupIdIsTheUidBeforeTheCategory) {
  auto group = std::make_shared<KVStringGroup>();
  EXPECT_EQ(group->uid(), std::nullopt);
  group->addStringForm(form("k", "other", u"x", "abc[other]"));
  EXPECT_EQ(group->uid(), "abc");
  auto plain = std::make_shared<KVStringGroup>();
  plain->addStringForm(form("k", std::nullopt, u"x", "plain-id"));
  EXPECT_EQ(plain->uid(), "plain-id");
  auto noUid = std::make_shared<KVStringGroup>();
  noUid->addStringForm(form("k", std::nullopt, u"x"));
  EXPECT_EQ(noUid->uid(), std::nullopt);
}

TEST_F(StringRecordsTest, SortedNamesFollowTheCategoryOrder) {
  auto group = std::make_shared<KVStringGroup>();
  for (const char* name : {"other", "few", "zero", "one"})
    group->addStringForm(form("k", name, u"x"));
  EXPECT_THAT(group->sortedPluralFormNames(), ElementsAre("zero", "one", "few", "other"));
}

TEST_F(StringRecordsTest, CopiesHaveNoBackReferenceAndLeaveTheOriginalAlone) {
  auto group = std::make_shared<KVStringGroup>();
  group->addStringForm(form("k", "one", u"one %d"));
  group->status = KVStringStatusRejected;
  group->rejectReason = u"typo";
  const auto copied = group->copy();
  EXPECT_EQ(copied->status, KVStringStatusRejected);
  EXPECT_EQ(copied->rejectReason, u"typo");
  EXPECT_TRUE(copied->hasPlurals);
  const auto& copiedForm = copied->pluralForms.at("one");
  EXPECT_TRUE(copiedForm->group.expired());
  EXPECT_NE(copiedForm, group->pluralForms.at("one"));
  EXPECT_EQ(copiedForm->localizedHash, group->pluralForms.at("one")->localizedHash);
  copiedForm->localizedFormat = u"changed";
  EXPECT_EQ(group->pluralForms.at("one")->group.lock(), group);
  EXPECT_NE(group->pluralForms.at("one")->localizedFormat, u"changed");
}

TEST_F(StringRecordsTest, DescriptionsAndStatusNames) {
  EXPECT_EQ(form("k", "few", u"%d")->description(), "<KVString (k) [{%d}] (few)>");
  EXPECT_EQ(form("k", std::nullopt, u"x")->description(), "<KVString (k) [x]>");
  EXPECT_EQ(statusName(0), "");
  EXPECT_EQ(statusName(4), "UNTRANSLATED");
  EXPECT_EQ(statusName(5), "UNKNOWN");
}

}  // namespace
}  // namespace kolvane
