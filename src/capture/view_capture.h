// Finding the texts under a press: the labels of a view (the leaves of its tree), of a window
// (every page of its root controllers), or of the nearest ancestor that holds any.
#pragma once

#include <memory>
#include <vector>

#include "capture/view_strings.h"
#include "kolvane/host_view.h"

namespace kolvane {

using KVCaptures = std::vector<std::shared_ptr<KVViewStrings>>;

// The views from the one a walk started at down to the one it is at. A host whose tree loops
// (a menu holding itself as a submenu) must not take the app down: a view already on the path,
// or one deeper than any real tree, is not entered.
class KVViewPath {
 public:
  static constexpr std::size_t kMaxDepth = 256;
  // False when `view` must not be entered; else true, and leave() must follow.
  [[nodiscard]] bool enter(const KVHostView& view);
  void leave() { identities_.pop_back(); }

 private:
  std::vector<const void*> identities_;
};

// The capture of `label` showing `text` (cues included): while the app is pseudo-translated,
// of the text as it was before, so that it traces to its strings.
std::shared_ptr<KVViewStrings> kv_captureOfLabel(const std::shared_ptr<KVHostView>& label,
                                                 KVAttributedText text);

// The labels under `view`, depth first, each with the text it shows. Only leaves are looked
// at; a window looks under its root controllers' views instead of its own subviews.
KVCaptures kolvaneStringsInSubviews(const std::shared_ptr<KVHostView>& view);
// The labels of the nearest ancestor of `view` that has any; `root` gets that ancestor.
KVCaptures kolvaneStringsInSuperviewsWithRoot(const std::shared_ptr<KVHostView>& view,
                                              std::shared_ptr<KVHostView>* root);

}  // namespace kolvane
