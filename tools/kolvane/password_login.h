// A login form without a screen: it posts a user name and password to the sign-on page and
// takes the authorisation code from the redirect to the app's scheme, as the in-app form does
// from its web view.
#pragma once

#include <string>

#include "server/login_form.h"

namespace kolvane::cli {

class PasswordLoginForm : public KVLoginForm {
 public:
  PasswordLoginForm(std::string user, std::string password)
      : user_(std::move(user)), password_(std::move(password)) {}
  void open(std::function<void(bool cancelled)> completion) override;
  // Why the last login failed, for the user.
  const std::string& failure() const { return failure_; }

 private:
  std::string user_;
  std::string password_;
  std::string failure_;
};

}  // namespace kolvane::cli
