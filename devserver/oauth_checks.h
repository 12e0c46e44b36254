// The rules the sign-on endpoints follow (RFC 6749, RFC 7636 for PKCE, RFC 8252 for loopback
// redirects), kept apart from the routes so that each reads as one rule. Pure; any thread.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace devserver {

// An OAuth error: its code (RFC 6749 4.1.2.1 and 5.2) and words for the app's developer.
struct OAuthError {
  std::string error;
  std::string description;
};

// True when codes may go to `redirect`: the app's registered scheme, or a loopback address on a
// port from 1 to 65535 (RFC 8252); never with a fragment (RFC 6749 3.1.2) or with characters
// that could split the Location header.
bool acceptedRedirect(std::string_view redirect, const std::set<std::string>& schemes);

// What the authorisation request carries besides its redirect; nullopt for one not sent.
struct AuthorisationAsk {
  std::optional<std::string> responseType;
  std::optional<std::string> challenge;
  std::optional<std::string> challengeMethod;
};

// Why a code cannot be issued for the ask, or nothing when it can.
std::optional<OAuthError> authorisationProblem(const AuthorisationAsk& ask);

// What a code was issued for; its exchange must name the same.
struct CodeBinding {
  std::string challenge;  // empty when the code was asked for without PKCE
  std::string redirectUri;
  std::string clientId;  // empty when the authorisation request named no client
};

// What the exchange of a code carries besides the code; nullopt for one not sent.
struct CodeExchange {
  std::optional<std::string> verifier;
  std::optional<std::string> redirectUri;
  std::optional<std::string> clientId;
};

// Why the exchange cannot be served before its code is even looked at (a malformed verifier),
// or nothing.
std::optional<OAuthError> exchangeRequestProblem(const CodeExchange& exchange);
// Why the code cannot be exchanged for a token: the exchange names another redirect or client,
// or its verifier does not fit the code's challenge (none sent for a challenge, or one sent for
// a code asked without one, which would let a stolen code pass as a PKCE one). Nothing when it
// fits.
std::optional<OAuthError> exchangeProblem(const CodeBinding& binding, const CodeExchange& exchange);

// `url` with the parameters added to its query, each percent-encoded.
std::string withQuery(const std::string& url,
                      const std::vector<std::pair<std::string, std::string>>& parameters);

}  // namespace devserver
