#include "strings/linguist_catalogue.h"

#include <gtest/gtest.h>

#include "strings/message_key.h"
#include "strings/qt_numerus_forms.h"

namespace kolvane {
namespace {

constexpr char kCatalogue[] = R"(<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU">
<context>
    <name>Main</name>
    <message>
        <source>&amp;Open</source>
        <comment>verb</comment>
        <translation>&amp;Открыть</translation>
    </message>
    <message numerus="yes">
        <source>%n file(s)</source>
        <translation>
            <numerusform>%n файл</numerusform>
            <numerusform>%n файла</numerusform>
            <numerusform>%n файлов</numerusform>
        </translation>
    </message>
    <message>
        <source>Gone</source>
        <translation type="vanished">Ушло</translation>
    </message>
</context>
</TS>
)";

TEST(LinguistCatalogueTest, ReadsMessagesAndWritesThemBack) {
  const auto file = kv_readLinguist(kCatalogue);
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(file->language, "ru_RU");
  EXPECT_EQ(file->sourceLanguage, "en");  // none named
  ASSERT_EQ(file->messages.size(), 3u);
  EXPECT_EQ(file->messages[0].source, "&Open");
  EXPECT_EQ(file->messages[0].comment, "verb");
  EXPECT_EQ(file->messages[0].translations, std::vector<std::string>{"&Открыть"});
  EXPECT_TRUE(file->messages[1].numerus);
  EXPECT_EQ(file->messages[1].translations.size(), 3u);
  EXPECT_EQ(file->messages[2].type, "vanished");

  const auto again = kv_readLinguist(kv_writeLinguist(*file));
  ASSERT_TRUE(again.has_value());
  ASSERT_EQ(again->messages.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(again->messages[i].translations, file->messages[i].translations);
    EXPECT_EQ(again->messages[i].type, file->messages[i].type);
  }
}

TEST(LinguistCatalogueTest, RefusesWhatIsNoCatalogueAndEntities) {
  EXPECT_FALSE(kv_readLinguist("").has_value());
  EXPECT_FALSE(kv_readLinguist("<TS><context>").has_value());
  EXPECT_FALSE(kv_readLinguist("<xliff/>").has_value());
  EXPECT_FALSE(
      kv_readLinguist(R"(<!DOCTYPE TS [<!ENTITY big "x">]><TS language="fr"/>)").has_value());
  EXPECT_TRUE(kv_readLinguist(R"(<TS language="fr"/>)").has_value());
}

TEST(LinguistCatalogueTest, AKeyHoldsItsDisambiguationAndQtsFormsHaveCategories) {
  EXPECT_EQ(kv_messageKey("Open", ""), "Open");
  EXPECT_EQ(kv_messageKey("Open", "verb"), "Open\u241Everb");
  EXPECT_EQ(kv_messageKeyParts("Open\u241Everb"),
            (std::pair<std::string_view, std::string_view>("Open", "verb")));
  EXPECT_EQ(kv_messageKeyParts("Open"),
            (std::pair<std::string_view, std::string_view>("Open", "")));
  EXPECT_EQ(kv_qtNumerusCategories("ar"),
            (std::vector<std::string>{"zero", "one", "two", "few", "many", "other"}));
  EXPECT_EQ(kv_qtNumerusCategories("de_DE"), (std::vector<std::string>{"one", "other"}));
}

}  // namespace
}  // namespace kolvane
