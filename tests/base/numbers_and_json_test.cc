// Numbers and JSON from outside: the saturating conversion and the nesting bound.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/bounded_json.h"
#include "base/saturating.h"

namespace kolvane {
namespace {

constexpr long long kMax = std::numeric_limits<long long>::max();
constexpr long long kMin = std::numeric_limits<long long>::min();

TEST(SaturatingTest, OutsideNumbersHaveDefinedIntegers) {
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(saturatingCast<long long>(1e300), kMax);
  EXPECT_EQ(saturatingCast<long long>(-1e300), kMin);
  EXPECT_EQ(saturatingCast<long long>(inf), kMax);
  EXPECT_EQ(saturatingCast<long long>(std::nan("")), 0);
  EXPECT_EQ(saturatingCast<int>(std::nan(""), -1), -1);
  EXPECT_EQ(saturatingCast<long long>(9223372036854775807.0), kMax);  // rounds up to 2^63
  EXPECT_EQ(saturatingCast<int>(-2.9), -2);
  EXPECT_EQ(saturatingCast<unsigned>(-5.0), 0u);
  EXPECT_EQ(saturatingCast<long>(1e300 * 1000), std::numeric_limits<long>::max());

  EXPECT_EQ(saturatingInteger(nlohmann::json(1e300)), kMax);
  EXPECT_EQ(saturatingInteger(nlohmann::json(18446744073709551615ull)), kMax);
  EXPECT_EQ(saturatingInteger(nlohmann::json(-7)), -7);
  EXPECT_EQ(saturatingInteger(nlohmann::json(2.5)), 2);
  EXPECT_EQ(saturatingInteger(nlohmann::json(std::nan(""))), std::nullopt);
  EXPECT_EQ(saturatingInteger(nlohmann::json("2")), std::nullopt);

  EXPECT_EQ(saturatingIntegerFromText("70000"), 70000);
  EXPECT_EQ(saturatingIntegerFromText("1e10"), 10'000'000'000);
  EXPECT_EQ(saturatingIntegerFromText("99999999999999999999999"), kMax);
  EXPECT_EQ(saturatingIntegerFromText("inf"), kMax);
  EXPECT_EQ(saturatingIntegerFromText("-inf"), kMin);
  for (const char* bad : {"nan", "", " 5", "5x", "x"}) {
    EXPECT_EQ(saturatingIntegerFromText(bad), std::nullopt) << bad;
  }
}

TEST(BoundedJsonTest, NestingIsBoundedBeforeParsing) {
  const std::string deep = std::string(200'000, '[') + std::string(200'000, ']');
  EXPECT_TRUE(parseBoundedJson(deep).is_discarded());
  const std::string edge = std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']');
  EXPECT_TRUE(parseBoundedJson(edge).is_array());
  // Brackets inside texts, escaped quotes included, do not count.
  EXPECT_EQ(parseBoundedJson(R"({"a": "[[[[\"{{{{"})", 2), (nlohmann::json{{"a", "[[[[\"{{{{"}}));
  EXPECT_TRUE(parseBoundedJson("{\"a\": [{}]}", 2).is_discarded());
  EXPECT_TRUE(parseBoundedJson("not json").is_discarded());
}

}  // namespace
}  // namespace kolvane
