#include "password_login.h"

#include "server/network.h"
#include "server/session.h"
#include "strings/url_parameters.h"

namespace kolvane::cli {

void PasswordLoginForm::open(std::function<void(bool cancelled)> completion) {
  if (user_.empty()) {
    failure_ = "not signed in: needs --user NAME";
    return completion(true);
  }
  if (!password_) password_ = source_();
  if (!password_) {
    failure_ = "no password on standard input";
    return completion(true);
  }
  HttpRequest request{"POST", KVLoginViewController::loginPageUrl(), {}, {}, 30};
  request.setHeader("Content-Type", "application/x-www-form-urlencoded");
  request.body =
      KVNetwork::makeParamsStringsWithDict({{"username", user_}, {"password", *password_}})
          .value_or("");
  Platform::current().httpTransport().send(request, [this, completion](HttpResponse response) {
    std::string location;
    for (const auto& [name, value] : response.headers) {
      if (sameHeaderName(name, "Location")) location = value;
    }
    const auto parameters = kv_getParameters(location);
    const auto code = parameters.find("code");
    if (location.rfind(KVLoginViewController::redirectPrefix(), 0) != 0 ||
        code == parameters.end()) {
      failure_ = response.failure
                     ? response.failure->second
                     : "sign-in refused (status " + std::to_string(response.status) + ")";
      return completion(true);
    }
    KVSession::sharedInstance().getTokenWithCode(
        code->second, false, [this, completion](std::optional<KVError> error) {
          if (error) failure_ = "token exchange failed: " + error->localizedDescription;
          completion(error.has_value());
        });
  });
}

}  // namespace kolvane::cli
