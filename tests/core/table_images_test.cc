#include "core/table_images.h"

#include <gtest/gtest.h>

#include "core/locale_strings_fixture.h"
#include "support/core_fixture.h"

namespace kolvane {
namespace {

class TableImagesTest : public LocaleStringsFixture<testing::CoreTest> {
 protected:
  std::string published() { return filesFolder() + "/fr_FR_published.xlf"; }

  // Reads the published file through its image, counting the parses.
  KVFileTable read() {
    return kv_readFileTable(
        published(), KVTableReader::xliff, 1,
        [this](std::string_view bytes, const KVStringTable::SourceStamp& stamp) {
          ++parses;
          return KVLocaleStrings::tableFromXliff(published(), bytes, 1, stamp);
        });
  }
  // Reads, writes the image when the file was parsed, and gives the text of `key`.
  std::u16string readText(std::string_view key) {
    const KVFileTable found = read();
    if (!found.table) return u"(no table)";
    if (found.table && !found.fromImage) kv_writeTableImage(published(), *found.table);
    const std::uint32_t group = found.table->find(key);
    if (group == KVStringTable::npos) return u"(none)";
    return kv_stringShowingCues(std::u16string(*found.table->defaultText(group)));
  }
  std::string image() { return *platform().files.readFile(kv_tableImagePath(published())); }
  void replaceImage(const std::string& bytes) {
    ASSERT_TRUE(writeFileAtomically(kv_tableImagePath(published()), bytes));
  }

  int parses = 0;
};

TEST_F(TableImagesTest, TheSecondReadMapsTheImageUntilTheFileChanges) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "first"}}));
  EXPECT_EQ(readText("a"), u"[first]");
  EXPECT_EQ(readText("a"), u"[first]");
  EXPECT_EQ(parses, 1);
  EXPECT_TRUE(read().fromImage);

  // Same size, new contents: the hash of the bytes tells them apart.
  writeFile("fr_FR_published.xlf", xliff({{"a", "other"}}));
  EXPECT_EQ(readText("a"), u"[other]");
  EXPECT_EQ(parses, 2);
  EXPECT_EQ(readText("a"), u"[other]");
  EXPECT_EQ(parses, 2);

  // Another reader's image of the same file is not this one's.
  const KVFileTable asBase =
      kv_readFileTable(published(), KVTableReader::xliff, 0,
                       [](std::string_view, const KVStringTable::SourceStamp&) { return nullptr; });
  EXPECT_FALSE(asBase.table);
}

TEST_F(TableImagesTest, ADamagedCutForeignOrOlderImageIsReadAgainFromTheFileAndRemade) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "text"}, {"b", "more"}}));
  ASSERT_EQ(readText("a"), u"[text]");
  const std::string good = image();
  std::string flipped = good;
  flipped[good.size() / 2] ^= 0x20;
  std::string older = good;
  older[8] = static_cast<char>(KVStringTable::kImageVersion + 1);
  writeFile("fr_FR_other.xlf", xliff({{"a", "foreign"}}));
  for (const std::string& bad : {flipped, good.substr(0, good.size() - 8), older,
                                 std::string("not an image"), std::string()}) {
    replaceImage(bad);
    const int before = parses;
    EXPECT_EQ(readText("b"), u"[more]");
    EXPECT_EQ(parses, before + 1);
    EXPECT_EQ(image(), good);  // made again, whole
  }
}

TEST_F(TableImagesTest, AStoreRestartsFromItsImagesWithTheSameAnswersAndDecisions) {
  writeFile("fr_FR_published.xlf",
            xliff({{"a", "published A"}, {"n[one]", "%d file"}, {"n[other]", "%d files"}}));
  start();
  ASSERT_TRUE(platform().files.fileExists(kv_tableImagePath(published())));
  controller().setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale("fr_FR")));
  controller().loadStrings();
  EXPECT_EQ(text("a"), u"[published A]");
  EXPECT_EQ(kv_stringShowingCues(*shown()->localizedStringForKey("n", "one")), u"[%d file]");
  // A decision on a string from the image publishes the group with it, the others unchanged.
  const auto decided = shown()->setReviewStatus("a", KVStringStatusAccepted);
  ASSERT_TRUE(decided);
  EXPECT_EQ(decided->status, KVStringStatusAccepted);
  EXPECT_EQ(shown()->kolvaneStringGroupForKey("a")->status, KVStringStatusAccepted);
  EXPECT_EQ(shown()->kolvaneStringGroupForKey("n")->status, KVStringStatusPublished);
  EXPECT_EQ(shown()->loadedStrings()->size(), 2u);
  // A reviewer's touch finds the form whichever snapshot holds it.
  const auto other = shown()->kolvaneStringForKey("n", "other");
  const auto touched = controller().kolvaneStringForLocalizedString(other->localizedHash);
  EXPECT_EQ(touched, other);
}

}  // namespace
}  // namespace kolvane
