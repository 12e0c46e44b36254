#include "tool-ui/review_view_controller.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "base/server_text.h"
#include "base/utf.h"
#include "capture/edition_view_controller.h"
#include "capture/tool_host.h"
#include "capture/window_capture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/review_locale_strings.h"
#include "kolvane/reject_reason.h"
#include "server/api.h"
#include "strings/cues.h"

namespace kolvane {
namespace {

std::shared_ptr<const KVStringGroup> entry(const KVStringGroups& strings, const std::string& key) {
  const auto found = strings.find(key);
  return found == strings.end() ? nullptr : found->second;
}

std::vector<std::string> sortedKeys(const KVStringGroups& strings) {
  std::vector<std::string> keys;
  keys.reserve(strings.size());
  for (const auto& [key, group] : strings) keys.push_back(key);
  std::sort(keys.begin(), keys.end());
  return keys;
}

KVGroupList values(const KVStringGroups& strings) {
  KVGroupList list;
  for (const auto& key : sortedKeys(strings)) list.push_back(strings.at(key));
  return list;
}

// The text of every form, one line per plural category.
std::u16string textOf(const KVStringGroup& group) {
  if (!group.hasPlurals) {
    const KVString* form = group.defaultForm();
    return form != nullptr ? kv_stringByRemovingCues(form->localizedFormat) : std::u16string();
  }
  std::u16string text;
  for (const std::string& name : group.sortedPluralFormNames()) {
    const KVString* form = group.formForPluralForm(name, true);
    if (form == nullptr) continue;
    if (!text.empty()) text += u'\n';
    text += toUtf16(name) + u": ";
    text += kv_stringByRemovingCues(form->localizedFormat);
  }
  return text;
}

// The reason's title as the reviewer chose it, and what they wrote.
std::u16string reasonText(const KVStringGroup& rejected) {
  const std::string code = toUtf8(rejected.rejectReason);
  std::u16string text = rejected.rejectReason;
  for (const KVRejectReason& reason : KVRejectReasonForm::reasons()) {
    if (reason.code == code) text = reason.title;
  }
  if (!rejected.rejectDescription.empty()) {
    text += (text.empty() ? u"" : u": ") + rejected.rejectDescription;
  }
  return text;
}

std::u16string countOf(std::size_t count) {
  return toUtf16(std::to_string(count)) + (count == 1 ? u" change" : u" changes");
}

void showAlert(std::u16string title, std::u16string message, std::u16string details = {}) {
  if (const auto host = kv_toolHost()) {
    host->showAlert({std::move(title), std::move(message), u"Close", {}, 0, std::move(details)},
                    {});
  }
}

}  // namespace

KVReviewViewController::KVReviewViewController(std::weak_ptr<KVReviewDelegate> delegate)
    : delegate_(std::move(delegate)),
      localeStrings_(KVMainController::sharedInstance().localeStrings()) {
  if (!localeStrings_) return;
  editedStrings_ = localeStrings_->dirtyStrings();
  acceptedStrings_ = localeStrings_->acceptedStrings();
  rejectedStrings_ = localeStrings_->rejectedStrings();
}

std::vector<KVReviewCard> KVReviewViewController::cards() const {
  std::vector<KVReviewCard> cards;
  for (const Change& change : changes_) {
    KVReviewCard card;
    card.key = change.sid;
    card.myText = textOf(*change.string);
    const KVStringGroup& decided = change.statusChange ? *change.statusChange : *change.string;
    card.myStatus = kv_statusText(decided.status);
    card.myStatusCode = decided.status;
    if (decided.status == KVStringStatusRejected) card.rejectReason = reasonText(decided);
    card.currentText =
        change.upstream ? kv_shownServerText(textOf(*change.upstream)) : u"No translation";
    if (change.upstream) card.currentStatus = kv_statusText(change.upstream->status);
    if (auto sighting = kv_lastSighting(change.sid)) {
      card.capture = std::move(sighting->capture);
      card.captureRect = sighting->rect;
    }
    cards.push_back(std::move(card));
  }
  return cards;
}

void KVReviewViewController::loadChanges() {
  if (!localeStrings_) return cancel();
  busy_ = true;
  changed();
  reviewLocaleStrings_ =
      KVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*localeStrings_);
  reviewLocaleStrings_->pullWithCompletion(
      [self = shared_from_this()](std::optional<KVError> error) {
        if (error) {
          showAlert(u"Error pulling strings", kv_shownServerText(error->localizedDescription),
                    kv_errorDetails(*error));
          self->busy_ = false;
          return self->cancel();
        }
        self->reviewLocaleStrings_->loadStrings();
        self->createStack();
        self->busy_ = false;
        self->changed();
      });
}

