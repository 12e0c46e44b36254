// Numbers and JSON from outside: the saturating conversion and the nesting bound.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/bounded_json.h"
#include "base/saturating.h"
#include "base/sha256.h"

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

TEST(Sha256Test, KnownDigestsAcrossBlockEdges) {
  const auto hex = [](std::string_view bytes) {
    std::string out;
    for (const std::uint8_t byte : kv_sha256(bytes)) {
      out += "0123456789abcdef"[byte >> 4];
      out += "0123456789abcdef"[byte & 0xf];
    }
    return out;
  };
  EXPECT_EQ(hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  // 56 bytes: the length no longer fits the first block.
  EXPECT_EQ(hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hex(std::string(1000000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

}  // namespace
}  // namespace kolvane
