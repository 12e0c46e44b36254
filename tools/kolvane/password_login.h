// A login form without a screen: it posts a user name and password to the sign-on page and
// takes the authorisation code from the redirect to the app's scheme, as the in-app form does
// from its web view.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "server/login_form.h"

namespace kolvane::cli {

class PasswordLoginForm : public KVLoginForm {
 public:
  // Gives the password, or nothing when there is none to be had.
  using PasswordSource = std::function<std::optional<std::string>()>;

  // The password is asked of `source` only when a login needs it (a saved session may never
  // need one), once, and kept for the logins that follow.
  PasswordLoginForm(std::string user, PasswordSource source)
      : user_(std::move(user)), source_(std::move(source)) {}
  void open(std::function<void(bool cancelled)> completion) override;
  // Why the last login failed, for the user.
  const std::string& failure() const { return failure_; }

 private:
  std::string user_;
  PasswordSource source_;
  std::optional<std::string> password_;
  std::string failure_;
};

}  // namespace kolvane::cli
