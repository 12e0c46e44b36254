#include "strings/message_key.h"

namespace kolvane {

std::string kv_messageKey(std::string_view source, std::string_view disambiguation) {
  std::string key(source);
  if (disambiguation.empty()) return key;
  key += kv_disambiguationSeparator;
  key += disambiguation;
  return key;
}

std::pair<std::string_view, std::string_view> kv_messageKeyParts(std::string_view key) {
  const std::size_t separator = key.find(kv_disambiguationSeparator);
  if (separator == std::string_view::npos) return {key, {}};
  return {key.substr(0, separator), key.substr(separator + kv_disambiguationSeparator.size())};
}

}  // namespace kolvane
