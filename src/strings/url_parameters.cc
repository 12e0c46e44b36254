#include "strings/url_parameters.h"

#include <vector>

namespace kolvane {
namespace {

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = text.find(separator, start);
    pieces.push_back(text.substr(start, end == std::string_view::npos ? end : end - start));
    if (end == std::string_view::npos) return pieces;
    start = end + 1;
  }
}

}  // namespace

KVParameters kv_getParameters(std::string_view url) {
  std::vector<std::string_view> pieces = split(url, '?');
  if (pieces.size() == 1) pieces = split(url, '#');
  if (pieces.size() < 2) return {};
  return kv_getParametersFromString(pieces[1]);
}

KVParameters kv_getParametersFromString(std::string_view text) {
  KVParameters parameters;
  for (std::string_view pair : split(text, '&')) {
    const std::vector<std::string_view> parts = split(pair, '=');
    if (parts.size() < 2) continue;
    parameters[std::string(parts[0])] = std::string(parts[1]);
  }
  return parameters;
}

}  // namespace kolvane