void KVReviewViewController::createStack() {
  changes_.clear();
  const auto upstream = reviewLocaleStrings_ ? reviewLocaleStrings_->loadedStrings() : nullptr;
  const auto upstreamOf = [&upstream](const std::string& key) {
    return upstream ? entry(*upstream, key) : nullptr;
  };
  for (const auto& key : sortedKeys(editedStrings_)) {
    auto statusChange = entry(acceptedStrings_, key);
    if (!statusChange) statusChange = entry(rejectedStrings_, key);
    changes_.push_back({key, editedStrings_.at(key), upstreamOf(key), statusChange});
  }
  // A string both edited and accepted or rejected already has its card.
  for (const KVStringGroups* decided : {&acceptedStrings_, &rejectedStrings_}) {
    for (const auto& key : sortedKeys(*decided)) {
      if (editedStrings_.count(key) == 0) {
        changes_.push_back({key, decided->at(key), upstreamOf(key), nullptr});
      }
    }
  }
  stackSize_ = changes_.size();
}

void KVReviewViewController::discard() {
  if (changes_.empty() || busy_ || pendingThrow_ != Throw::none) return;
  const std::string& sid = changes_.front().sid;
  editedStrings_.erase(sid);
  acceptedStrings_.erase(sid);
  rejectedStrings_.erase(sid);
  throwTopCard(Throw::discarded);
}

void KVReviewViewController::keep() {
  if (changes_.empty() || busy_ || pendingThrow_ != Throw::none) return;
  throwTopCard(Throw::kept);
}

void KVReviewViewController::throwTopCard(Throw how) {
  pendingThrow_ = how;
  changed();
}

void KVReviewViewController::cardWasThrown() {
  if (pendingThrow_ == Throw::none) return;
  pendingThrow_ = Throw::none;
  showNextCard();
}

void KVReviewViewController::showNextCard() {
  if (!changes_.empty()) changes_.erase(changes_.begin());
  changed();
  if (changes_.empty()) save();
}

void KVReviewViewController::cancel() {
  if (const auto host = kv_toolHost()) host->popToolScreen();
}

std::u16string KVReviewViewController::counterText() const {
  if (changes_.empty() || stackSize_ == 0) return {};
  const std::size_t current = stackSize_ - changes_.size() + 1;
  return toUtf16(std::to_string(current)) + u" of " + toUtf16(std::to_string(stackSize_));
}

std::u16string KVReviewViewController::busyText() const {
  if (!busy_) return {};
  return sendingStarted_ ? u"Sending " + countOf(sending_) + u"\u2026" : u"Loading changes\u2026";
}

void KVReviewViewController::noteRefusal(const std::string& key, const KVRefusalReasons& reasons) {
  const auto reason = reasons.find(key);
  auto& noted = refusals_[key];
  if (noted.empty() && reason != reasons.end()) noted = reason->second;
}

void KVReviewViewController::noteRefusals(const KVGroupList& refused,
                                          const KVRefusalReasons& reasons) {
  for (const auto& string : refused) {
    if (string) noteRefusal(string->key, reasons);
  }
}

std::set<std::string> KVReviewViewController::keptKeys() const {
  std::set<std::string> kept;
  for (const KVStringGroups* strings : {&editedStrings_, &acceptedStrings_, &rejectedStrings_}) {
    for (const auto& [key, group] : *strings) kept.insert(key);
  }
  return kept;
}

void KVReviewViewController::noteAllRefused(const std::string& reason) {
  for (const std::string& key : keptKeys()) refusals_.emplace(key, reason);
}

std::u16string KVReviewViewController::sendSummary() const {
  if (sending_ == 0) return {};  // every card discarded: nothing was sent
  if (refusals_.empty()) return countOf(sending_) + u" sent";
  const std::size_t sent = sending_ > refusals_.size() ? sending_ - refusals_.size() : 0;
  std::u16string summary =
      toUtf16(std::to_string(sent)) + u" of " + countOf(sending_) + u" sent. Not sent:";
  // A menu footer, not a report: the first few, then how many more.
  constexpr std::size_t kListed = 10;
  std::size_t listed = 0;
  for (const auto& [key, reason] : refusals_) {
    if (listed++ == kListed) {
      summary += u"\n\u2026 and " + toUtf16(std::to_string(refusals_.size() - kListed)) + u" more";
      break;
    }
    summary += u"\n" + toUtf16(key) + u": " +
               (reason.empty() ? std::u16string(u"refused") : kv_shownServerText(reason));
  }
  return summary;
}

