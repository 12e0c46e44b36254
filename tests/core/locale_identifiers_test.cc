#include "core/locale_identifiers.h"

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include <cstdlib>

#include "support/core_fixture.h"

namespace kolvane {
namespace {

std::string roundTrip(std::string_view serverId) {
  return kolvaneLocaleIdentifier(*localeFromKolvanIdentifier(serverId));
}

TEST(LocaleIdentifiersTest, SpecialCodesMapBothWays) {
  EXPECT_EQ(localeFromKolvanIdentifier("jm-JM")->localeIdentifier(), "en_JM");
  EXPECT_EQ(roundTrip("jm-JM"), "jm-JM");
  EXPECT_EQ(localeFromKolvanIdentifier("en-JM")->localeIdentifier(), "en_JM");
  EXPECT_EQ(roundTrip("en-JM"), "jm-JM");  // goes back as the server's own code
  EXPECT_EQ(roundTrip("me-ME"), "me-ME");
  EXPECT_EQ(localeFromKolvanIdentifier("xc-MN")->localeIdentifier(), "mn_Cyrl_MN");
}

TEST(LocaleIdentifiersTest, OnlySeparatorsChange) {
  EXPECT_EQ(localeFromKolvanIdentifier("pt-BR")->localeIdentifier(), "pt_BR");
  EXPECT_EQ(roundTrip("pt-BR"), "pt-BR");
  EXPECT_EQ(kolvaneLocaleIdentifier(Locale("zh_Hans_CN")), "zh-Hans-CN");
  EXPECT_EQ(localeFromKolvanIdentifier("JM-jm")->localeIdentifier(), "JM_jm");  // case kept
}

TEST(LocaleIdentifiersTest, IdsNoLocaleCouldCarryAreRefused) {
  EXPECT_EQ(localeFromKolvanIdentifier(""), std::nullopt);
  EXPECT_EQ(localeFromKolvanIdentifier("fr FR"), std::nullopt);
  EXPECT_EQ(localeFromKolvanIdentifier("??"), std::nullopt);
}

class LocaleNameTest : public testing::CoreTest {
 protected:
  void SetUp() override {
    testing::CoreTest::SetUp();
    previous_ = platform().text.currentLocaleIdentifier();
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("en_US", &status);
  }
  void TearDown() override {
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault(previous_.c_str(), &status);
    testing::CoreTest::TearDown();
  }
  std::string previous_;
};

TEST_F(LocaleNameTest, LanguageAndRegionInTheCurrentLanguage) {
  EXPECT_EQ(kv_localizedLanguageName(Locale("fr_FR")), "French (France)");
  EXPECT_EQ(kv_localizedLanguageName(Locale("es")), "Spanish (International)");
  EXPECT_EQ(kv_localizedLanguageName(Locale("de")), "German (International)");
  EXPECT_EQ(kv_localizedLanguageName(Locale("sr_Latn_ME")), "Serbian (Montenegro)");
}

TEST_F(LocaleNameTest, UnknownLanguageGivesTheIdentifier) {
  EXPECT_EQ(kv_localizedLanguageName(Locale("qx_QQ")), "qx_QQ");
  EXPECT_EQ(kv_localizedLanguageName(Locale("")), "");
  EXPECT_EQ(kv_localizedLanguageName(Locale(std::string(500, 'a'))), std::string(500, 'a'));
}

TEST_F(LocaleNameTest, NamesFollowTheCurrentLocale) {
  UErrorCode status = U_ZERO_ERROR;
  uloc_setDefault("fr_FR", &status);
  EXPECT_EQ(kv_localizedLanguageName(Locale("de_DE")), "allemand (Allemagne)");
}

}  // namespace
}  // namespace kolvane
