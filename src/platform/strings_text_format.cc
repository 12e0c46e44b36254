#include "platform/strings_text_format.h"

#include <optional>

#include "base/utf.h"

namespace kolvane {
namespace {

bool isPlainWordCharacter(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
         c == u'_' || c == u'.' || c == u'-' || c == u'$' || c == u'/' || c == u':' || c == u'+';
}

std::optional<char16_t> hexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return static_cast<char16_t>(c - u'0');
  if (c >= u'a' && c <= u'f') return static_cast<char16_t>(c - u'a' + 10);
  if (c >= u'A' && c <= u'F') return static_cast<char16_t>(c - u'A' + 10);
  return std::nullopt;
}

class StringsTextParser {
 public:
  explicit StringsTextParser(std::u16string_view text) : text_(text) {}

  StringsFileResult parse() {
    StringsTable table;
    skipSpaceAndComments();
    // The entries may also stand in braces, as one whole old-style dictionary.
    const bool braced = !atEnd() && peek() == u'{';
    if (braced) {
      advance();
      skipSpaceAndComments();
    }
    while (!failed_ && !atEnd() && !(braced && peek() == u'}')) {
      parseEntry(table);
      skipSpaceAndComments();
    }
    if (braced && !failed_) {
      if (atEnd()) fail("expected '}'");
      if (!failed_) advance();
      skipSpaceAndComments();
      if (!failed_ && !atEnd()) fail("unexpected text after '}'");
    }
    if (failed_) return StringsFileError{"line " + std::to_string(line_) + ": " + error_};
    return table;
  }

 private:
  void fail(std::string message) {
    if (!failed_) error_ = std::move(message);
    failed_ = true;
  }

  bool atEnd() const { return pos_ >= text_.size(); }
  char16_t peek(std::size_t ahead = 0) const {
    return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : u'\0';
  }
  void advance() {
    if (text_[pos_] == u'\n') ++line_;
    ++pos_;
  }

  void skipSpaceAndComments() {
    while (!atEnd() && !failed_) {
      const char16_t c = peek();
      if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\n' || c == u'\f' || c == u'\v') {
        advance();
      } else if (c == u'/' && peek(1) == u'*') {
        skipBlockComment();
      } else if (c == u'/' && peek(1) == u'/') {
        while (!atEnd() && peek() != u'\n') advance();
      } else {
        return;
      }
    }
  }

  void skipBlockComment() {
    advance();
    advance();
    while (!atEnd()) {
      if (peek() == u'*' && peek(1) == u'/') {
        advance();
        advance();
        return;
      }
      advance();
    }
    fail("unterminated comment");
  }

  // "key" = "value"; or "key"; (which maps the key to itself).
  void parseEntry(StringsTable& table) {
    const auto key = parseString("a key");
    skipSpaceAndComments();
    std::optional<std::u16string> value = key;
    if (!failed_ && peek() == u'=') {
      advance();
      skipSpaceAndComments();
      value = parseString("a value");
      skipSpaceAndComments();
    }
    if (failed_) return;
    if (peek() != u';') return fail("expected ';'");
    advance();
    table[toUtf8(*key)] = *value;
  }

  std::optional<std::u16string> parseString(const char* what) {
    if (failed_) return std::nullopt;
    if (peek() == u'"' || peek() == u'\'') return parseQuoted(peek());
    std::u16string word;
    while (!atEnd() && isPlainWordCharacter(peek())) {
      word += peek();
      advance();
    }
    if (word.empty()) fail(std::string("expected ") + what);
    return word;
  }

  // Double or single quotes, with the same escapes.
  std::optional<std::u16string> parseQuoted(char16_t quote) {
    advance();  // the opening quote
    std::u16string out;
    while (!atEnd()) {
      const char16_t c = peek();
      if (c == quote) {
        advance();
        return out;
      }
      advance();
      if (c != u'\\') {
        out += c;
      } else if (!parseEscape(out)) {
        return std::nullopt;
      }
    }
    fail("unterminated string");
    return std::nullopt;
  }

  bool parseEscape(std::u16string& out) {
    if (atEnd()) {
      fail("unterminated string");
      return false;
    }
    const char16_t c = peek();
    advance();
    if (const auto control = controlEscape(c)) {
      out += *control;
    } else if (c == u'U') {  // only the capital: "\u" is the letter u, as the platform reads it
      out += unicodeEscape();
    } else if (c >= u'0' && c <= u'7') {
      out += octalEscape(c);
    } else {
      out += c;  // \" \' \\ and any other character stand for themselves
    }
    return true;
  }

  static std::optional<char16_t> controlEscape(char16_t letter) {
    static constexpr std::pair<char16_t, char16_t> kEscapes[] = {
        {u'n', u'\n'}, {u't', u'\t'}, {u'r', u'\r'}, {u'a', u'\a'},
        {u'b', u'\b'}, {u'f', u'\f'}, {u'v', u'\v'}};
    for (const auto& [escaped, control] : kEscapes) {
      if (escaped == letter) return control;
    }
    return std::nullopt;
  }

  // Up to four hexadecimal digits (none gives U+0000). Two escapes in a row that form a
  // surrogate pair are one character, as the units simply follow each other.
  char16_t unicodeEscape() {
    char16_t unit = 0;
    for (int i = 0; i < 4 && !atEnd(); ++i) {
      const auto digit = hexValue(peek());
      if (!digit) break;
      unit = static_cast<char16_t>(unit * 16 + *digit);
      advance();
    }
    return unit;
  }

  // Up to three octal digits, the first already read: a character of the NeXTSTEP encoding.
  // Its ASCII half is ASCII; the characters above \177 have no one-to-one Unicode reading here
  // and become U+FFFD.
  char16_t octalEscape(char16_t first) {
    unsigned value = first - u'0';
    for (int i = 1; i < 3 && !atEnd() && peek() >= u'0' && peek() <= u'7'; ++i) {
      value = value * 8 + (peek() - u'0');
      advance();
    }
    return value < 0x80 ? static_cast<char16_t>(value) : u'\uFFFD';
  }

  std::u16string_view text_;
  std::size_t pos_ = 0;
  std::size_t line_ = 1;
  bool failed_ = false;
  std::string error_;
};

}  // namespace

std::u16string decodeTextFile(std::string_view bytes) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const bool bigEndian = bytes.size() >= 2 && byteAt(0) == 0xFE && byteAt(1) == 0xFF;
  const bool littleEndian = bytes.size() >= 2 && byteAt(0) == 0xFF && byteAt(1) == 0xFE;
  if (bigEndian || littleEndian) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
      const unsigned high = bigEndian ? byteAt(i) : byteAt(i + 1);
      const unsigned low = bigEndian ? byteAt(i + 1) : byteAt(i);
      text += static_cast<char16_t>(high << 8 | low);
    }
    return text;
  }
  if (bytes.size() >= 3 && byteAt(0) == 0xEF && byteAt(1) == 0xBB && byteAt(2) == 0xBF) {
    bytes.remove_prefix(3);
  }
  return toUtf16(bytes);
}

StringsFileResult parseStringsText(std::string_view bytes) {
  const std::u16string text = decodeTextFile(bytes);
  return StringsTextParser(text).parse();
}

}  // namespace kolvane
