// The key of a message told apart from another with the same source text by a disambiguation
// (Qt's comment): "source␞disambiguation", U+241E between them. Pure; any thread.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace kolvane {

inline constexpr std::string_view kv_disambiguationSeparator = "\u241E";

// The source text alone without a disambiguation.
std::string kv_messageKey(std::string_view source, std::string_view disambiguation);

// The source text and the disambiguation of a key; the whole key and none for a key without
// the separator.
std::pair<std::string_view, std::string_view> kv_messageKeyParts(std::string_view key);

}  // namespace kolvane
