// The entry point of the login form. The form itself (a web view showing the sign-on page) is
// the in-app tool's; until one is installed a login cannot happen, and whoever asked for it is
// told the login was cancelled.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace kolvane {

class KVLoginForm {
 public:
  virtual ~KVLoginForm() = default;
  // Shows the form; `completion` gets true when the reviewer cancelled, false once the code was
  // exchanged for a token. Main thread.
  virtual void open(std::function<void(bool cancelled)> completion) = 0;
};

class KVLoginViewController {
 public:
  static void openLoginFormWithCompletion(std::function<void(bool cancelled)> completion);
  // The form that `openLoginFormWithCompletion` shows; none to have logins refused.
  static void setLoginForm(std::shared_ptr<KVLoginForm> form);
  // The sign-on page: the authorisation request with the redirect URI (`redirectPrefix`
  // followed by "login/") as it is, unescaped.
  static std::string loginPageUrl(const std::string& redirectPrefix);
  static std::string loginPageUrl() { return loginPageUrl(redirectPrefix()); }
  // "<redirect scheme>://", the start of the URLs the sign-on page redirects to.
  static std::string redirectPrefix();
};

}  // namespace kolvane
