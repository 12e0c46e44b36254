#include "tool-ui/login_page.h"

#include <algorithm>
#include <cstdint>
#include <random>

#include "base/log.h"
#include "base/sha256.h"
#include "base/utf.h"
#include "capture/tool_host.h"
#include "server/log_redaction.h"
#include "server/login_form.h"
#include "server/session.h"
#include "strings/base64.h"
#include "strings/url_parameters.h"
#include "tool-ui/kept_changes.h"

namespace kolvane {
namespace {

class ScreenLoginForm : public KVLoginForm {
 public:
  void open(std::function<void(bool cancelled)> completion) override {
    KVLoginPage::openLoginFormWithCompletion(std::move(completion));
  }
};

// 32 bytes of the system's generator: no other process can guess them. Empty without a
// generator.
std::string randomBytes() {
  std::string bytes;
  try {
    std::random_device system("/dev/urandom");
    for (int word = 0; word < 8; ++word) {
      const std::uint32_t random = system();
      for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(random >> shift);
    }
  } catch (...) {
    kvLogIfEnabled("No random source for the sign-on: signing in is not possible");
    return {};
  }
  return bytes;
}

// The state in hex. Without a generator there is no state, and no redirect is ever taken.
std::string newState() {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string state;
  for (const char byte : randomBytes()) {
    const auto value = static_cast<unsigned char>(byte);
    state += kDigits[value >> 4];
    state += kDigits[value & 0xf];
  }
  return state;
}

// Base64 with the URL's alphabet and no padding (RFC 7636 appendix A).
std::string base64Url(std::string_view bytes) {
  std::string text = kv_base64EncodedString(bytes).value_or("");
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
  text.erase(std::find(text.begin(), text.end(), '='), text.end());
  return text;
}

// Compares without stopping at the first difference, so the time taken tells nothing of the
// expected value.
bool sameSecret(std::string_view given, std::string_view expected) {
  if (given.size() != expected.size()) return false;
  unsigned char difference = 0;
  for (std::size_t i = 0; i < given.size(); ++i) difference |= given[i] ^ expected[i];
  return difference == 0;
}

}  // namespace

KVLoginPage::KVLoginPage() : state_(newState()) {}

std::string kv_s256Challenge(std::string_view verifier) {
  const auto digest = kv_sha256(verifier);
  return base64Url(std::string_view(reinterpret_cast<const char*>(digest.data()), digest.size()));
}

KVSignOnChannel kv_loopbackSignOnChannel(std::uint16_t port) {
  KVSignOnChannel channel;
  channel.redirectPrefix = "http://127.0.0.1:" + std::to_string(port) + "/";
  const std::string random = randomBytes();
  if (random.empty()) return channel;
  channel.codeVerifier = base64Url(random);
  channel.codeChallenge = kv_s256Challenge(channel.codeVerifier);
  return channel;
}

void KVLoginPage::openLoginFormWithCompletion(std::function<void(bool cancelled)> completion) {
  const auto host = kv_toolHost();
  if (!host) {
    if (completion) completion(true);
    return;
  }
  auto page = std::make_shared<KVLoginPage>();
  page->setUserDidLogin(std::move(completion));
  host->presentToolScreen(page);
}

void KVLoginPage::installAsLoginForm() {
  KVLoginViewController::setLoginForm(std::make_shared<ScreenLoginForm>());
}

std::u16string KVLoginPage::message() const {
  if (!refusal_.empty()) return refusal_;
  if (loading_) return u"Signing in…";
  if (!browserOpened_) {
    return u"No browser could be opened. Open the address below in a browser, sign in there, "
           u"then come back to the app.";
  }
  return u"The sign-on page is open in your browser. Sign in there, then come back to the app. "
         u"Closed it? Open it again, or copy its address.";
}

std::string KVLoginPage::redirectPrefix() const {
  return channel_.redirectPrefix.empty() ? KVLoginViewController::redirectPrefix()
                                         : channel_.redirectPrefix;
}

void KVLoginPage::loadView(const KVSignOnChannel& channel) {
  channel_ = channel;
  loadLogin();
}

std::string KVLoginPage::loginPageUrl() const {
  std::string url = KVLoginViewController::loginPageUrl(redirectPrefix());
  if (!channel_.codeChallenge.empty()) {
    url += "&code_challenge=" + channel_.codeChallenge + "&code_challenge_method=S256";
  }
  // The browser may hold an earlier sign-on session; the reviewer signs in afresh each time.
  return url + "&state=" + state_ + "&prompt=login";
}

void KVLoginPage::loadLogin() {
  if (const auto host = kv_toolHost()) browserOpened_ = host->openSignOnPage(loginPageUrl());
  changed();
}

bool KVLoginPage::shouldLoadUrl(const std::string& url) {
  return receiveRedirect(url) == KVRedirectOutcome::notARedirect;
}

KVRedirectOutcome KVLoginPage::receiveRedirect(const std::string& url) {
  kvDebug("Webview loading " + redactedUrl(url));
  if (url.rfind(redirectPrefix(), 0) != 0) return KVRedirectOutcome::notARedirect;
  const KVParameters parameters = kv_getParameters(url);
  const auto state = parameters.find("state");
  // Any local process can reach the loopback: a code this sign-in did not ask for would sign
  // the app in as someone else.
  if (redirectTaken_ || state_.empty() || state == parameters.end() ||
      !sameSecret(state->second, state_)) {
    kvDebug("Sign-on redirect refused: not the one this sign-in is waiting for");
    return KVRedirectOutcome::refused;
  }
  // A redirect without a code (the sign-on page reporting an error) ends here.
  const auto code = parameters.find("code");
  if (code == parameters.end()) return KVRedirectOutcome::refused;
  redirectTaken_ = true;
  loadUserInfoWithCode(code->second);
  return KVRedirectOutcome::accepted;
}

void KVLoginPage::loadUserInfoWithCode(const std::string& code) {
  // `loading_` stays set after a failed exchange: later codes reaching this screen are
  // ignored, and the reviewer cancels and signs in again.
  if (loading_) return;
  loading_ = true;
  showLoading();
  std::optional<KVLoopbackGrant> grant;
  if (!channel_.codeVerifier.empty()) {
    grant = KVLoopbackGrant{redirectPrefix() + "login/", channel_.codeVerifier};
  }
  KVSession::sharedInstance().getTokenWithCode(
      code, false,
      [self = shared_from_this()](std::optional<KVError> error) {
        if (error) {
          self->hideLoadingWithSuccess(false);
          kvDebug("Error getting user info: " + error->localizedDescription);
          // The screen shows no alert of its own: a refused answer is said in its message.
          if (error->code == kKVErrorCodeJsonOutOfBounds) {
            self->refusal_ = toUtf16(error->localizedDescription);
          }
          self->loadLogin();
          return;
        }
        self->hideLoadingWithSuccess(true);
        KVKeptChanges::reviewerDidSignIn();
        const auto host = kv_toolHost();
        if (!host) return;
        host->dismissToolScreens([self] {
          if (self->userDidLogin_) self->userDidLogin_(false);
        });
      },
      grant);
}

void KVLoginPage::cancel() {
  if (const auto host = kv_toolHost()) host->dismissToolScreens({});
  if (userDidLogin_) userDidLogin_(true);
}

}  // namespace kolvane
