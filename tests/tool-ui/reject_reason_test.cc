// The reject-reason form: a reason must be chosen, and sending rejects the current string of
// the edition screen with it; cancelling leaves the string alone.
#include "kolvane/reject_reason.h"

#include <gtest/gtest.h>

namespace kolvane {
namespace {

class RecordingScreen : public KVEditionScreen {
 public:
  std::size_t pageCount() const override { return 1; }
  KVEditionPage page(std::size_t) const override {
    KVEditionPage page;
    page.key = "sent";
    return page;
  }
  std::u16string capsuleTip(std::size_t, std::u16string_view, std::size_t) const override {
    return {};
  }
  std::size_t currentPage() const override { return 0; }
  bool acceptEnabled() const override { return false; }
  bool rejectEnabled() const override { return true; }
  std::optional<KVAlert> alert() const override { return std::nullopt; }
  bool isClosed() const override { return false; }
  void scrollViewDidScroll(double, double) override {}
  void changePluralForm(std::size_t, std::size_t) override {}
  void textViewDidChange(std::size_t, const KVAttributedText&) override {}
  void accept() override {}
  void reject() override {}
  void rejectReasonWasGiven(const std::string& why, const std::u16string& text) override {
    ++answers;
    reason = why;
    description = text;
  }
  void validate() override {}
  void alertButtonClicked(std::size_t) override {}
  void setChangeHandler(std::function<void()>) override {}

  int answers = 0;
  std::string reason;
  std::u16string description;
};

TEST(RejectReasonFormTest, SendingNeedsAReasonAndAnswersTheScreenOnce) {
  auto screen = std::make_shared<RecordingScreen>();
  KVRejectReasonForm form(screen);
  EXPECT_EQ(form.key(), "sent");
  EXPECT_FALSE(form.canSend());
  form.send();
  EXPECT_EQ(screen->answers, 0);
  form.selectReason(KVRejectReasonForm::reasons().size());  // no such reason
  EXPECT_FALSE(form.canSend());
  form.selectReason(0);
  form.setDescription(u"Say envoyé");
  form.send();
  form.send();
  EXPECT_TRUE(form.isDone());
  EXPECT_EQ(screen->answers, 1);
  EXPECT_EQ(screen->reason, "WRONG_TERM");
  EXPECT_EQ(screen->description, u"Say envoyé");

  KVRejectReasonForm cancelled(screen);
  cancelled.selectReason(1);
  cancelled.cancel();
  cancelled.send();
  EXPECT_EQ(screen->answers, 1);
}

}  // namespace
}  // namespace kolvane
