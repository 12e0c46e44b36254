#include "base/utf.h"

namespace kolvane {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one code point at `pos` and advances past it (past one byte when it is ill-formed,
// answering U+FFFD and clearing `wellFormed`).
char32_t decodeUtf8(std::string_view in, size_t& pos, bool& wellFormed) {
  const auto lead = static_cast<unsigned char>(in[pos]);
  size_t extra = 0;
  char32_t cp = 0;
  char32_t minimum = 0;
  if (lead < 0x80) {
    ++pos;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    extra = 1, cp = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, cp = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, cp = lead & 0x07, minimum = 0x10000;
  } else {
    ++pos;
    wellFormed = false;
    return kReplacement;
  }
  if (pos + extra >= in.size()) {
    ++pos;
    wellFormed = false;
    return kReplacement;
  }
  for (size_t i = 1; i <= extra; ++i) {
    const auto byte = static_cast<unsigned char>(in[pos + i]);
    if (!isContinuation(byte)) {
      ++pos;
      wellFormed = false;
      return kReplacement;
    }
    cp = (cp << 6) | (byte & 0x3F);
  }
  pos += extra + 1;
  const bool surrogate = cp >= 0xD800 && cp <= 0xDFFF;
  if (cp < minimum || cp > 0x10FFFF || surrogate) {
    wellFormed = false;
    return kReplacement;
  }
  return cp;
}

void appendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

std::u16string toUtf16(std::string_view utf8) {
  std::u16string out;
  appendUtf16(out, utf8);
  return out;
}

void appendUtf16(std::u16string& out, std::string_view utf8) {
  out.reserve(out.size() + utf8.size());
  size_t pos = 0;
  bool wellFormed = true;
  while (pos < utf8.size()) {
    const char32_t cp = decodeUtf8(utf8, pos, wellFormed);
    if (cp < 0x10000) {
      out += static_cast<char16_t>(cp);
    } else {
      out += static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    }
  }
}

bool isValidUtf8(std::string_view bytes) {
  size_t pos = 0;
  bool wellFormed = true;
  while (pos < bytes.size() && wellFormed) decodeUtf8(bytes, pos, wellFormed);
  return wellFormed;
}

std::string toUtf8(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  for (size_t i = 0; i < utf16.size(); ++i) {
    const char16_t unit = utf16[i];
    if (isHighSurrogate(unit) && i + 1 < utf16.size() && isLowSurrogate(utf16[i + 1])) {
      appendUtf8(out, 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (utf16[i + 1] - 0xDC00));
      ++i;
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      appendUtf8(out, kReplacement);
    } else {
      appendUtf8(out, unit);
    }
  }
  return out;
}

}  // namespace kolvane
