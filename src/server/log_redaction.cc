#include "server/log_redaction.h"

#include <algorithm>
#include <array>

#include "base/bounded_json.h"

namespace kolvane {
namespace {

// "a=1&b=2" with the values of secret names replaced.
std::string redactedPairs(std::string_view pairs) {
  std::string out;
  std::size_t start = 0;
  while (start <= pairs.size()) {
    const std::size_t end = std::min(pairs.find('&', start), pairs.size());
    const std::string_view pair = pairs.substr(start, end - start);
    const std::size_t equals = pair.find('=');
    if (!out.empty() || start > 0) out += '&';
    if (equals != std::string_view::npos && isSecretName(pair.substr(0, equals))) {
      out += std::string(pair.substr(0, equals + 1)) + std::string(kRedacted);
    } else {
      out += pair;
    }
    start = end + 1;
  }
  return out;
}

}  // namespace

std::string redactedUrl(std::string_view url) {
  const std::size_t query = url.find('?');
  if (query == std::string_view::npos) return std::string(url);
  return std::string(url.substr(0, query + 1)) + redactedPairs(url.substr(query + 1));
}

std::string redactedHeadersText(const HttpRequest& request) {
  nlohmann::ordered_json headers = nlohmann::ordered_json::object();
  for (const auto& [name, value] : request.headers) {
    headers[name] = isSecretName(name) ? std::string(kRedacted) : value;
  }
  return headers.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string redactedBody(std::string_view body) {
  if (body.empty()) return {};
  if (body.front() == '{' || body.front() == '[') {
    const nlohmann::json value = parseBoundedJson(body);
    if (!value.is_discarded()) {
      return redactedJson(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
  }
  // A form body is one line of pairs; multipart bodies carry files, not secrets.
  if (body.find('=') != std::string_view::npos && body.find('\n') == std::string_view::npos) {
    return redactedPairs(body);
  }
  return std::string(body);
}

nlohmann::json redactedJson(const nlohmann::json& value) {
  if (value.is_object()) {
    nlohmann::json out = nlohmann::json::object();
    for (const auto& [name, member] : value.items()) {
      out[name] = isSecretName(name) ? nlohmann::json(kRedacted) : redactedJson(member);
    }
    return out;
  }
  if (value.is_array()) {
    nlohmann::json out = nlohmann::json::array();
    for (const auto& member : value) out.push_back(redactedJson(member));
    return out;
  }
  return value;
}

}  // namespace kolvane
