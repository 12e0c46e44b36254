// The tool's screens that the menu gesture and a failed save open.
#include "tool-ui/tool_actions.h"

#include "base/log.h"
#include "capture/edition_view_controller.h"
#include "capture/tool_host.h"
#include "server/session.h"
#include "tool-ui/actions_popup.h"
#include "tool-ui/login_page.h"
#include "tool-ui/window_texts_list.h"

namespace kolvane {

void kv_tellReviewerOfSaveFailure(const KVError& error) { kv_showErrorAlert(u"Not saved", error); }

void kv_openActionsOrLogin() {
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

namespace kolvane {

void kv_openWindowTexts() {
  const auto host = kv_toolHost();
  if (!host) return;
  host->cancelEditionPress();
  if (!KVEditionViewController::closeOpenScreen()) return;
  KVWindowTextsList::show();
}

}  // namespace kolvane
