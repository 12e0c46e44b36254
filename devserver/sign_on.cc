// The sign-on endpoints: the authorisation page, the token exchange and logout.
#include <cctype>
#include <set>
#include <string_view>

#include "server.h"
#include "tokens.h"

namespace devserver {
namespace {

constexpr const char* kRealm = "/auth/realms/Kolvane/protocol/openid-connect";

std::string htmlEscaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else if (c == '"')
      out += "&quot;";
    else
      out += c;
  }
  return out;
}

std::string loginPage(const httplib::Request& request, const std::string& message) {
  std::string query;
  for (const auto& [name, value] : request.params) {
    if (name == "username" || name == "password") continue;
    query += (query.empty() ? "?" : "&") + httplib::detail::encode_query_param(name) + "=" +
             httplib::detail::encode_query_param(value);
  }
  return "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Kolvane sign-in</title>"
         "</head><body><h1>Sign in to Kolvane</h1>" +
         (message.empty() ? "" : "<p class=\"error\">" + htmlEscaped(message) + "</p>") +
         "<form method=\"post\" action=\"" + htmlEscaped(std::string(kRealm) + "/auth" + query) +
         "\"><label>User <input name=\"username\"></label>"
         "<label>Password <input name=\"password\" type=\"password\"></label>"
         "<button type=\"submit\">Sign in</button></form></body></html>\n";
}

// The codes go only to the app itself: its registered scheme, or a loopback address on any
// port (RFC 8252), and never with characters that could split the Location header.
bool acceptedRedirect(const std::string& redirect, const std::set<std::string>& schemes) {
  if (redirect.empty()) return false;
  for (unsigned char c : redirect) {
    if (c < 0x21 || c == 0x7f) return false;
  }
  for (const std::string& scheme : schemes) {
    if (redirect.rfind(scheme + ":", 0) == 0) return true;
  }
  constexpr std::string_view kLoopback = "http://127.0.0.1:";
  if (redirect.rfind(kLoopback, 0) != 0) return false;
  std::size_t at = kLoopback.size();
  const std::size_t digits = at;
  while (at < redirect.size() && std::isdigit(static_cast<unsigned char>(redirect[at]))) ++at;
  return at > digits && at - digits <= 5 && (at == redirect.size() || redirect[at] == '/');
}

}  // namespace

nlohmann::json Server::tokenAnswer(const std::string& username) {
  const nlohmann::json user = store_.user(username).value_or(nlohmann::json::object());
  const double issued = now();
  const nlohmann::json claims = {{"sub", user.value("uid", username)},
                                 {"name", user.value("name", username)},
                                 {"email", user.value("email", "")},
                                 {"preferred_username", username},
                                 {"iat", static_cast<long long>(issued)},
                                 {"exp", static_cast<long long>(issued) + options_.tokenLifetime},
                                 {"jti", randomHex(8)}};
  const std::string access = makeJwt(claims);
  const std::string refresh = randomHex(24);
  store_.putGrant("access", access,
                  {username, issued + static_cast<double>(options_.tokenLifetime)});
  store_.putGrant("refresh", refresh,
                  {username, issued + static_cast<double>(options_.refreshLifetime)});
  return {{"access_token", access},
          {"refresh_token", refresh},
          {"token_type", "Bearer"},
          {"expires_in", options_.tokenLifetime},
          {"refresh_expires_in", options_.refreshLifetime},
          {"uid", user.value("uid", username)}};
}

void Server::installSignOn(httplib::Server& http) {
  const std::string realm = kRealm;
  http.Get(realm + "/auth", [](const httplib::Request& request, httplib::Response& response) {
    response.set_content(loginPage(request, ""), "text/html; charset=utf-8");
  });
  http.Post(realm + "/auth", [this](const httplib::Request& request, httplib::Response& response) {
    const auto user = store_.user(request.get_param_value("username"));
    if (!user || user->value("password", "") != request.get_param_value("password")) {
      response.status = 401;
      response.set_content(loginPage(request, "Unknown user or wrong password"),
                           "text/html; charset=utf-8");
      return;
    }
    const std::string redirect = request.get_param_value("redirect_uri");
    if (!acceptedRedirect(redirect, options_.redirectSchemes)) {
      return sendError(response, 400, "INVALID_REQUEST",
                       "redirect_uri must be the app's scheme or http://127.0.0.1:<port>/");
    }
    // A PKCE challenge (RFC 7636, S256 only) binds the code to the app that asked for it.
    const std::string challenge = request.get_param_value("code_challenge");
    if (!challenge.empty() && request.get_param_value("code_challenge_method") != "S256") {
      return sendError(response, 400, "INVALID_REQUEST", "code_challenge_method must be S256");
    }
    const std::string code = randomHex(16);
    store_.putGrant("code", code, {request.get_param_value("username"), now() + 60});
    if (!challenge.empty()) store_.putGrant("challenge", code, {challenge, now() + 60});
    response.set_redirect(redirect + (redirect.find('?') == std::string::npos ? "?" : "&") +
                          "code=" + code);
  });
  http.Post(realm + "/token", [this](const httplib::Request& request, httplib::Response& response) {
    const std::string grantType = request.get_param_value("grant_type");
    const bool refresh = grantType == "refresh_token";
    if (!refresh && grantType != "authorization_code") {
      return sendError(response, 400, "UNSUPPORTED_GRANT_TYPE", "Unknown grant_type");
    }
    const char* kind = refresh ? "refresh" : "code";
    const std::string value = request.get_param_value(refresh ? "refresh_token" : "code");
    // Codes and refresh tokens are used once: taking one removes it.
    const auto grant = store_.takeGrant(kind, value);
    if (!grant || grant->expires < now()) {
      return sendError(response, 400, "INVALID_GRANT", "The code or refresh token is not valid");
    }
    // The challenge grant keeps the challenge where a code keeps its user.
    const auto challenge = refresh ? std::nullopt : store_.takeGrant("challenge", value);
    if (challenge &&
        pkceChallenge(request.get_param_value("code_verifier")) != challenge->username) {
      return sendError(response, 400, "INVALID_GRANT", "The code_verifier does not match");
    }
    sendJson(response, 200, tokenAnswer(grant->username));
  });
  http.Get(realm + "/logout", [this](const httplib::Request& request, httplib::Response& response) {
    store_.removeGrant("refresh", request.get_param_value("refresh_token"));
    sendJson(response, 200, envelope(nullptr));
  });
}

}  // namespace devserver
