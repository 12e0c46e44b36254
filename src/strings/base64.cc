#include "strings/base64.h"

#include <array>
#include <cstdint>

#include "base/utf.h"

namespace kolvane {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int, 256> makeDecodeTable() {
  std::array<int, 256> table{};
  for (int& entry : table) entry = -1;
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int>(i);
  }
  return table;
}
constexpr std::array<int, 256> kDecodeTable = makeDecodeTable();

std::string encodeOneLine(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t left = bytes.size() - i;
    std::uint32_t group = static_cast<unsigned char>(bytes[i]) << 16;
    if (left > 1) group |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    if (left > 2) group |= static_cast<unsigned char>(bytes[i + 2]);
    out += kAlphabet[(group >> 18) & 0x3F];
    out += kAlphabet[(group >> 12) & 0x3F];
    out += left > 1 ? kAlphabet[(group >> 6) & 0x3F] : '=';
    out += left > 2 ? kAlphabet[group & 0x3F] : '=';
  }
  return out;
}

std::string keepAlphabetAndPadding(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  for (char c : text) {
    if (kDecodeTable[static_cast<unsigned char>(c)] >= 0 || c == '=') kept += c;
  }
  return kept;
}

// Padding may only close the last group, one or two signs long.
bool paddingIsWellPlaced(std::string_view text) {
  const std::size_t firstPad = text.find('=');
  if (firstPad == std::string_view::npos) return true;
  const std::size_t pads = text.size() - firstPad;
  return pads <= 2 && text.find_first_not_of('=', firstPad) == std::string_view::npos;
}

}  // namespace

std::optional<std::string> kv_base64EncodedStringWithWrapWidth(std::string_view bytes,
                                                               std::size_t wrapWidth) {
  if (bytes.empty()) return std::nullopt;
  std::string line = encodeOneLine(bytes);
  const std::size_t width = wrapWidth / 4 * 4;
  if (wrapWidth == 0 || line.size() <= wrapWidth || width == 0) return line;
  std::string wrapped;
  wrapped.reserve(line.size() + line.size() / width * 2);
  for (std::size_t pos = 0; pos < line.size(); pos += width) {
    if (pos > 0) wrapped += "\r\n";
    wrapped += line.substr(pos, width);
  }
  return wrapped;
}

std::optional<std::string> kv_base64EncodedString(std::string_view bytes) {
  return kv_base64EncodedStringWithWrapWidth(bytes, 0);
}

std::optional<std::string> kv_dataWithBase64EncodedString(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const std::string kept = keepAlphabetAndPadding(text);
  if (kept.size() % 4 != 0 || !paddingIsWellPlaced(kept)) return std::nullopt;
  std::string bytes;
  bytes.reserve(kept.size() / 4 * 3);
  for (std::size_t i = 0; i < kept.size(); i += 4) {
    std::uint32_t group = 0;
    int pads = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const char c = kept[i + k];
      pads += c == '=';
      group = (group << 6) | static_cast<std::uint32_t>(
                                 c == '=' ? 0 : kDecodeTable[static_cast<unsigned char>(c)]);
    }
    bytes += static_cast<char>((group >> 16) & 0xFF);
    if (pads < 2) bytes += static_cast<char>((group >> 8) & 0xFF);
    if (pads < 1) bytes += static_cast<char>(group & 0xFF);
  }
  if (bytes.empty()) return std::nullopt;
  return bytes;
}

std::optional<std::string> kv_stringWithBase64EncodedString(std::string_view text) {
  auto bytes = kv_dataWithBase64EncodedString(text);
  if (!bytes || !isValidUtf8(*bytes)) return std::nullopt;
  return bytes;
}

}  // namespace kolvane
