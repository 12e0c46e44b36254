#include "server/login_form.h"

#include "server/deployment.h"
#include "server/server_url.h"

namespace kolvane {
namespace {

// Set and read on the main thread.
std::shared_ptr<KVLoginForm>& installedForm() {
  static std::shared_ptr<KVLoginForm> form;
  return form;
}

}  // namespace

void KVLoginViewController::openLoginFormWithCompletion(
    std::function<void(bool cancelled)> completion) {
  if (const auto form = installedForm()) return form->open(std::move(completion));
  if (completion) completion(true);
}

void KVLoginViewController::setLoginForm(std::shared_ptr<KVLoginForm> form) {
  installedForm() = std::move(form);
}

std::string KVLoginViewController::redirectPrefix() {
  return KVDeployment::current().redirectScheme + "://";
}

std::string KVLoginViewController::loginPageUrl(const std::string& redirectPrefix) {
  return KVServerUrl::baseUrlForServer(KVServerSso).value_or("") +
         "/auth/realms/Kolvane/protocol/openid-connect/auth?response_type=code&client_id=ios-sdk"
         "&redirect_uri=" +
         redirectPrefix + "login/";
}

}  // namespace kolvane
