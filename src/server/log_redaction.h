// Secrets never reach a log line, debug included: access and refresh tokens, Authorization
// values, passwords and authorisation codes are written as "[redacted]" wherever an exchange or
// a record is logged.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "base/log.h"
#include "kolvane/platform.h"

namespace kolvane {

inline constexpr std::string_view kRedacted = "[redacted]";

// The URL with the values of secret query parameters redacted.
std::string redactedUrl(std::string_view url);
// The request's headers as indented JSON, secret ones redacted.
std::string redactedHeadersText(const HttpRequest& request);
// A request body: JSON or form fields with secret names redacted; other bodies as they are.
std::string redactedBody(std::string_view body);
// The value with every member of a secret name redacted, at any depth.
nlohmann::json redactedJson(const nlohmann::json& value);

}  // namespace kolvane
