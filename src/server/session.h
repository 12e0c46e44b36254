// KVSession: the reviewer's login. It holds the token record and identity, keeps them in the
// keychain across launches, puts the bearer token on authenticated requests (refreshing it, or
// asking for a login, when it has lapsed) and caches the project data the API client fetches.
// Main thread only, except `isLoggedIn`, which any thread may ask.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "kolvane/platform.h"

namespace kolvane {

class KVWorkflowStep;
using KVWorkflowSteps = std::vector<std::shared_ptr<const KVWorkflowStep>>;

// How a code asked for with a loopback redirect (RFC 8252) and PKCE (RFC 7636) is exchanged.
struct KVLoopbackGrant {
  std::string redirectUri;
  std::string codeVerifier;
};

class KVSession {
 public:
  static KVSession& sharedInstance();

  // True at once when a user id and a token are held; else reads them from the keychain.
  bool loadSavedCredentials();
  // True when a token is held afterwards; a token found starts a ping so that a lapsed one is
  // refreshed (or a login asked for) before the reviewer needs the server.
  bool loadCredentialsFromKeychain();
  // Writes the user id and the token, only when both are held.
  void saveCredentialsToKeychain();
  // Exchanges an authorisation code (or, with `refresh`, a refresh token) for a token record,
  // then keeps and saves it. The completion gets the error, none on success.
  void getTokenWithCode(const std::string& code, bool refresh,
                        std::function<void(std::optional<KVError>)> completion,
                        const std::optional<KVLoopbackGrant>& loopback = std::nullopt);
  // Stamps "Authorization: Bearer ..." on the request, then calls `completion`. A lapsed token
  // is refreshed first; when the refresh token has lapsed too (or the refresh fails) the login
  // form is opened once the app has launched. With no token, or a login cancelled or not
  // possible, the request is dropped: `completion` is never called.
  void authorizeRequest(std::shared_ptr<HttpRequest> request, std::function<void()> completion);
  // An error in words when a token record (an answer of the token endpoint, or the one the
  // keychain kept) holds a token, id or claim longer than Kolvane takes; none when it fits.
  static std::optional<KVError> tokenBoundsError(const nlohmann::json& token);
  // The claims of a JSON Web Token's payload; none when it does not decode.
  static std::optional<nlohmann::json> userInfoFromToken(std::string_view token);
  // Tells the sign-on server, forgets credentials, the chosen step and locale, and resets the
  // runtime.
  void logOut();

  std::optional<std::string> accessToken() const;
  // A token is held, whatever its expiry. Any thread.
  bool isLoggedIn() const { return loggedIn_.load(); }

  const std::optional<std::string>& userId() const { return userId_; }
  void setUserId(std::optional<std::string> userId) { userId_ = std::move(userId); }
  // The token endpoint's answer plus "expires" and "refresh_expires"; null when none.
  const nlohmann::json& token() const { return token_; }
  void setToken(nlohmann::json token);
  const nlohmann::json& userInfo() const { return userInfo_; }  // null when unknown
  // The "name" claim of the user info when it is a text, else empty.
  std::string userName() const;
  // What of a token record is kept: the session's own fields with plain values.
  static nlohmann::json keptTokenFields(nlohmann::json token);
  const nlohmann::json& projectInfo() const { return projectInfo_; }
  void setProjectInfo(nlohmann::json info) { projectInfo_ = std::move(info); }
  const std::optional<KVWorkflowSteps>& workflows() const { return workflows_; }
  void setWorkflows(std::optional<KVWorkflowSteps> steps) { workflows_ = std::move(steps); }

  void resetForTesting();

 private:
  KVSession() = default;
  // "expires" (read as whole seconds) is later than now.
  bool hasFreshToken() const;
  void openLoginThenRetry(std::shared_ptr<HttpRequest> request, std::function<void()> completion);

  std::optional<std::string> userId_;
  nlohmann::json token_;
  nlohmann::json userInfo_;
  nlohmann::json projectInfo_;
  std::optional<KVWorkflowSteps> workflows_;
  std::atomic<bool> loggedIn_{false};
};

}  // namespace kolvane
