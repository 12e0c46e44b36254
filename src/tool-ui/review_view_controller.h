// The review of changes: the reviewer's edited, accepted and rejected strings as a stack of
// cards beside the server's current text; each is kept or discarded, and what is kept is sent
// in a fixed order once the last card is dealt with. Main thread only.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kolvane/tool_screens.h"
#include "server/api.h"
#include "strings/string_group.h"

namespace kolvane {

class KVLocaleStrings;
class KVReviewLocaleStrings;

class KVReviewDelegate {
 public:
  virtual ~KVReviewDelegate() = default;
  // `summary` says what was sent and, string by string, what was not and why.
  virtual void changesWereSaved(const std::u16string& summary) = 0;
};

class KVReviewViewController : public KVReviewScreen,
                               public std::enable_shared_from_this<KVReviewViewController> {
 public:
  // One card: the change held under `sid`.
  struct Change {
    std::string sid;
    std::shared_ptr<const KVStringGroup> string;
    std::shared_ptr<const KVStringGroup> upstream;
    std::shared_ptr<const KVStringGroup> statusChange;  // accepted or rejected as well
  };

  // Takes copies of the shown store's edited, accepted and rejected strings.
  explicit KVReviewViewController(std::weak_ptr<KVReviewDelegate> delegate);

  std::u16string title() const override { return u"Review changes"; }
  std::u16string leftButtonTitle() const override { return u"Cancel"; }
  void leftButtonTapped() override { cancel(); }
  void viewDidLoad() override { loadChanges(); }
  std::vector<KVReviewCard> cards() const override;
  bool isBusy() const override { return busy_; }
  std::u16string busyText() const override;
  std::u16string counterText() const override;
  Throw pendingThrow() const override { return pendingThrow_; }
  void discard() override;
  void keep() override;
  void cardWasThrown() override;
  std::u16string discardTitle() const override { return u"Discard"; }
  std::u16string keepTitle() const override { return u"Confirm"; }

  void loadChanges();
  void cancel();
  void save();
  // Upload, submission, rejection, issues; `completion` runs once at the end, also after a
  // failed upload has stopped the sequence (the delegate still hears of it then).
  void pushChangesWithCompletion(std::function<void()> completion);

  const std::vector<Change>& changes() const { return changes_; }
  const KVStringGroups& editedStrings() const { return editedStrings_; }
  const KVStringGroups& acceptedStrings() const { return acceptedStrings_; }
  const KVStringGroups& rejectedStrings() const { return rejectedStrings_; }

 private:
  void createStack();
  void throwTopCard(Throw how);
  void showNextCard();
  void submitAccepted(std::function<void(bool failed)> next);
  void rejectRejected(std::function<void(bool failed)> next);
  void tellDelegate();
  // Notes the strings the server refused, with its reasons.
  void noteRefusal(const std::string& key, const KVRefusalReasons& reasons);
  void noteRefusals(const KVGroupList& refused, const KVRefusalReasons& reasons);
  // The keys of every change kept for sending (a string edited and decided counts once).
  std::set<std::string> keptKeys() const;
  // The upload itself failed: every kept change stays on the device, for this reason.
  void noteAllRefused(const std::string& reason);
  std::u16string sendSummary() const;

  std::weak_ptr<KVReviewDelegate> delegate_;
  std::shared_ptr<KVLocaleStrings> localeStrings_;
  std::shared_ptr<KVReviewLocaleStrings> reviewLocaleStrings_;
  KVStringGroups editedStrings_;
  KVStringGroups acceptedStrings_;
  KVStringGroups rejectedStrings_;
  std::vector<Change> changes_;
  bool busy_ = false;
  std::size_t stackSize_ = 0;  // cards when the stack was made
  bool sendingStarted_ = false;
  std::size_t sending_ = 0;                      // changes kept for sending, once sending
  std::map<std::string, std::string> refusals_;  // key to the server's reason

  Throw pendingThrow_ = Throw::none;
};

}  // namespace kolvane
