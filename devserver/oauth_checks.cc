#include "oauth_checks.h"

#include <httplib.h>

#include <algorithm>
#include <cctype>

#include "tokens.h"

namespace devserver {
namespace {

// RFC 7636 4.1: the characters a verifier (and so an S256 challenge) is made of.
bool unreservedCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '.' || c == '_' ||
         c == '~';
}

bool wellFormedPkceValue(std::string_view value) {
  return value.size() >= 43 && value.size() <= 128 &&
         std::all_of(value.begin(), value.end(), unreservedCharacter);
}

// A loopback redirect's port: one to five digits for 1 to 65535, then the end or a path.
bool acceptedLoopbackPort(std::string_view rest) {
  std::size_t digits = 0;
  long port = 0;
  while (digits < rest.size() && digits < 6 &&
         std::isdigit(static_cast<unsigned char>(rest[digits]))) {
    port = port * 10 + (rest[digits++] - '0');
  }
  return digits >= 1 && digits <= 5 && port >= 1 && port <= 65535 &&
         (digits == rest.size() || rest[digits] == '/');
}

OAuthError invalidGrant(std::string description) {
  return {"invalid_grant", std::move(description)};
}

std::optional<OAuthError> verifierProblem(const std::string& challenge,
                                          const std::optional<std::string>& verifier) {
  if (challenge.empty()) {
    if (!verifier) return std::nullopt;
    return invalidGrant("The code was asked for without a code_challenge; send no code_verifier");
  }
  if (!verifier) return invalidGrant("The code was asked for with a code_challenge");
  if (pkceChallenge(*verifier) != challenge) {
    return invalidGrant("The code_verifier does not match the code_challenge");
  }
  return std::nullopt;
}

}  // namespace

bool acceptedRedirect(std::string_view redirect, const std::set<std::string>& schemes) {
  if (redirect.empty() || redirect.find('#') != std::string_view::npos) return false;
  for (unsigned char c : redirect) {
    if (c < 0x21 || c == 0x7f) return false;
  }
  for (const std::string& scheme : schemes) {
    if (redirect.substr(0, scheme.size() + 1) == scheme + ":") return true;
  }
  constexpr std::string_view kLoopback = "http://127.0.0.1:";
  return redirect.substr(0, kLoopback.size()) == kLoopback &&
         acceptedLoopbackPort(redirect.substr(kLoopback.size()));
}

std::optional<OAuthError> authorisationProblem(const AuthorisationAsk& ask) {
  if (ask.responseType && *ask.responseType != "code") {
    return OAuthError{"unsupported_response_type", "response_type must be code"};
  }
  if (!ask.challenge) {
    if (!ask.challengeMethod) return std::nullopt;
    return OAuthError{"invalid_request", "code_challenge_method needs a code_challenge"};
  }
  if (ask.challengeMethod.value_or("") != "S256") {
    return OAuthError{"invalid_request", "code_challenge_method must be S256"};
  }
  if (!wellFormedPkceValue(*ask.challenge)) {
    return OAuthError{"invalid_request",
                      "code_challenge must be 43 to 128 characters of A-Z a-z 0-9 - . _ ~"};
  }
  return std::nullopt;
}

std::optional<OAuthError> exchangeRequestProblem(const CodeExchange& exchange) {
  if (exchange.verifier && !wellFormedPkceValue(*exchange.verifier)) {
    return OAuthError{"invalid_request",
                      "code_verifier must be 43 to 128 characters of A-Z a-z 0-9 - . _ ~"};
  }
  return std::nullopt;
}

std::optional<OAuthError> exchangeProblem(const CodeBinding& binding,
                                          const CodeExchange& exchange) {
  if (exchange.redirectUri != binding.redirectUri) {
    return invalidGrant("redirect_uri must be the one the code was asked for with");
  }
  // A code asked for without naming a client binds none; one that named a client binds it.
  if (!binding.clientId.empty() && exchange.clientId != binding.clientId) {
    return invalidGrant("The code was issued to another client_id");
  }
  return verifierProblem(binding.challenge, exchange.verifier);
}

std::string withQuery(const std::string& url,
                      const std::vector<std::pair<std::string, std::string>>& parameters) {
  std::string out = url;
  char separator = url.find('?') == std::string::npos ? '?' : '&';
  for (const auto& [name, value] : parameters) {
    out += separator + httplib::detail::encode_query_param(name) + "=" +
           httplib::detail::encode_query_param(value);
    separator = '&';
  }
  return out;
}

}  // namespace devserver
