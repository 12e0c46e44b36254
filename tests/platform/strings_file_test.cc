#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/linux/property_list.h"
#include "platform/strings_text_format.h"

namespace kolvane {
namespace {

StringsTable tableOf(std::string_view bytes) {
  StringsFileResult result = readStringsTable(bytes);
  if (auto* error = std::get_if<StringsFileError>(&result)) {
    ADD_FAILURE() << error->message;
    return {};
  }
  return std::get<StringsTable>(result);
}

std::string errorOf(std::string_view bytes) {
  StringsFileResult result = readStringsTable(bytes);
  auto* error = std::get_if<StringsFileError>(&result);
  return error ? error->message : "(no error)";
}

TEST(StringsTextFormatTest, CommentsEscapesAndPlainWords) {
  const StringsTable table = tableOf(
      "/* Title\n   of the screen */\n"
      "\"title\" = \"Welcome \\\"home\\\"\";  // trailing\n"
      "\"lines\" = \"a\\nb\\tc\\r\\\\\";\n"
      "\"unicode\" = \"caf\\U00e9 \\U263A\";\n"
      "plain_key.1 = PlainValue;\n"
      "\"same\";\n"
      "\"é\" = \"漢字 😀\";");
  EXPECT_EQ(table.at("title"), u"Welcome \"home\"");
  EXPECT_EQ(table.at("lines"), u"a\nb\tc\r\\");
  EXPECT_EQ(table.at("unicode"), u"café ☺");
  EXPECT_EQ(table.at("plain_key.1"), u"PlainValue");
  EXPECT_EQ(table.at("same"), u"same");
  EXPECT_EQ(table.at("é"), u"漢字 😀");
}

TEST(StringsTextFormatTest, ReadAsThePlatformsOwnReaderReadsThem) {
  const StringsTable table = tableOf(
      "'single' = 'it\\'s \"q\"';\n"
      "\"octal\" = \"\\101\\102C \\0 \\7 \\377\";\n"
      "\"controls\" = \"\\a\\b\\f\\v\";\n"
      "\"lower\" = \"\\u00e9\";\n"
      "\"short\" = \"\\U41z \\Ug\";\n"
      "\"pair\" = \"\\UD83D\\UDE00\";");
  EXPECT_EQ(table.at("single"), u"it's \"q\"");
  EXPECT_EQ(table.at("octal"), std::u16string(u"ABC ") + u'\0' + u" \a \uFFFD");
  EXPECT_EQ(table.at("controls"), u"\a\b\f\v");
  EXPECT_EQ(table.at("lower"), u"u00e9");
  EXPECT_EQ(table.at("short"), std::u16string(u"Az ") + u'\0' + u"g");
  EXPECT_EQ(table.at("pair"), u"😀");
}

TEST(StringsTextFormatTest, Utf16WithByteOrderMarkInBothOrders) {
  const std::u16string text = u"\"k\" = \"v€\";";
  std::string little = "\xFF\xFE";
  std::string big = "\xFE\xFF";
  for (char16_t unit : text) {
    little += static_cast<char>(unit & 0xFF);
    little += static_cast<char>(unit >> 8);
    big += static_cast<char>(unit >> 8);
    big += static_cast<char>(unit & 0xFF);
  }
  EXPECT_EQ(tableOf(little).at("k"), u"v€");
  EXPECT_EQ(tableOf(big).at("k"), u"v€");
  EXPECT_EQ(tableOf("\xEF\xBB\xBF\"k\" = \"v\";").at("k"), u"v");
}

TEST(StringsTextFormatTest, ErrorsNameTheLine) {
  EXPECT_EQ(errorOf("\"a\" = \"b\";\n\"c\" = \"d\"\n\"e\" = \"f\";"), "line 3: expected ';'");
  EXPECT_EQ(errorOf("\"a\" = \"unterminated;\n"), "line 2: unterminated string");
  EXPECT_EQ(errorOf("/* never closed"), "line 1: unterminated comment");
  EXPECT_EQ(errorOf("\n\n\"a\" = ;"), "line 3: expected a value");
  EXPECT_EQ(errorOf("'a' = 'it''s';"), "line 1: expected ';'");  // quoted strings never join
  EXPECT_EQ(errorOf("= \"x\";"), "line 1: expected a key");
}

TEST(StringsTextFormatTest, EntriesInBracesAreOneWholeDictionary) {
  EXPECT_EQ(tableOf("/* old style */ {\n  \"a\" = \"b\";\n  c = d;\n}\n"),
            (StringsTable{{"a", u"b"}, {"c", u"d"}}));
  EXPECT_TRUE(tableOf("{ }").empty());
  EXPECT_EQ(errorOf("{ \"a\" = \"b\";"), "line 1: expected '}'");
  EXPECT_EQ(errorOf("{ \"a\" = \"b\"; } \"c\" = \"d\";"), "line 1: unexpected text after '}'");
}

TEST(StringsTextFormatTest, EmptyAndCommentOnlyFilesAreEmptyTables) {
  EXPECT_TRUE(tableOf("").empty());
  EXPECT_TRUE(tableOf("  // nothing here\n/* or here */").empty());
}

TEST(StringsTextFormatTest, EveryCutOfAFileIsATableOrAnError) {
  const std::string text = "/* c */ \"k\\U00e9\" = \"v\\n 😀\"; key = value; // end\n\"x\" = \"y\";";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    StringsFileResult result = parseStringsText(text.substr(0, length));
    if (auto* error = std::get_if<StringsFileError>(&result)) {
      EXPECT_EQ(error->message.rfind("line ", 0), 0u);
    }
  }
  constexpr char kUtf16[] = "\xFF\xFE\"\0k\0\"\0=\0";  // cut inside a UTF-16 unit too
  const std::string utf16(kUtf16, sizeof kUtf16 - 1);
  for (std::size_t length = 0; length <= utf16.size(); ++length) {
    parseStringsText(utf16.substr(0, length));
  }
}

TEST(PropertyListTest, XmlAndBinaryDictionariesOfStrings) {
  const std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<plist version=\"1.0\"><dict><key>a</key><string>A &amp; é</string>"
      "<key>n</key><integer>3</integer></dict></plist>";
  const StringsTable fromXml = tableOf(xml);
  EXPECT_EQ(fromXml.at("a"), u"A & é");
  EXPECT_EQ(fromXml.count("n"), 0u);  // only strings are kept

  plist_t dict = plist_new_dict();
  plist_dict_set_item(dict, "b", plist_new_string("Bé"));
  char* bin = nullptr;
  uint32_t length = 0;
  plist_to_bin(dict, &bin, &length);
  plist_free(dict);
  const std::string binary(bin, length);
  std::free(bin);
  EXPECT_EQ(tableOf(binary).at("b"), u"Bé");
}

TEST(PropertyListTest, DamagedPropertyListsAreErrors) {
  EXPECT_EQ(errorOf("<?xml version=\"1.0\"?><plist><array/></plist>"),
            "not a property list of strings");
  EXPECT_EQ(errorOf("bplist00garbage"), "not a property list of strings");
  EXPECT_EQ(errorOf("<plist><dict><key>a</key>"), "not a property list of strings");
}

// A binary property list of `count` arrays, each referring `fanOut` times to the next, the last
// one holding the string `leaf` (up to 14 bytes); a dictionary holds it all under "k".
std::string chainedBinaryPlist(std::uint32_t count, int fanOut, const std::string& leaf = "x") {
  std::string bytes = "bplist00";
  std::vector<std::uint32_t> offsets;
  const auto put32 = [&bytes](std::uint64_t value, int width) {
    for (int shift = (width - 1) * 8; shift >= 0; shift -= 8) {
      bytes += static_cast<char>((value >> shift) & 0xFF);
    }
  };
  // Object 0: {"k": object 2}; object 1: "k"; objects 2...: the arrays; last: "x".
  offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
  bytes += '\xD1';
  put32(1, 4);
  put32(2, 4);
  offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
  bytes += "\x51k";
  for (std::uint32_t i = 0; i < count; ++i) {
    offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
    bytes += static_cast<char>(0xA0 | fanOut);
    for (int ref = 0; ref < fanOut; ++ref) put32(3 + i, 4);
  }
  offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
  bytes += static_cast<char>(0x50 | leaf.size());
  bytes += leaf;
  const std::size_t table = bytes.size();
  for (std::uint32_t offset : offsets) put32(offset, 4);
  bytes += std::string(6, '\0');
  bytes += '\x04';
  bytes += '\x04';
  put32(offsets.size(), 8);
  put32(0, 8);
  put32(table, 8);
  return bytes;
}

TEST(PropertyListTest, NestingAndSharedChildrenAreBoundedBeforeTheLibrarySeesThem) {
  // Deep enough to overflow the stack of a recursive reader.
  const std::size_t deep = 300'000;
  std::string xml = "<?xml version=\"1.0\"?><plist><dict><key>k</key>";
  for (std::size_t i = 0; i < deep; ++i) xml += "<array>";
  for (std::size_t i = 0; i < deep; ++i) xml += "</array>";
  xml += "</dict></plist>";
  EXPECT_EQ(errorOf(xml), "not a property list of strings");
  EXPECT_EQ(errorOf(chainedBinaryPlist(deep, 1)), "not a property list of strings");
  // Forty levels of two shared children each: 2^40 values once expanded.
  EXPECT_EQ(errorOf(chainedBinaryPlist(40, 2)), "not a property list of strings");
  // Within bounds, the same shapes read.
  EXPECT_EQ(tableOf(chainedBinaryPlist(10, 2)).size(), 0u);
  const std::string cycle = [] {
    std::string bytes = chainedBinaryPlist(2, 1);
    bytes[bytes.find('\xA1', 8) + 4] = 2;  // the first array refers to itself
    return bytes;
  }();
  EXPECT_EQ(errorOf(cycle), "not a property list of strings");
  // libplist aborts on a text holding NUL: such a list never reaches it.
  EXPECT_EQ(errorOf(chainedBinaryPlist(0, 1, std::string("a\0b", 3))),
            "not a property list of strings");
  for (const std::string& nul :
       {std::string("<plist><dict><key>a</key><string>") + '\0' + "</string>",
        std::string("<plist><dict><key>a</key><string>&#x00;</string>")}) {
    EXPECT_EQ(errorOf(nul + "</dict></plist>"), "not a property list of strings");
  }
}

}  // namespace
}  // namespace kolvane
