// The reviewer's tool as an adapter drives it, wired to the models that do the work.
#include "base/log.h"
#include "capture/display_checks.h"
#include "capture/edition_gesture.h"
#include "capture/tool_host.h"
#include "capture/window_capture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "kolvane/tool.h"
#include "server/login_form.h"
#include "tool-ui/login_page.h"
#include "tool-ui/tool_actions.h"

namespace kolvane {

void KolvaneTool::setHost(std::shared_ptr<KVToolHost> host) {
  if (host) {
    KVLoginPage::installAsLoginForm();
    KVLocaleStrings::setSaveFailureHandler(kv_tellReviewerOfSaveFailure);
  } else {
    KVLoginViewController::setLoginForm(nullptr);
    KVLocaleStrings::setSaveFailureHandler(nullptr);
  }
  kv_setToolHost(std::move(host));
}

bool KolvaneTool::editionEnabled() { return KVMainController::sharedInstance().editionEnabled(); }

std::shared_ptr<KVEditionScreen> KolvaneTool::triggerEdition(
    const std::shared_ptr<KVHostView>& touchedView, unsigned touches) {
  if (touches != 1 || !editionEnabled()) return nullptr;
  return kv_openEditionForTouchedView(touchedView);
}

void KolvaneTool::triggerActions() { kv_openActionsOrLogin(); }

void KolvaneTool::triggerWindowTexts() { kv_openWindowTexts(); }

std::optional<KVWindowCapture> KolvaneTool::captureWindow(
    std::function<void(KVCaptureDelivery)> delivered) {
  const auto host = kv_toolHost();
  return captureWindow(host ? host->keyWindow() : nullptr, std::move(delivered));
}

std::optional<KVWindowCapture> KolvaneTool::captureWindow(
    const std::shared_ptr<KVHostWindow>& window, std::function<void(KVCaptureDelivery)> delivered) {
  const auto capture = kv_captureAndDeliver(window, std::move(delivered));
  if (!capture) return std::nullopt;
  return *capture;
}

void KolvaneTool::setPseudoTranslation(bool on) { kv_setPseudoTranslation(on); }

bool KolvaneTool::pseudoTranslation() { return kv_pseudoTranslation(); }

std::u16string KolvaneTool::shownAnswer(std::u16string answer) {
  return kv_pseudoTranslation() ? kv_pseudoTranslated(answer) : answer;
}

void KolvaneTool::setRightToLeft(bool on) { kv_setRightToLeft(on); }

bool KolvaneTool::rightToLeft() { return kv_rightToLeft(); }

void KolvaneTool::indexDesignTimeTexts() {
  if (const auto base = KVMainController::sharedInstance().baseLocaleStrings()) {
    base->extractUIStrings();
  }
}

std::optional<std::u16string> KolvaneTool::textForDesignTimeText(
    const std::u16string& designTimeText, std::string_view labelDescription) {
  const auto base = KVMainController::sharedInstance().baseLocaleStrings();
  const auto key = base ? base->keyForIBString(designTimeText) : std::nullopt;
  if (!key) return std::nullopt;
  if (debugEnabled() && !labelDescription.empty()) {
    kvLog("Overriding text for label " + std::string(labelDescription) + " with key " + *key);
  }
  return Platform::current().mainBundle().localizedStringForKey(*key, u"", "");
}

}  // namespace kolvane
