#include "capture/view_capture.h"

#include "base/log.h"
#include "capture/display_checks.h"

namespace kolvane {
namespace {

void collectLabels(const std::shared_ptr<KVHostView>& view, KVCaptures& into) {
  if (const auto* window = dynamic_cast<const KVHostWindow*>(view.get())) {
    for (const auto& page : window->rootControllerViews()) {
      if (page) collectLabels(page, into);
    }
    return;
  }
  const auto subviews = view->subviews();
  if (!subviews.empty()) {
    for (const auto& subview : subviews) {
      if (subview) collectLabels(subview, into);
    }
    return;
  }
  const auto* label = dynamic_cast<const KVHostLabel*>(view.get());
  if (label == nullptr) return;
  auto text = label->attributedText();
  if (!text) return;
  into.push_back(kv_captureOfLabel(view, std::move(*text)));
}

}  // namespace

std::shared_ptr<KVViewStrings> kv_captureOfLabel(const std::shared_ptr<KVHostView>& label,
                                                 KVAttributedText text) {
  auto capture = std::make_shared<KVViewStrings>();
  capture->view = label;
  // The runs of a pseudo-translated text do not fit the text before it: it is traced plain.
  if (kv_pseudoTranslation()) text = KVAttributedText(kv_withoutPseudoTranslation(text.string()));
  capture->originalAttributedString = std::move(text);
  return capture;
}

KVCaptures kolvaneStringsInSubviews(const std::shared_ptr<KVHostView>& view) {
  KVCaptures captures;
  if (view) collectLabels(view, captures);
  return captures;
}

KVCaptures kolvaneStringsInSuperviewsWithRoot(const std::shared_ptr<KVHostView>& view,
                                              std::shared_ptr<KVHostView>* root) {
  for (auto superview = view ? view->superview() : nullptr; superview;
       superview = superview->superview()) {
    if (debugEnabled()) kvLog("Looking for strings to edit in superview " + superview->className());
    KVCaptures captures = kolvaneStringsInSubviews(superview);
    if (!captures.empty()) {
      if (root != nullptr) *root = superview;
      return captures;
    }
  }
  return {};
}

}  // namespace kolvane
