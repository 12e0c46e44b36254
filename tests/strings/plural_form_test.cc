#include "strings/plural_form.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kolvane {
namespace {

std::string categoryOf(const char* locale, Number value) {
  return KVPluralForm::pluralFormForValue(value, Locale(locale));
}

struct Case {
  const char* locale;
  double value;
  const char* category;
};

void expectCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    const bool whole = c.value == static_cast<double>(static_cast<long long>(c.value));
    const Number value = whole ? Number(static_cast<long long>(c.value)) : Number(c.value);
    EXPECT_EQ(categoryOf(c.locale, value), c.category) << c.locale << " " << c.value;
  }
}

TEST(PluralFormTest, NoLocaleEmptyLanguageOrUnlistedLanguageIsAlwaysOther) {
  for (long long n : {0LL, 1LL, 2LL, 5LL, 11LL}) {
    EXPECT_EQ(KVPluralForm::pluralFormForValue(n, std::nullopt), "other");
    EXPECT_EQ(categoryOf("_US", n), "other");
    EXPECT_EQ(categoryOf("ja_JP", n), "other");
    EXPECT_EQ(categoryOf("", n), "other");
    // Only "_" separates the language: en-US matches nothing.
    EXPECT_EQ(categoryOf("en-US", n), "other");
    EXPECT_EQ(categoryOf("EN_us", n), "other");
  }
  EXPECT_EQ(KVPluralForm::pluralFormForValue(std::nullopt, Locale("ar")), "zero");
}

TEST(PluralFormTest, IntegerAndFloatReadings) {
  expectCases(
      {{"en_US", 1, "one"},   {"en", 1.5, "one"},  {"en", 0, "other"},  {"en", 2, "other"},
       {"fr", 0, "one"},      {"fr", 1.5, "one"},  {"fr", 1.99, "one"}, {"fr", 2, "other"},
       {"fr", -0.5, "other"}, {"hi", 0, "one"},    {"hi", 1, "one"},    {"hi", 2, "other"},
       {"lag", 0.5, "zero"},  {"lag", 1.5, "one"}, {"lag", 2, "other"}, {"shi", 0.5, "one"},
       {"shi", 1, "one"},     {"shi", 2, "few"},   {"shi", 10, "few"},  {"shi", 11, "other"}});
}

TEST(PluralFormTest, SlavicAndBalticRules) {
  expectCases({{"ru", 1, "one"},   {"ru", 21, "one"},   {"ru", 101, "one"},  {"ru", 11, "many"},
               {"ru", 2, "few"},   {"ru", 22, "few"},   {"ru", 12, "many"},  {"ru", 0, "many"},
               {"ru", 5, "many"},  {"ru", 20, "many"},  {"uk", 3, "few"},    {"pl", 1, "one"},
               {"pl", 0, "many"},  {"pl", 11, "many"},  {"pl", 21, "many"},  {"pl", 22, "few"},
               {"pl", 12, "many"}, {"cs", 1, "one"},    {"cs", 4, "few"},    {"cs", 5, "other"},
               {"lt", 1, "one"},   {"lt", 11, "other"}, {"lt", 9, "few"},    {"lt", 10, "other"},
               {"lv", 0, "zero"},  {"lv", 21, "one"},   {"lv", 11, "other"}, {"sl", 101, "one"},
               {"sl", 102, "two"}, {"sl", 104, "few"},  {"sl", 5, "other"}});
}

TEST(PluralFormTest, KeptQuirksOfTheTable) {
  // The exclusion is of the count itself, not of its last two digits.
  expectCases({{"mk", 11, "other"}, {"mk", 111, "one"}, {"mk", 21, "one"}});
  // Negative counts take signed remainders and fall through.
  expectCases({{"ru", -1, "other"}, {"ru", -21, "other"}, {"en", -1, "other"}});
}

TEST(PluralFormTest, CelticSemiticAndOtherOwnRules) {
  expectCases(
      {{"br", 1000000, "many"}, {"br", 71, "other"}, {"br", 9, "few"},     {"br", 79, "other"},
       {"br", 1, "one"},        {"br", 22, "two"},   {"ar", 0, "zero"},    {"ar", 2, "two"},
       {"ar", 103, "few"},      {"ar", 111, "many"}, {"ar", 100, "other"}, {"cy", 3, "few"},
       {"cy", 6, "many"},       {"cy", 0, "zero"},   {"ga", 5, "few"},     {"ga", 9, "many"},
       {"gd", 12, "two"},       {"gd", 11, "one"},   {"gd", 15, "few"},    {"gd", 20, "other"},
       {"gv", 12, "one"},       {"gv", 40, "one"},   {"gv", 3, "other"},   {"he", 20, "many"},
       {"he", 0, "other"},      {"ksh", 0, "zero"},  {"mt", 0, "few"},     {"mt", 15, "many"},
       {"mt", 102, "few"},      {"ro", 0, "few"},    {"ro", 119, "few"},   {"ro", 20, "other"},
       {"se", 2, "two"},        {"tzm", 50, "one"},  {"tzm", 5, "other"}});
}

TEST(PluralFormTest, ExtremeValuesNeverFail) {
  EXPECT_EQ(categoryOf("ru", Number(1e300)), "many");  // saturates to the largest integer
  EXPECT_EQ(categoryOf("fr", Number(std::nan(""))), "other");
  EXPECT_EQ(categoryOf("br", Number(INT64_MIN)), "other");
}

}  // namespace
}  // namespace kolvane