void KVReviewViewController::save() {
  busy_ = true;
  sending_ = keptKeys().size();
  sendingStarted_ = true;
  refusals_.clear();
  changed();
  pushChangesWithCompletion([self = shared_from_this()] {
    self->busy_ = false;
    self->changed();
    self->tellDelegate();
  });
}

void KVReviewViewController::tellDelegate() {
  if (const auto delegate = delegate_.lock()) delegate->changesWereSaved(sendSummary());
}

void KVReviewViewController::pushChangesWithCompletion(std::function<void()> completion) {
  auto self = shared_from_this();
  KVApi::saveStrings(
      editedStrings_, [self, completion = std::move(completion)](
                          std::optional<KVError> error, std::optional<KVWriteFailures> failures,
                          const KVRefusalReasons& reasons) {
        KVLocaleStrings& store = *self->localeStrings_;
        if (error) {
          self->noteAllRefused(error->localizedDescription);
          // Nothing else is sent and the store keeps everything; the popup still hears of it.
          showAlert(u"Error saving strings", kv_shownServerText(error->localizedDescription),
                    kv_errorDetails(*error));
          return completion();
        }
        // What the server took leaves the device; what it refused is written back at once, so
        // that at every moment each string is either on the server or on the device.
        KVStringGroups refused;
        const bool uploadFailed = failures && !failures->empty();
        if (uploadFailed) {
          // A string whose upload failed is neither submitted nor rejected.
          for (const auto& [key, failed] : *failures) {
            self->noteRefusal(key, reasons);
            if (const auto group = entry(self->editedStrings_, key)) {
              refused[key] = std::const_pointer_cast<KVStringGroup>(group);
            }
            self->acceptedStrings_.erase(key);
            self->rejectedStrings_.erase(key);
          }
        }
        if (refused.empty()) {
          store.clearDirtyStrings();
        } else {
          store.setDirtyStrings(std::move(refused));
          store.saveDirty();
        }
        self->submitAccepted([self, completion, uploadFailed](bool submitFailed) {
          self->rejectRejected(
              [self, completion, failed = uploadFailed || submitFailed](bool rejectFailed) {
                if (failed || rejectFailed)
                  showAlert(u"Error", u"Some strings could not be submitted");
                completion();
              });
        });
      });
}

void KVReviewViewController::submitAccepted(std::function<void(bool failed)> next) {
  KVApi::submitStrings(values(acceptedStrings_),
                       [self = shared_from_this(), next = std::move(next)](
                           KVGroupList failures, const KVRefusalReasons& reasons) {
                         self->noteRefusals(failures, reasons);
                         self->acceptedStrings_.clear();
                         for (const auto& group : failures)
                           self->acceptedStrings_[group->key] = group;
                         self->localeStrings_->acceptedStrings() = self->acceptedStrings_;
                         self->localeStrings_->saveDirty();
                         next(!failures.empty());
                       });
}

void KVReviewViewController::rejectRejected(std::function<void(bool failed)> next) {
  auto rejected = std::make_shared<KVStringGroups>(rejectedStrings_);
  KVApi::rejectStrings(
      values(*rejected), [self = shared_from_this(), rejected, next = std::move(next)](
                             KVGroupList failures, const KVRefusalReasons& reasons) {
        self->noteRefusals(failures, reasons);
        self->rejectedStrings_.clear();
        for (const auto& group : failures) {
          self->rejectedStrings_[group->key] = group;
          rejected->erase(group->key);
        }
        self->localeStrings_->rejectedStrings() = self->rejectedStrings_;
        self->localeStrings_->saveDirty();
        // The end waits for the issues, so the reviewer does not leave while they are in flight;
        // an issue that cannot be filed changes nothing of what is reported.
        auto pending = std::make_shared<std::size_t>(rejected->size() + 1);
        auto issueDone = [pending, next, failed = !failures.empty()] {
          if (--*pending == 0) next(failed);
        };
        for (const auto& group : values(*rejected)) {
          KVApi::createIssueForString(group, [issueDone](std::optional<KVError> error) {
            if (error) kvDebug("Could not create issue: " + error->localizedDescription);
            issueDone();
          });
        }
        issueDone();
      });
}

}  // namespace kolvane
