#include "capture/view_capture.h"

#include <algorithm>

#include "base/log.h"
#include "capture/display_checks.h"

namespace kolvane {
namespace {

void collectLabels(const std::shared_ptr<KVHostView>& view, KVCaptures& into, KVViewPath& path);

void collectLabelsBelow(const std::shared_ptr<KVHostView>& view, KVCaptures& into,
                        KVViewPath& path) {
  if (const auto* window = dynamic_cast<const KVHostWindow*>(view.get())) {
    for (const auto& page : window->rootControllerViews()) {
      if (page) collectLabels(page, into, path);
    }
    return;
  }
  const auto subviews = view->subviews();
  if (!subviews.empty()) {
    for (const auto& subview : subviews) {
      if (subview) collectLabels(subview, into, path);
    }
    return;
  }
  const auto* label = dynamic_cast<const KVHostLabel*>(view.get());
  if (label == nullptr) return;
  auto text = label->attributedText();
  if (!text) return;
  into.push_back(kv_captureOfLabel(view, std::move(*text)));
}

void collectLabels(const std::shared_ptr<KVHostView>& view, KVCaptures& into, KVViewPath& path) {
  if (!path.enter(*view)) return;
  collectLabelsBelow(view, into, path);
  path.leave();
}

}  // namespace

bool KVViewPath::enter(const KVHostView& view) {
  const void* identity = view.identity();
  if (identities_.size() >= kMaxDepth) return false;
  // A label may stand for the same part of a control as the view holding it (a header section
  // and its title): only a container met again is a loop.
  const bool label = dynamic_cast<const KVHostLabel*>(&view) != nullptr;
  if (!label && std::find(identities_.begin(), identities_.end(), identity) != identities_.end()) {
    return false;
  }
  identities_.push_back(identity);
  return true;
}

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
  KVViewPath path;
  if (view) collectLabels(view, captures, path);
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
