// Tokens shaped as JSON Web Tokens: base64url header and claims, and an opaque signature the
// server keeps track of (the store decides validity, not the signature).
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace devserver {

std::string base64Url(std::string_view bytes);
std::string makeJwt(const nlohmann::json& claims);

}  // namespace devserver
