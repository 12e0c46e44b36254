// The login screen: opens the sign-on page for a code, has the session exchange it for a
// token, and closes the popup. Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kolvane/tool_screens.h"

namespace kolvane {

// The S256 challenge of a PKCE verifier: base64url of its SHA-256, without padding.
std::string kv_s256Challenge(std::string_view verifier);

class KVLoginPage : public KVLoginScreen, public std::enable_shared_from_this<KVLoginPage> {
 public:
  KVLoginPage();
  // Presents a login screen in a popup of its own; `completion` gets true when the reviewer
  // cancelled. Without a tool host a login cannot happen: it counts as cancelled.
  static void openLoginFormWithCompletion(std::function<void(bool cancelled)> completion);
  // Makes the screens' login form the one the session opens when it needs a login.
  static void installAsLoginForm();

  std::u16string title() const override { return u"Login"; }
  std::u16string leftButtonTitle() const override { return u"Cancel"; }
  void leftButtonTapped() override { cancel(); }
  std::u16string message() const override;
  std::string signOnAddress() const override { return loginPageUrl(); }
  void openSignOnPageAgain() override { loadLogin(); }
  void loadView(const KVSignOnChannel& channel) override;
  bool shouldLoadUrl(const std::string& url) override;
  KVRedirectOutcome receiveRedirect(const std::string& url) override;

  void loadLogin();
  void loadUserInfoWithCode(const std::string& code);
  void cancel();
  // The sign-on page, with the channel's redirect and challenge and this sign-in's state.
  std::string loginPageUrl() const;
  // The state value that binds the redirect to this sign-in (RFC 6749 10.12).
  const std::string& state() const { return state_; }
  // Whether the last try to open the sign-on page found a browser.
  bool browserOpened() const { return browserOpened_; }
  // A code exchange has started (never set back: see loadUserInfoWithCode).
  bool loading() const { return loading_; }
  void setUserDidLogin(std::function<void(bool cancelled)> completion) {
    userDidLogin_ = std::move(completion);
  }

 private:
  std::string redirectPrefix() const;

  KVSignOnChannel channel_;
  const std::string state_;
  bool redirectTaken_ = false;
  bool browserOpened_ = true;
  std::u16string refusal_;  // why the server's sign-in answer was refused, when it was
  bool loading_ = false;
  std::function<void(bool cancelled)> userDidLogin_;
};

}  // namespace kolvane
