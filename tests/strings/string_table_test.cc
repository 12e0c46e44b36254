#include "strings/string_table.h"

#include <gtest/gtest.h>

#include <vector>

#include "strings/cues.h"
#include "strings/string_forms.h"
#include "strings/xliff_parser.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

class StringTableTest : public testing::PlatformTest {
 protected:
  static std::shared_ptr<KVString> form(const std::string& key, std::optional<std::string> plural,
                                        std::u16string_view text, const std::string& uid = "") {
    return testing::markedForm(key, std::move(plural), text, uid);
  }

  static void add(KVStringGroups& groups, const std::string& foundBy,
                  std::vector<std::shared_ptr<KVString>> forms, unsigned status = 1) {
    auto group = std::make_shared<KVStringGroup>();
    for (const auto& string : forms) group->addStringForm(string);
    group->status = status;
    groups[foundBy] = std::move(group);
  }

  // Every shape a group can take: plurals with and without "other", a category of no code, a
  // note, a long uid, a form under another key, kept specifiers that are not the format's
  // own, a plural form named otherwise than its category, reject reasons, odd statuses.
  static KVStringGroups everyShape() {
    KVStringGroups groups;
    add(groups, "plain", {form("plain", std::nullopt, u"Hello", "7")});
    add(groups, "files",
        {form("files", "one", u"%d file", "files[one]"),
         form("files", "other", u"%d files", "files[other]"),
         form("files", "few", u"%d fichiers", "files[few]")});
    add(groups, "odd",
        {form("odd", "several", u"Several %@", "odd[several]"),
         form("odd", "zero", u"None", "odd[zero]")});
    auto noted = form("noted", std::nullopt, u"With a note", std::string(70'000, 'u'));
    noted->note = u"Shown on the welcome screen";
    noted->fromBase = true;
    add(groups, "noted", {noted}, 4);
    auto elsewhere = form("another.key", std::nullopt, u"Under another key", "x");
    add(groups, "elsewhere", {elsewhere}, 0);
    auto kept = form("kept", std::nullopt, u"%1$@ and %2$@", "k");
    kept->argumentFormatSpecifiers = {u"%@"};
    add(groups, "kept", {kept}, 77);
    auto renamed = form("renamed", "one", u"One", "r");
    add(groups, "renamed", {renamed});
    groups["renamed"]->pluralForms.clear();
    groups["renamed"]->pluralForms["few"] = renamed;
    auto rejected = form("rejected", std::nullopt, u"Rejected text", "q");
    add(groups, "rejected", {rejected}, 3);
    groups["rejected"]->rejectReason = u"GRAMMAR";
    groups["rejected"]->rejectDescription = u"Wrong case";
    add(groups, "empty", {});
    return groups;
  }

  static void expectSameForm(const KVString& made, const KVString& original) {
    EXPECT_EQ(made.key, original.key);
    EXPECT_EQ(made.uid, original.uid);
    EXPECT_EQ(made.pluralForm, original.pluralForm);
    EXPECT_EQ(made.dynamic, original.dynamic);
    EXPECT_EQ(made.fromBase, original.fromBase);
    EXPECT_EQ(made.localizedFormat, original.localizedFormat);
    EXPECT_EQ(made.note, original.note);
    EXPECT_EQ(made.localizedHash, original.localizedHash);
    EXPECT_EQ(made.argumentFormatSpecifiers, original.argumentFormatSpecifiers);
  }

  static void expectSameGroups(const KVStringTable& table, const KVStringGroups& groups) {
    ASSERT_EQ(table.groupCount(), groups.size());
    for (const auto& [key, original] : groups) {
      SCOPED_TRACE(key);
      const std::uint32_t index = table.find(key);
      ASSERT_NE(index, KVStringTable::npos);
      const auto made = table.makeGroup(index);
      EXPECT_EQ(made->key, original->key);
      EXPECT_EQ(made->status, original->status);
      EXPECT_EQ(made->hasPlurals, original->hasPlurals);
      EXPECT_EQ(made->rejectReason, original->rejectReason);
      EXPECT_EQ(made->rejectDescription, original->rejectDescription);
      ASSERT_EQ(made->pluralForms.size(), original->pluralForms.size());
      for (const auto& [name, string] : original->pluralForms) {
        ASSERT_TRUE(made->pluralForms.count(name)) << name;
        expectSameForm(*made->pluralForms.at(name), *string);
        EXPECT_EQ(made->pluralForms.at(name)->group.lock(), made);
      }
      // The lookups choose the form the group itself would, fallbacks included.
      const auto chosen = [](const KVString* form) {
        return form ? std::optional<std::u16string_view>(form->localizedFormat) : std::nullopt;
      };
      EXPECT_EQ(table.defaultText(index), chosen(original->defaultForm()));
      for (std::string_view category : {"none", "zero", "one", "few", "many", "other", "x"}) {
        EXPECT_EQ(table.textForCategory(index, category),
                  chosen(original->formForPluralForm(category, false)))
            << category;
      }
    }
  }
};

TEST_F(StringTableTest, EveryGroupComesBackAsItWentInFromTheTableAndFromItsImage) {
  const KVStringGroups groups = everyShape();
  const auto table = KVStringTable::fromGroups(groups, {12, 34, 78});
  ASSERT_TRUE(table);
  expectSameGroups(*table, groups);
  EXPECT_EQ(table->find("missing"), KVStringTable::npos);
  EXPECT_EQ(table->find(""), KVStringTable::npos);

  // An image read back from a buffer of its own, and from one that is not aligned.
  const std::string copy(table->imageBytes());
  auto owner = std::make_shared<std::string>(" " + copy);
  const auto reopened = KVStringTable::fromImage(owner, std::string_view(*owner).substr(1));
  ASSERT_TRUE(reopened);
  EXPECT_EQ(reopened->source(), (KVStringTable::SourceStamp{12, 34, 78}));
  expectSameGroups(*reopened, groups);
}

// A reader's units straight into a table give the groups it would have made: a later unit of a
// key replaces its category's form and stamps the group, the last says whether it has plurals.
TEST_F(StringTableTest, UnitsReadIntoATableAreTheGroupsTheReaderMakes) {
  const std::string data =
      "<xliff><file><body>"
      "<trans-unit id='1' resname='plain'><target>Hello</target><note>A note</note></trans-unit>"
      "<trans-unit id='n[one]' resname='n'><target><ph id='1'>%d</ph> file</target></trans-unit>"
      "<trans-unit id='n[other]' resname='n'><target>%d files</target></trans-unit>"
      "<trans-unit id='n[one]' resname='n'><target>Just one</target></trans-unit>"
      "<trans-unit id='m[few]' resname='m'><target>Few</target></trans-unit>"
      "<trans-unit id='2' resname='m'><target>Now plain</target></trans-unit>"
      "<trans-unit id='3' resname='empty'><target></target></trans-unit>"
      "<trans-unit id='o[odd]' resname='o'><target>Odd</target></trans-unit>"
      "</body></file></xliff>";
  std::optional<KVError> error;
  const KVStringGroups groups = KVXliffParser::parseXliffData(data, 1, &error);
  ASSERT_FALSE(error);
  KVStringTableBuilder builder;
  KVXliffParser::parseXliffDataInto(builder, data, 1, &error);
  ASSERT_FALSE(error);
  expectSameGroups(*builder.finish({}), groups);
}

TEST_F(StringTableTest, ManyKeysAreAllFoundAndNoOtherIs) {
  KVStringGroups groups;
  for (int i = 0; i < 5'000; ++i) {
    const std::string key = "screen." + std::to_string(i);
    add(groups, key, {form(key, std::nullopt, u"Text", std::to_string(i))});
  }
  const auto table = KVStringTable::fromGroups(groups);
  for (int i = 0; i < 5'000; ++i) {
    const std::uint32_t index = table->find("screen." + std::to_string(i));
    ASSERT_NE(index, KVStringTable::npos);
    EXPECT_EQ(table->keyAt(index), "screen." + std::to_string(i));
    EXPECT_EQ(table->find("screen." + std::to_string(i) + "x"), KVStringTable::npos);
  }
}

TEST_F(StringTableTest, ADamagedOrCutImageIsNeverOpenedAsTheSameTable) {
  const KVStringTable::SourceStamp stamp{100, 200, 1};
  const auto table = KVStringTable::fromGroups(everyShape(), stamp);
  const std::string image(table->imageBytes());
  const auto open = [](std::string bytes) {
    auto owner = std::make_shared<std::string>(std::move(bytes));
    return KVStringTable::fromImage(owner, *owner);
  };
  for (std::size_t at = 0; at < image.size(); ++at) {
    for (unsigned char flip : {0x01}) {
      std::string damaged = image;
      damaged[at] = static_cast<char>(damaged[at] ^ flip);
      const auto opened = open(std::move(damaged));
      // A change in the stamp opens, but stands for another file, and is not used for this one.
      ASSERT_TRUE(!opened || !(opened->source() == stamp)) << "byte " << at;
    }
  }
  for (std::size_t size = 0; size < image.size(); size += 7) {
    ASSERT_FALSE(open(image.substr(0, size))) << size;
  }
  EXPECT_FALSE(open(image + std::string(8, '\0')));
  EXPECT_FALSE(open(std::string(image.size(), '\0')));
}

}  // namespace
}  // namespace kolvane
