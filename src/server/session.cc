#include "server/session.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "base/bounded_json.h"
#include "base/log.h"
#include "base/saturating.h"
#include "base/server_text.h"
#include "base/utf.h"
#include "core/main_controller.h"
#include "core/persistence.h"
#include "server/api.h"
#include "server/keychain.h"
#include "server/log_redaction.h"
#include "server/login_form.h"
#include "strings/base64.h"

namespace kolvane {
namespace {

constexpr std::string_view kUserIdKey = "userId";
constexpr std::string_view kTokenKey = "token";

// The number under `key`, or 0 when it is missing or not a number (as a nil number reads).
double numberField(const nlohmann::json& record, const char* key) {
  const auto found = record.find(key);
  return found != record.end() && found->is_number() ? found->get<double>() : 0;
}

std::optional<std::string> textField(const nlohmann::json& record, const char* key) {
  if (!record.is_object()) return std::nullopt;
  const auto found = record.find(key);
  if (found == record.end() || !found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

// The number read as an integer, as the expiry check does; out-of-range values saturate.
double wholeSeconds(double value) { return static_cast<double>(saturatingCast<long long>(value)); }

bool isBase64Text(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '/' || c == '=';
  });
}

constexpr std::string_view kSignInAnswer = "The sign-in answer";

// The claims shown to the reviewer or kept as ids are bounded like the token's own fields.
std::optional<KVError> oversizedClaimError(const nlohmann::json& claims) {
  return kv_oversizedFieldError(claims,
                                {{"name", kKVMaxServerNameBytes},
                                 {"email", kKVMaxServerNameBytes},
                                 {"preferred_username", kKVMaxServerNameBytes},
                                 {"sub", kKVMaxServerIdBytes}},
                                kSignInAnswer);
}

}  // namespace

std::optional<KVError> KVSession::tokenBoundsError(const nlohmann::json& token) {
  if (auto error = kv_oversizedFieldError(token,
                                          {{"access_token", kKVMaxServerTokenBytes},
                                           {"refresh_token", kKVMaxServerTokenBytes},
                                           {"token_type", kKVMaxServerIdBytes},
                                           {"uid", kKVMaxServerIdBytes}},
                                          kSignInAnswer)) {
    return error;
  }
  const auto access = textField(token, "access_token");
  const auto claims = userInfoFromToken(access.value_or(""));
  return claims ? oversizedClaimError(*claims) : std::nullopt;
}

KVSession& KVSession::sharedInstance() {
  static KVSession session;  // made once, thread-safely
  return session;
}

void KVSession::setToken(nlohmann::json token) {
  token_ = keptTokenFields(std::move(token));
  loggedIn_ = !token_.is_null();
}

nlohmann::json KVSession::keptTokenFields(nlohmann::json token) {
  if (!token.is_object()) return token;
  // The record is saved whole in the keychain and read back at every launch: only the
  // fields the session uses, and only when they are plain texts or numbers.
  static constexpr std::string_view kKept[] = {"access_token",       "refresh_token",  "token_type",
                                               "expires_in",         "expires",        "uid",
                                               "refresh_expires_in", "refresh_expires"};
  nlohmann::json kept = nlohmann::json::object();
  for (std::string_view name : kKept) {
    const auto found = token.find(name);
    if (found != token.end() && (found->is_string() || found->is_number())) {
      kept[std::string(name)] = std::move(*found);
    }
  }
  return kept;
}

std::string KVSession::userName() const {
  if (!userInfo_.is_object()) return {};
  const auto found = userInfo_.find("name");
  return found != userInfo_.end() && found->is_string() ? found->get<std::string>() : "";
}

bool KVSession::hasFreshToken() const {
  return wholeSeconds(numberField(token_, "expires")) > Platform::current().now();
}

std::optional<std::string> KVSession::accessToken() const {
  return textField(token_, "access_token");
}

bool KVSession::loadSavedCredentials() {
  if (userId_ && isLoggedIn()) return true;
  return loadCredentialsFromKeychain();
}

bool KVSession::loadCredentialsFromKeychain() {
  if (const auto saved = KVKeychain::loadValueForKey(kTokenKey);
      saved && saved->is_string() && !saved->get<std::string>().empty()) {
    auto token = parseBoundedJson(saved->get<std::string>());
    // A damaged or oversized record counts as no login: every later read expects an object,
    // and the token goes out on every request.
    if (token.is_object() && !tokenBoundsError(token)) setToken(std::move(token));
  }
  if (isLoggedIn()) {
    KVApi::pingWithCompletion([](const std::optional<KVError>&) {});
    userInfo_ = userInfoFromToken(accessToken().value_or("")).value_or(nullptr);
  }
  if (const auto saved = KVKeychain::loadValueForKey(kUserIdKey);
      saved && saved->is_string() && !saved->get<std::string>().empty() &&
      saved->get_ref<const std::string&>().size() <= kKVMaxServerIdBytes) {
    userId_ = saved->get<std::string>();
  }
  if (isLoggedIn() && debugEnabled()) {
    kvLog("Loaded credentials from keychain \n" + userId_.value_or("(null)") + "\n" +
          redactedJson(token_).dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
  }
  return isLoggedIn();
}

void KVSession::saveCredentialsToKeychain() {
  if (!isLoggedIn() || !userId_) return;
  KVKeychain::saveValue(*userId_, kUserIdKey);
  KVKeychain::saveValue(token_.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                        kTokenKey);
  kvDebug("Saving credentials to keychain");
}

void KVSession::getTokenWithCode(const std::string& code, bool refresh,
                                 std::function<void(std::optional<KVError>)> completion,
                                 const std::optional<KVLoopbackGrant>& loopback) {
  KVApi::tokenWithCode(
      code, refresh,
      [this, completion = std::move(completion)](std::optional<KVError> error,
                                                 nlohmann::json answer) {
        if (!error) error = tokenBoundsError(answer);
        if (!error) {
          userInfo_ =
              userInfoFromToken(textField(answer, "access_token").value_or("")).value_or(nullptr);
          userId_ = textField(answer, "uid").value_or("noid");
          setToken(std::move(answer));
          saveCredentialsToKeychain();
        }
        if (completion) completion(std::move(error));
      },
      loopback);
}

void KVSession::authorizeRequest(std::shared_ptr<HttpRequest> request,
                                 std::function<void()> completion) {
  const auto access = accessToken();
  if (!access) return;  // nobody logged in: the request is dropped
  if (hasFreshToken()) {
    request->setHeader("Authorization", "Bearer " + *access);
    if (completion) completion();
    return;
  }
  if (Platform::current().now() > numberField(token_, "refresh_expires")) {
    return openLoginThenRetry(std::move(request), std::move(completion));
  }
  // A new token that is already lapsed (a server answering a lifetime of 0) counts as a failed
  // refresh, so that a request never loops on refreshes.
  getTokenWithCode(textField(token_, "refresh_token").value_or(""), true,
                   [this, request, completion](std::optional<KVError> error) {
                     if (!error && hasFreshToken()) return authorizeRequest(request, completion);
                     openLoginThenRetry(request, completion);
                   });
}

void KVSession::openLoginThenRetry(std::shared_ptr<HttpRequest> request,
                                   std::function<void()> completion) {
  if (!KVMainController::sharedInstance().appLaunched()) return;
  KVLoginViewController::openLoginFormWithCompletion(
      [this, request = std::move(request), completion = std::move(completion)](bool cancelled) {
        // Only a login that brought a fresh token is retried: another lapsed one would open
        // the form again and again.
        if (!cancelled && hasFreshToken()) authorizeRequest(request, completion);
      });
}

std::optional<nlohmann::json> KVSession::userInfoFromToken(std::string_view token) {
  const auto firstDot = token.find('.');
  if (firstDot == std::string_view::npos) return std::nullopt;
  std::string payload(token.substr(firstDot + 1, token.find('.', firstDot + 1) - firstDot - 1));
  payload.append((4 - payload.size() % 4) % 4, '=');
  std::replace(payload.begin(), payload.end(), '-', '+');
  std::replace(payload.begin(), payload.end(), '_', '/');
  if (!isBase64Text(payload)) return std::nullopt;
  const auto text = kv_stringWithBase64EncodedString(payload);
  if (!text) return std::nullopt;
  auto claims = parseBoundedJson(*text);
  if (claims.is_discarded()) return std::nullopt;
  return claims;
}

void KVSession::logOut() {
  KVApi::logOutWithRefreshToken(textField(token_, "refresh_token"));
  KVKeychain::deleteValueForKey(kUserIdKey);
  KVKeychain::deleteValueForKey(kTokenKey);
  UserDefaults& defaults = Platform::current().userDefaults();
  defaults.removeObjectForKey("KVWorkflowStep");
  // The chosen locale is saved as "KVLocale"; logout clears "COLocale", so the locale stays.
  defaults.removeObjectForKey("COLocale");
  synchronizeDefaults();
  userId_.reset();
  setToken(nullptr);
  userInfo_ = nullptr;
  projectInfo_ = nullptr;
  workflows_.reset();
  KVMainController::sharedInstance().reset();
}

void KVSession::resetForTesting() {
  userId_.reset();
  setToken(nullptr);
  userInfo_ = nullptr;
  projectInfo_ = nullptr;
  workflows_.reset();
}

}  // namespace kolvane
