// The entry points of the tool that open its screens: installing the host (which makes the
// login screen the session's login form) and the menu gesture.
#include "base/log.h"
#include "base/utf.h"
#include "capture/edition_view_controller.h"
#include "capture/tool_host.h"
#include "core/locale_strings.h"
#include "kolvane/tool.h"
#include "server/login_form.h"
#include "server/session.h"
#include "tool-ui/actions_popup.h"
#include "tool-ui/login_page.h"

namespace kolvane {
namespace {

// The edit stays in memory and goes with the next save; the reviewer must know it is not on
// the device yet.
void tellReviewerOfSaveFailure(const KVError& error) { kv_showErrorAlert(u"Not saved", error); }

}  // namespace

void KolvaneTool::setHost(std::shared_ptr<KVToolHost> host) {
  if (host) {
    KVLoginPage::installAsLoginForm();
    KVLocaleStrings::setSaveFailureHandler(tellReviewerOfSaveFailure);
  } else {
    KVLoginViewController::setLoginForm(nullptr);
    KVLocaleStrings::setSaveFailureHandler(nullptr);
  }
  kv_setToolHost(std::move(host));
}

void KolvaneTool::triggerActions() {
  kvDebug("Actions gesture triggered");
  const auto host = kv_toolHost();
  if (!host) return;
  host->cancelEditionPress();
  // What was typed is saved first; a placeholder mismatch keeps the screen, with its alert.
  if (!KVEditionViewController::closeOpenScreen()) return;
  if (KVSession::sharedInstance().isLoggedIn()) {
    KVActionsPopup::show();
    return;
  }
  KVLoginPage::openLoginFormWithCompletion([](bool cancelled) {
    if (!cancelled) KVActionsPopup::show();
  });
}

}  // namespace kolvane
