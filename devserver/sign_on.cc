// The sign-on endpoints: the authorisation page, the token exchange and logout.
#include <string_view>

#include "base/bounded_json.h"
#include "oauth_checks.h"
#include "server.h"
#include "tokens.h"

namespace devserver {
namespace {

constexpr const char* kRealm = "/auth/realms/Kolvane/protocol/openid-connect";
constexpr double kCodeLifetime = 60;

// The form posts back to the page with every parameter of the request (state, challenge,
// redirect), so that the code it leads to is bound to the same authorisation request.
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

std::optional<std::string> parameter(const httplib::Request& request, const char* name) {
  if (!request.has_param(name)) return std::nullopt;
  return request.get_param_value(name);
}

// RFC 6749 5.2: the client reads the error itself, as JSON.
void sendOAuthError(httplib::Response& response, const OAuthError& error) {
  sendJson(response, 400, {{"error", error.error}, {"error_description", error.description}});
}

// Back to the app with `parameters` and, whatever else happened, the request's state as it came
// (RFC 6749 4.1.2): the app matches it against the sign-in it started.
void redirectToApp(const httplib::Request& request, httplib::Response& response,
                   std::vector<std::pair<std::string, std::string>> parameters) {
  if (const auto state = parameter(request, "state")) parameters.emplace_back("state", *state);
  response.set_redirect(withQuery(request.get_param_value("redirect_uri"), parameters));
}

// True when the authorisation request may go on. Otherwise the answer is made: an error page
// when the redirect itself is wrong (no code or error may go there), an error redirect when
// something else is.
bool acceptedAuthorisation(const httplib::Request& request, httplib::Response& response,
                           const std::set<std::string>& schemes) {
  if (!acceptedRedirect(request.get_param_value("redirect_uri"), schemes)) {
    sendOAuthError(response, {"invalid_request",
                              "redirect_uri must be the app's scheme or "
                              "http://127.0.0.1:<port>/ with a port from 1 to 65535"});
    return false;
  }
  const auto problem = authorisationProblem({parameter(request, "response_type"),
                                             parameter(request, "code_challenge"),
                                             parameter(request, "code_challenge_method")});
  if (!problem) return true;
  redirectToApp(request, response,
                {{"error", problem->error}, {"error_description", problem->description}});
  return false;
}

// A code's binding is kept as a grant of its own, beside the code's user.
std::string encodedBinding(const CodeBinding& binding) {
  return nlohmann::json{{"challenge", binding.challenge},
                        {"redirectUri", binding.redirectUri},
                        {"clientId", binding.clientId}}
      .dump();
}

std::optional<CodeBinding> decodedBinding(const std::string& text) {
  const nlohmann::json json = kolvane::parseBoundedJson(text);
  if (!json.is_object()) return std::nullopt;
  return CodeBinding{json.value("challenge", ""), json.value("redirectUri", ""),
                     json.value("clientId", "")};
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

void Server::issueCode(const httplib::Request& request, httplib::Response& response) {
  if (!acceptedAuthorisation(request, response, options_.redirectSchemes)) return;
  const std::string username = request.get_param_value("username");
  const auto user = store_.user(username);
  if (!user || user->value("password", "") != request.get_param_value("password")) {
    response.status = 401;
    response.set_content(loginPage(request, "Unknown user or wrong password"),
                         "text/html; charset=utf-8");
    return;
  }
  const std::string code = randomHex(16);
  const double expires = now() + kCodeLifetime;
  store_.putGrant("code", code, {username, expires});
  const CodeBinding binding{request.get_param_value("code_challenge"),
                            request.get_param_value("redirect_uri"),
                            request.get_param_value("client_id")};
  store_.putGrant("code-binding", code, {encodedBinding(binding), expires});
  redirectToApp(request, response, {{"code", code}});
}

void Server::redeemCode(const httplib::Request& request, httplib::Response& response) {
  const CodeExchange exchange{parameter(request, "code_verifier"),
                              parameter(request, "redirect_uri"), parameter(request, "client_id")};
  if (const auto problem = exchangeRequestProblem(exchange)) {
    return sendOAuthError(response, *problem);
  }
  const std::string code = request.get_param_value("code");
  // A code is used once: taking it removes it, whether or not the rest of the exchange fits.
  const auto grant = store_.takeGrant("code", code);
  // Only the request that took the code takes its binding: another one asking at the same
  // moment must not take it away from under it.
  const auto bound = grant ? store_.takeGrant("code-binding", code) : std::nullopt;
  const auto binding = bound ? decodedBinding(bound->username) : std::nullopt;
  if (!grant || grant->expires < now() || !binding) {
    return sendOAuthError(response, {"invalid_grant", "The code is not valid"});
  }
  if (const auto problem = exchangeProblem(*binding, exchange)) {
    return sendOAuthError(response, *problem);
  }
  sendJson(response, 200, tokenAnswer(grant->username));
}

void Server::installSignOn(httplib::Server& http) {
  const std::string realm = kRealm;
  http.Get(realm + "/auth", [this](const httplib::Request& request, httplib::Response& response) {
    if (!acceptedAuthorisation(request, response, options_.redirectSchemes)) return;
    response.set_content(loginPage(request, ""), "text/html; charset=utf-8");
  });
  http.Post(realm + "/auth", [this](const httplib::Request& request, httplib::Response& response) {
    issueCode(request, response);
  });
  http.Post(realm + "/token", [this](const httplib::Request& request, httplib::Response& response) {
    const std::string grantType = request.get_param_value("grant_type");
    if (grantType == "authorization_code") return redeemCode(request, response);
    if (grantType != "refresh_token") {
      return sendOAuthError(response, {"unsupported_grant_type",
                                       "grant_type must be authorization_code or refresh_token"});
    }
    // Refresh tokens are used once too: each exchange gives a new one.
    const auto grant = store_.takeGrant("refresh", request.get_param_value("refresh_token"));
    if (!grant || grant->expires < now()) {
      return sendOAuthError(response, {"invalid_grant", "The refresh token is not valid"});
    }
    sendJson(response, 200, tokenAnswer(grant->username));
  });
  http.Get(realm + "/logout", [this](const httplib::Request& request, httplib::Response& response) {
    store_.removeGrant("refresh", request.get_param_value("refresh_token"));
    sendJson(response, 200, envelope(nullptr));
  });
}

}  // namespace devserver
