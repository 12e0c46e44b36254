// Base64 (RFC 4648 alphabet, with padding) for the usage payload. Bytes are held in
// std::string. Pure functions; any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kolvane {

// The encoding cut into lines of `wrapWidth` characters (rounded down to a multiple of 4)
// joined by "\r\n", with no break after the last line; 0 (or a width under 4) gives one
// line. None for empty data.
// Example: kv_base64EncodedStringWithWrapWidth("hello", 0) gives "aGVsbG8=".
std::optional<std::string> kv_base64EncodedStringWithWrapWidth(std::string_view bytes,
                                                               std::size_t wrapWidth);
std::optional<std::string> kv_base64EncodedString(std::string_view bytes);

// The decoded bytes; characters outside the alphabet (line breaks, spaces) are ignored. None
// when the input is empty, is not whole groups of four, or decodes to nothing.
std::optional<std::string> kv_dataWithBase64EncodedString(std::string_view text);
// The same, read as UTF-8 text: none when the bytes are not valid UTF-8.
std::optional<std::string> kv_stringWithBase64EncodedString(std::string_view text);

inline std::optional<std::string> kv_base64DecodedData(std::string_view text) {
  return kv_dataWithBase64EncodedString(text);
}
inline std::optional<std::string> kv_base64DecodedString(std::string_view text) {
  return kv_stringWithBase64EncodedString(text);
}

}  // namespace kolvane
