// KVEditionViewController: the edition screen's model, one page per item of an edition (see
// kolvane/edition_screen.h for what the adapter draws). Main thread.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/edition_controller.h"
#include "kolvane/edition_screen.h"

namespace kolvane {

class KVEditionViewController final : public KVEditionScreen,
                                      public std::enable_shared_from_this<KVEditionViewController> {
 public:
  explicit KVEditionViewController(std::shared_ptr<KVEditionController> editionController);

  // Builds the screen for the captures of the pressed view and asks the tool's host to show
  // it; none (and nothing shown) when they hold no strings.
  static std::shared_ptr<KVEditionViewController> presentEditionViewWithStringsAndViews(
      const KVCaptures& captures, const std::shared_ptr<KVHostView>& view);
  // Leaves the open edition screen, if any, the way its "Close" does (before the menu opens
  // or the reviewer logs out). True when no screen stays open: there was none, or what was
  // typed is saved. False when the validation alert now holds the screen; the caller stops.
  [[nodiscard]] static bool closeOpenScreen();

  KVEditionController& editionController() { return *editionController_; }
  // Every label of the window, refreshed after a save; none when the window has none.
  const std::shared_ptr<KVEditionController>& windowEditionController() const {
    return windowEditionController_;
  }

  std::size_t pageCount() const override;
  KVEditionPage page(std::size_t index) const override;
  std::u16string capsuleTip(std::size_t page, std::u16string_view placeholder,
                            std::size_t rank) const override;
  std::size_t currentPage() const override { return currentPage_; }
  bool acceptEnabled() const override { return acceptEnabled_; }
  bool rejectEnabled() const override { return rejectEnabled_; }
  std::optional<KVAlert> alert() const override { return alert_; }
  bool isClosed() const override { return closed_; }

  void scrollViewDidScroll(double offset, double width) override;
  void changePluralForm(std::size_t page, std::size_t index) override;
  void textViewDidChange(std::size_t page, const KVAttributedText& text) override;
  void accept() override;
  void reject() override;
  void rejectReasonWasGiven(const std::string& reason, const std::u16string& description) override;
  void validate() override;
  void alertButtonClicked(std::size_t button) override;
  void setChangeHandler(std::function<void()> handler) override;

  // The plural-form name of a page's chooser ("" for a string without forms).
  std::string selectedPluralForm(std::size_t page) const;

 private:
  struct PageState {
    std::vector<std::string> pluralFormNames;  // computed once
    std::size_t selected = 0;
  };

  void updateActions();
  // Gives the current locale's group of the page's key `status`, and the page the new group.
  void setStatus(std::size_t page, unsigned status);
  // Keeps the reason of a rejection with the decision.
  void rememberRejection(std::size_t page, const std::string& reason,
                         const std::u16string& description);
  // Back from the validation alert to a page whose typed text failed, in the failing form.
  void keepEditing();
  void showPage(std::size_t page, const std::string& pluralForm);
  void close(bool animated);
  void changed() const;

  std::shared_ptr<KVEditionController> editionController_;
  std::shared_ptr<KVEditionController> windowEditionController_;
  std::vector<PageState> pages_;
  std::size_t currentPage_ = 0;
  bool acceptEnabled_ = false;
  bool rejectEnabled_ = false;
  std::optional<KVAlert> alert_;
  bool closed_ = false;
  std::function<void()> changeHandler_;
};

// The status label's text.
std::u16string kv_statusText(unsigned status);

}  // namespace kolvane
