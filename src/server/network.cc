#include "server/network.h"

#include <random>

#include "base/bounded_json.h"
#include "base/server_text.h"
#include "kolvane/platform.h"
#include "server/server_url.h"

namespace kolvane {
namespace {

constexpr std::string_view kJsonType = "application/json;charset=UTF-8";

bool isUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

std::string percentEscaped(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : text) {
    if (isUnreserved(c)) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    }
  }
  return out;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string percentUnescaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
        hexDigit(text[i + 2]) >= 0) {
      out += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string valueText(const nlohmann::ordered_json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::optional<KVHttpRequest> requestTo(int server, std::string_view path, std::string method) {
  const auto base = KVServerUrl::baseUrlForServer(server);
  if (!base) return std::nullopt;
  KVHttpRequest request;
  request.method = std::move(method);
  request.url = *base + std::string(path);
  return request;
}

std::string upperCaseUuid() {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::random_device device;
  std::mt19937_64 random((static_cast<std::uint64_t>(device()) << 32) ^ device());
  std::string uuid;
  for (int i = 0; i < 32; ++i) {
    unsigned digit = static_cast<unsigned>(random() & 0xF);
    if (i == 12) digit = 4;                  // version 4
    if (i == 16) digit = 8 | (digit & 0x3);  // RFC 4122 variant
    if (i == 8 || i == 12 || i == 16 || i == 20) uuid += '-';
    uuid += kHex[digit];
  }
  return uuid;
}

}  // namespace

std::optional<std::string> KVNetwork::makeParamsStringsWithDict(
    const KVParametersJson& parameters) {
  if (!parameters.is_object() || parameters.empty()) return std::nullopt;
  std::string text;
  for (const auto& [key, value] : parameters.items()) {
    if (!text.empty()) text += '&';
    text += key + "=" + percentEscaped(valueText(value));
  }
  return text;
}

std::optional<KVHttpRequest> KVNetwork::getRequestForServer(int server, std::string_view path,
                                                            const KVParametersJson& parameters) {
  auto request = requestTo(server, path, "GET");
  if (!request) return std::nullopt;
  // The query is unescaped again on purpose: values reach the URL as they are, so callers
  // only pass plain identifiers as query values.
  if (const auto query = makeParamsStringsWithDict(parameters)) {
    request->url += "?" + percentUnescaped(*query);
  }
  return request;
}

std::optional<KVHttpRequest> KVNetwork::postAuthRequestForPath(std::string_view path,
                                                               const KVParametersJson& parameters) {
  auto request = requestTo(KVServerSso, path, "POST");
  if (!request) return std::nullopt;
  request->setHeader("Content-Type", "application/x-www-form-urlencoded");
  request->setHeader("Accept", "text/plain");
  if (const auto form = makeParamsStringsWithDict(parameters)) request->body = *form;
  return request;
}

std::optional<KVHttpRequest> KVNetwork::postApiRequestForPath(std::string_view path,
                                                              const KVParametersJson& parameters) {
  auto request = requestTo(KVServerApi, path, "POST");
  if (!request) return std::nullopt;
  request->setHeader("Content-Type", std::string(kJsonType));
  request->setHeader("Accept", std::string(kJsonType));
  if (!parameters.is_null()) {
    request->body = parameters.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  }
  return request;
}

std::optional<KVHttpRequest> KVNetwork::uploadRequestForPath(std::string_view path,
                                                             const std::vector<std::string>& files,
                                                             const FormFields& fields) {
  auto request = requestTo(KVServerApi, path, "POST");
  if (!request) return std::nullopt;
  const std::string boundary = generateBoundaryString();
  request->setHeader("Content-Type", "multipart/form-data; boundary=" + boundary);
  auto body = createBodyWithBoundary(boundary, fields, files, "file");
  if (!body) return std::nullopt;
  request->body = std::move(*body);
  return request;
}

std::string KVNetwork::generateBoundaryString() { return "Boundary-" + upperCaseUuid(); }

std::optional<std::string> KVNetwork::createBodyWithBoundary(
    std::string_view boundary, const std::vector<std::pair<std::string, std::string>>& fields,
    const std::vector<std::string>& files, std::string_view fieldName) {
  const std::string dashes = "--" + std::string(boundary);
  std::string body;
  for (const auto& [key, value] : fields) {
    body += dashes + "\r\nContent-Disposition: form-data; name=\"" + key + "\"\r\n\r\n" + value +
            "\r\n";
  }
  for (const std::string& path : files) {
    const auto contents = Platform::current().fileSystem().readFile(path);
    if (!contents) return std::nullopt;
    const std::string name = path.substr(path.rfind('/') + 1);
    body += dashes + "\r\nContent-Disposition: form-data; name=\"" + std::string(fieldName) +
            "\"; filename=\"" + name + "\"\r\nContent-Type: application/octet-stream\r\n\r\n" +
            *contents + "\r\n";
  }
  return body + dashes + "--\r\n";
}

KVError KVNetwork::errorFromJson(const nlohmann::json& value, long code) {
  KVError error{kKVErrorDomainServer, code, "Server error", "HTTP status " + std::to_string(code)};
  if (!value.is_object()) return error;
  const auto response = value.find("response");
  if (response == value.end() || !response->is_object()) return error;
  const auto errors = response->find("errors");
  if (errors != response->end() && errors->is_array() && !errors->empty()) {
    error.localizedDescription = std::to_string(errors->size()) + " errors";
    return error;
  }
  const auto serverCode = response->find("code");
  error.localizedDescription = serverCode == response->end() ? std::string()
                               : serverCode->is_string()     ? serverCode->get<std::string>()
                                                             : serverCode->dump();
  // A code too long to be one is no description either.
  if (error.localizedDescription.size() > kKVMaxServerNameBytes) error.localizedDescription.clear();
  return error;
}

KVNetwork::Answer KVNetwork::handleAnswer(long status, std::string_view body,
                                          std::optional<KVError> connectionError) {
  Answer answer{std::move(connectionError), nullptr};
  if (!body.empty()) {
    nlohmann::json decoded = parseBoundedJson(body);
    if (decoded.is_object() || decoded.is_array()) {
      answer.value = std::move(decoded);
    } else {
      answer.error = KVError{kKVErrorDomainJson, kKVErrorCodeJsonCorrupt,
                             "The answer is not a JSON object or array"};
    }
  }
  if (status != 200 && !answer.error) answer.error = errorFromJson(answer.value, status);
  return answer;
}

}  // namespace kolvane
