// Conversion between the UTF-8 of keys, paths and JSON and the UTF-16 of displayed texts.
// Pure functions; safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace kolvane {

// Ill-formed input never fails: each bad sequence becomes U+FFFD, so texts read from
// damaged files still convert and no read goes past the end of the input.
std::u16string toUtf16(std::string_view utf8);
std::string toUtf8(std::u16string_view utf16);
bool isValidUtf8(std::string_view bytes);
// Appends the UTF-16 form of `utf8` to `out`, as toUtf16 would give it.
void appendUtf16(std::u16string& out, std::string_view utf8);

}  // namespace kolvane
