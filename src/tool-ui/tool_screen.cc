#include "kolvane/tool_screens.h"

namespace kolvane {

KVToolScreen::~KVToolScreen() = default;

void KVToolScreen::changed() const {
  if (changeHandler_) changeHandler_();
}

void KVToolScreen::showLoading() {
  loading_ = KVTitleLoading::loading;
  changed();
}

void KVToolScreen::hideLoadingWithSuccess(bool success) {
  loading_ = success ? KVTitleLoading::succeeded : KVTitleLoading::failed;
  changed();
}

}  // namespace kolvane
