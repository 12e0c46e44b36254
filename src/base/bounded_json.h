// JSON from outside (server answers, saved settings, files) read with its nesting bounded
// first: nlohmann::json builds and writes values recursively, so a document nested a few
// hundred thousand deep would overflow the stack while being read, saved or logged.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string_view>

namespace kolvane {

inline constexpr std::size_t kMaxJsonDepth = 128;

// The parsed value, or a discarded value (is_discarded()) when the text is not JSON or nests
// arrays and objects deeper than `maxDepth`. Never throws.
template <typename Json = nlohmann::json>
Json parseBoundedJson(std::string_view text, std::size_t maxDepth = kMaxJsonDepth);

// The deepest nesting of arrays and objects in the text, strings skipped; stops counting once
// past `limit`.
std::size_t jsonNestingDepth(std::string_view text, std::size_t limit);

template <typename Json>
Json parseBoundedJson(std::string_view text, std::size_t maxDepth) {
  if (jsonNestingDepth(text, maxDepth) > maxDepth) return Json(Json::value_t::discarded);
  return Json::parse(text, nullptr, /*allow_exceptions=*/false);
}

}  // namespace kolvane
