#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "strings/cues.h"
#include "strings/xliff_parser.h"
#include "strings/xliff_writer.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

using kolvane::testing::FaultyFileSystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string unit(const std::string& id, const std::string& key, const std::string& target,
                 const std::string& extra = "") {
  return "<trans-unit id=\"" + id + "\" resname=\"" + key + "\"><source>src</source><target>" +
         target + "</target>" + extra + "</trans-unit>";
}

std::string document(const std::string& body) {
  return "<?xml version=\"1.0\"?><xliff version=\"1.2\" "
         "xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"><file><body>" +
         body + "</body></file></xliff>";
}

class XliffTest : public testing::PlatformTest {
 protected:
  KVStringGroups read(const std::string& xml, unsigned status = 0,
                      KVStringGroups* sources = nullptr) {
    error_.reset();
    return KVXliffParser::parseXliffData(xml, sources, status, &error_);
  }
  std::optional<KVError> error_;
};

TEST_F(XliffTest, PlaceholdersAndCategoriesComeFromTheMarkup) {
  const auto groups = read(
      document(unit("g1", "greet", "Hello <ph id=\"1\" ctype=\"x-kolvane-placeholder\">%@</ph>") +
               unit("k[few]", "k", "few") + unit("j[few", "j", "plain")));
  ASSERT_FALSE(error_);
  const auto greeting = groups.at("greet")->stringForPluralForm(std::nullopt, true);
  EXPECT_EQ(greeting->localizedFormat, u"\u200BHello \u2063%@\u2064\u2062");
  EXPECT_TRUE(greeting->dynamic);
  EXPECT_EQ(greeting->argumentFormatSpecifiers, std::vector<std::u16string>{u"%@"});
  EXPECT_EQ(groups.at("k")->pluralForms.at("few")->pluralForm, "few");
  EXPECT_EQ(groups.at("j")->pluralForms.at("none")->uid, "j[few");
}

TEST_F(XliffTest, StatusReachesOnlyGroupsBuiltFromSeveralUnits) {
  const auto groups = read(document(unit("a", "single", "x") + unit("p[one]", "plural", "one") +
                                    unit("p[other]", "plural", "other")),
                           KVStringStatusPublished);
  EXPECT_EQ(groups.at("single")->status, 0u);
  EXPECT_EQ(groups.at("plural")->status, KVStringStatusPublished);
  EXPECT_TRUE(groups.at("plural")->hasPlurals);
}

TEST_F(XliffTest, EmptyTargetsAreLeftOutButTheirSourcesKept) {
  KVStringGroups sources;
  const auto groups = read(document(unit("a", "a", "") +
                                    "<trans-unit id=\"b\" resname=\"b\">"
                                    "<source>S</source><target/></trans-unit>" +
                                    unit("c", "c", "C")),
                           1, &sources);
  EXPECT_EQ(groups.count("a") + groups.count("b"), 0u);
  ASSERT_EQ(sources.size(), 3u);
  EXPECT_EQ(sources.at("b")->pluralForms.at("none")->localizedFormat, u"\u200BS\u2062");
  EXPECT_EQ(groups.at("c")->pluralForms.size(), 1u);
}

TEST_F(XliffTest, NotesKeepTheTextUpToTheEndOfTheUnit) {
  const auto groups =
      read(document("<trans-unit id=\"n\" resname=\"n\"><target>t</target>"
                    "<note>Say hi</note>\n  </trans-unit>"));
  EXPECT_EQ(groups.at("n")->pluralForms.at("none")->note, u"Say hi\n  ");
}

TEST_F(XliffTest, MalformedXmlReportsTheErrorAndKeepsWhatWasRead) {
  const auto groups =
      read(document(unit("a", "a", "A") + unit("b", "b", "B")).substr(0, 220) + "<<");
  ASSERT_TRUE(error_);
  EXPECT_EQ(error_->domain, "xml");
  EXPECT_THAT(error_->localizedDescription, StartsWith("line 1: "));
  EXPECT_EQ(groups.count("a"), 1u);
  EXPECT_EQ(groups.count("b"), 0u);
}

TEST_F(XliffTest, EntitiesAndExternalReferencesAreNeverExpanded) {
  const std::string laughs =
      "<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY a \"aaaaaaaaaa\">"
      "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\"><!ENTITY e SYSTEM \"file:///etc/passwd\">]>"
      "<x>" +
      unit("u", "u", "&b;&e;") + "</x>";
  const auto groups = read(laughs);
  ASSERT_TRUE(error_);
  for (const auto& [key, group] : groups) {
    EXPECT_EQ(group->pluralForms.at("none")->localizedFormat.find(u"aaaa"), std::u16string::npos);
  }
  read("");
  EXPECT_TRUE(error_);
}

class XliffWriterTest : public XliffTest {
 protected:
  void SetUp() override {
    XliffTest::SetUp();
    base_ = read(document(unit("1", "greet", "Hello <ph>%@</ph> &amp; <ph>%d</ph>")));
    context_.sourceLanguage = "en";
    context_.targetLanguage = "jm-JM";
    context_.phaseName = "step-7";
    context_.processName = "Review";
    context_.sourceForm = [this](const KVString& form) -> std::shared_ptr<const KVString> {
      const auto found = base_.find(form.key);
      return found != base_.end() ? found->second->stringForPluralForm(form.pluralForm, false)
                                  : nullptr;
    };
  }
  std::string write(const KVStringGroups& groups) {
    return KVXliffWriter::xliffFromStrings(groups, context_, nullptr);
  }

