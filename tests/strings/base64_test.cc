#include "strings/base64.h"

#include <gtest/gtest.h>

#include <string>

namespace kolvane {
namespace {

TEST(Base64Test, EncodesWithPaddingAndNothingForNoData) {
  EXPECT_EQ(kv_base64EncodedString("f"), "Zg==");
  EXPECT_EQ(kv_base64EncodedString("fo"), "Zm8=");
  EXPECT_EQ(kv_base64EncodedString("foo"), "Zm9v");
  EXPECT_EQ(kv_base64EncodedString(std::string("\0\xff", 2)), "AP8=");
  EXPECT_EQ(kv_base64EncodedString(""), std::nullopt);
}

TEST(Base64Test, WrapsAtMultiplesOfFourWithoutTrailingBreak) {
  const std::string bytes(57, 'x');
  const auto oneLine = kv_base64EncodedStringWithWrapWidth(bytes, 76);
  ASSERT_TRUE(oneLine);
  EXPECT_EQ(oneLine->size(), 76u);
  EXPECT_EQ(oneLine->find('\r'), std::string::npos);

  // Width 10 is used as 8.
  const auto wrapped = kv_base64EncodedStringWithWrapWidth("abcdefghijklmno", 10);
  EXPECT_EQ(wrapped, "YWJjZGVm\r\nZ2hpamts\r\nbW5v");
  // A width under four cannot be honoured: one line.
  EXPECT_EQ(kv_base64EncodedStringWithWrapWidth("abcdefghijklmno", 3), "YWJjZGVmZ2hpamtsbW5v");
}

TEST(Base64Test, DecodingIgnoresForeignCharactersAndRoundTrips) {
  EXPECT_EQ(kv_dataWithBase64EncodedString("YWJj\r\nZGVm Z2hp amts bW5v"), "abcdefghijklmno");
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  for (std::size_t length = 1; length <= all.size(); length += 37) {
    const std::string bytes = all.substr(0, length);
    EXPECT_EQ(kv_dataWithBase64EncodedString(*kv_base64EncodedStringWithWrapWidth(bytes, 64)),
              bytes);
  }
}

TEST(Base64Test, DecodingRejectsWhatIsNotWholeGroups) {
  EXPECT_EQ(kv_dataWithBase64EncodedString(""), std::nullopt);
  EXPECT_EQ(kv_dataWithBase64EncodedString("!!!"), std::nullopt);
  EXPECT_EQ(kv_dataWithBase64EncodedString("Zm9"), std::nullopt);
  EXPECT_EQ(kv_dataWithBase64EncodedString("Z==="), std::nullopt);
  EXPECT_EQ(kv_dataWithBase64EncodedString("Zg==Zg=="), std::nullopt);
  EXPECT_EQ(kv_dataWithBase64EncodedString("===="), std::nullopt);
}

TEST(Base64Test, TextDecodingRequiresUtf8) {
  EXPECT_EQ(kv_base64DecodedString("w6k="), "é");
  EXPECT_EQ(kv_stringWithBase64EncodedString("/w=="), std::nullopt);  // a lone 0xFF byte
  EXPECT_EQ(kv_base64DecodedData("/w=="), std::string("\xff"));
}

}  // namespace
}  // namespace kolvane
