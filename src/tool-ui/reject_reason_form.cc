#include "kolvane/reject_reason.h"

namespace kolvane {

const std::vector<KVRejectReason>& KVRejectReasonForm::reasons() {
  static const std::vector<KVRejectReason> kReasons = {
      {"WRONG_TERM", u"Wrong term"},           {"WRONG_MEANING", u"Wrong meaning"},
      {"GRAMMAR", u"Grammar or spelling"},     {"STYLE", u"Style or tone"},
      {"TOO_LONG", u"Too long for its place"}, {"OTHER", u"Something else"},
  };
  return kReasons;
}

KVRejectReasonForm::KVRejectReasonForm(std::shared_ptr<KVEditionScreen> screen)
    : screen_(std::move(screen)) {}

std::string KVRejectReasonForm::key() const {
  if (!screen_ || screen_->pageCount() == 0) return {};
  return screen_->page(screen_->currentPage()).key;
}

void KVRejectReasonForm::selectReason(std::size_t index) {
  if (index < reasons().size()) selected_ = index;
}

void KVRejectReasonForm::send() {
  if (!canSend() || done_) return;
  done_ = true;
  if (screen_) screen_->rejectReasonWasGiven(reasons()[*selected_].code, description_);
}

}  // namespace kolvane
