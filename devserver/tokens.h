// Tokens shaped as JSON Web Tokens: base64url header and claims, and an opaque signature the
// server keeps track of (the store decides validity, not the signature).
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace devserver {

std::string base64Url(std::string_view bytes);
std::string makeJwt(const nlohmann::json& claims);
// The PKCE S256 challenge of a code verifier (RFC 7636): base64url of its SHA-256.
std::string pkceChallenge(std::string_view verifier);

}  // namespace devserver
