#include "base/log.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace kolvane {
namespace {

constinit std::atomic<LogLineWriter> gWriter{nullptr};

constexpr std::array<std::string_view, 10> kSecretNames = {
    "access_token", "refresh_token", "id_token",      "token",         "password",
    "code",         "code_verifier", "client_secret", "authorization", "session_state"};

bool sameLetters(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

bool isNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-';
}

// Where a value of a query or form ends.
bool endsValue(char c) {
  return c == '&' || c == '#' || c == '"' || c == '\'' || c == '<' || c == '>' ||
         std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

bool isSecretName(std::string_view name) {
  return std::any_of(kSecretNames.begin(), kSecretNames.end(),
                     [name](std::string_view secret) { return sameLetters(name, secret); });
}

std::string withSecretParametersRedacted(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  std::size_t at = 0;
  while (at < text.size()) {
    // A parameter name starts the text or follows one of these.
    const bool starts = at == 0 || text[at - 1] == '?' || text[at - 1] == '&' ||
                        std::isspace(static_cast<unsigned char>(text[at - 1])) != 0;
    std::size_t end = at;
    while (starts && end < text.size() && isNameCharacter(text[end])) ++end;
    if (end > at && end < text.size() && text[end] == '=' &&
        isSecretName(text.substr(at, end - at))) {
      out.append(text.substr(at, end + 1 - at));
      out += "[redacted]";
      at = end + 1;
      while (at < text.size() && !endsValue(text[at])) ++at;
      continue;
    }
    out += text[at++];
  }
  return out;
}

LogSwitches& logSwitches() {
  static LogSwitches switches;
  return switches;
}

void setLogLineWriter(LogLineWriter writer) { gWriter.store(writer, std::memory_order_release); }

void kvLog(std::string_view message) {
  const LogLineWriter writer = gWriter.load(std::memory_order_acquire);
  if (writer == nullptr) return;
  std::string line = "[KV] ";
  line += withSecretParametersRedacted(message);
  writer(line);
}

}  // namespace kolvane
