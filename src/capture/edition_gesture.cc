#include "capture/edition_gesture.h"

#include "base/log.h"
#include "capture/edition_view_controller.h"
#include "capture/view_capture.h"

namespace kolvane {

std::shared_ptr<KVEditionScreen> kv_openEditionForTouchedView(
    const std::shared_ptr<KVHostView>& touchedView) {
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

}  // namespace kolvane