  KVStringGroups base_;
  KVXliffContext context_;
};

TEST_F(XliffWriterTest, DocumentLayoutWithHeaderUnitsAndFooter) {
  const auto groups = read(document(unit("1", "greet", "Salut <ph>%@</ph> &amp; <ph>%d</ph>")));
  const std::string xliff = write(groups);
  EXPECT_THAT(xliff,
              StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\""));
  EXPECT_THAT(xliff, HasSubstr("source-language=\"en\" target-language=\"jm-JM\" "
                               "datatype=\"plaintext\">\n<header>\n<phase-group>\n"
                               "<phase phase-name=\"step-7\" process-name=\"Review\"/>\n"
                               "</phase-group>\n</header>\n<body>\n\n"));
  EXPECT_THAT(
      xliff,
      HasSubstr(
          "<trans-unit id=\"1\" resname=\"greet\" phase-name=\"step-7\">\n"
          "<source>Hello <ph id=\"1\" ctype=\"x-kolvane-placeholder\">%@</ph> &amp; "
          "<ph id=\"2\" ctype=\"x-kolvane-placeholder\">%d</ph></source>\n"
          "<target>Salut <ph id=\"1\" ctype=\"x-kolvane-placeholder\">%@</ph> &amp; "
          "<ph id=\"2\" ctype=\"x-kolvane-placeholder\">%d</ph></target>\n</trans-unit>\n\n"));
  EXPECT_THAT(xliff, ::testing::EndsWith("</body>\n</file>\n</xliff>"));
  EXPECT_THAT(write({}), ::testing::EndsWith("<body>\n\n</body>\n</file>\n</xliff>"));
}

TEST_F(XliffWriterTest, WhatIsWrittenReadsBackTheSame) {
  const auto groups = read(
      document(unit("q", "quotes", "&lt;b&gt; \"Tom &amp; Jerry\" <ph>%1$@</ph> ☺") + "<group>" +
               unit("p[one]", "pl", "one <ph>%d</ph>") + unit("p[other]", "pl", "many") +
               "</group>" + unit("k&quot;&amp;", "key&lt;&quot;", "odd key") +
               // XML turns raw line ends into \n and raw breaks in attributes into spaces.
               unit("r&#13;&#10;&#9;", "cr&#13;&#9;", "a&#13;b&#13;&#10;c <ph>%@&#13;</ph>")));
  ASSERT_FALSE(error_);
  const auto reread = read(write(groups));
  ASSERT_FALSE(error_) << error_->localizedDescription;
  ASSERT_EQ(reread.size(), groups.size());
  for (const auto& [key, group] : groups) {
    ASSERT_EQ(reread.count(key), 1u) << key;
    for (const auto& [name, form] : group->pluralForms) {
      const auto& back = reread.at(key)->pluralForms.at(name);
      EXPECT_EQ(back->localizedFormat, form->localizedFormat) << key;
      EXPECT_EQ(back->uid, form->uid) << key;
      EXPECT_EQ(back->argumentFormatSpecifiers, form->argumentFormatSpecifiers);
    }
  }
}

TEST_F(XliffWriterTest, AUnitWithAPlaceholderWithoutSpecifierIsNotReadSoNoCapsuleShifts) {
  // Its capsules would take the wrong specifiers, and a save would write them shifted.
  const auto groups = read(document(unit("e", "empty", "a <ph id=\"1\"></ph> b <ph>%@</ph>") +
                                    unit("f", "fine", "c <ph>%@</ph>")));
  EXPECT_EQ(groups.count("empty"), 0u);
  ASSERT_EQ(groups.count("fine"), 1u);
  // Nor one whose placeholder is closed inside a note, nor nested ones.
  EXPECT_TRUE(read(document(unit("o", "open", "a <ph><note>n</note>b</ph> c"))).empty());
  EXPECT_TRUE(read(document(unit("n", "nested", "<ph><ph>%@</ph></ph>"))).empty());
  EXPECT_THAT(write(groups), ::testing::Not(HasSubstr("resname=\"empty\"")));
}

TEST_F(XliffWriterTest, FormsWithoutUidFailAndAFailedWriteFailsEverything) {
  auto group = std::make_shared<KVStringGroup>();
  auto form = std::make_shared<KVString>();
  form->key = "no-uid";
  form->extractFormatFromString(kv_stringWithCues(u"text"));
  group->addStringForm(form);
  KVStringGroups groups = read(document(unit("1", "ok", "fine")));
  groups["no-uid"] = group;

  KVWriteFailures failures;
  const std::string path = folder() + "/out/edited.xlf";
  EXPECT_FALSE(KVXliffWriter::writeXliffFromStrings(groups, context_, path, &failures));
  EXPECT_EQ(failures.size(), 1u);
  EXPECT_TRUE(std::holds_alternative<std::shared_ptr<KVString>>(failures.at("no-uid")));
  EXPECT_EQ(read(*platform().files.readFile(path)).count("ok"), 1u);

  failures.clear();
  platform().files.fail(FaultyFileSystem::Call::writeFileAtomically);
  const auto error = KVXliffWriter::writeXliffFromStrings(groups, context_, path, &failures);
  ASSERT_TRUE(error);
  EXPECT_EQ(failures.size(), 2u);
  EXPECT_TRUE(std::holds_alternative<std::shared_ptr<KVStringGroup>>(failures.at("ok")));
}

}  // namespace
}  // namespace kolvane
