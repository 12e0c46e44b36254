#include "kolvane/tool.h"

#include "base/log.h"
#include "base/server_text.h"
#include "base/utf.h"
#include "capture/edition_view_controller.h"
#include "capture/tool_host.h"
#include "capture/view_capture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/reviewer_services.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"

namespace kolvane {
namespace {

std::shared_ptr<KVToolHost>& installedHost() {
  static std::shared_ptr<KVToolHost> host;
  return host;
}

}  // namespace

KVHostView::~KVHostView() = default;
KVToolHost::~KVToolHost() = default;

std::shared_ptr<KVToolHost> kv_toolHost() { return installedHost(); }

void kv_setToolHost(std::shared_ptr<KVToolHost> host) { installedHost() = std::move(host); }

std::u16string kv_errorDetails(const KVError& error) {
  std::string details = error.domain + " " + std::to_string(error.code);
  for (const std::string* part : {&error.localizedDescription, &error.details}) {
    if (!part->empty()) details += ": " + *part;
  }
  return kv_shownServerText(details);
}

void kv_showErrorAlert(std::u16string title, const KVError& error) {
  if (const auto host = kv_toolHost()) {
    host->showAlert({std::move(title),
                     toUtf16(error.localizedDescription),
                     u"OK",
                     {},
                     0,
                     kv_errorDetails(error)},
                    {});
  }
}

bool KolvaneTool::editionEnabled() { return KVMainController::sharedInstance().editionEnabled(); }

std::shared_ptr<KVEditionScreen> KolvaneTool::triggerEdition(
    const std::shared_ptr<KVHostView>& touchedView, unsigned touches) {
  if (touches != 1 || !editionEnabled()) return nullptr;
  if (debugEnabled()) {
    kvLog("Edition gesture triggered for view " +
          (touchedView ? touchedView->className() : std::string("(null)")));
  }
  // The window itself, or a view no longer on screen, shows nothing to edit.
  if (!touchedView || !touchedView->superview()) return nullptr;
  if (const KVCaptures captures = kolvaneStringsInSubviews(touchedView); !captures.empty()) {
    return KVEditionViewController::presentEditionViewWithStringsAndViews(captures, touchedView);
  }
  std::shared_ptr<KVHostView> root;
  const KVCaptures captures = kolvaneStringsInSuperviewsWithRoot(touchedView, &root);
  if (captures.empty()) return nullptr;
  return KVEditionViewController::presentEditionViewWithStringsAndViews(captures, root);
}

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
