#include "tool-ui/actions_popup.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "base/log.h"
#include "base/server_text.h"
#include "base/utf.h"
#include "capture/display_checks.h"
#include "capture/edition_controller.h"
#include "capture/edition_view_controller.h"
#include "capture/tool_host.h"
#include "capture/view_capture.h"
#include "capture/window_capture.h"
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/persistence.h"
#include "core/version.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "server/api.h"
#include "tool-ui/choice_lists.h"
#include "tool-ui/kept_changes.h"
#include "tool-ui/login_page.h"
#include "tool-ui/window_texts_list.h"

namespace kolvane {
namespace {

KVMainController& controller() { return KVMainController::sharedInstance(); }

// The text of a user-info value, empty when it is missing or not a text.
std::u16string userValue(const char* name) {
  const nlohmann::json& info = KVSession::sharedInstance().userInfo();
  if (!info.is_object()) return {};
  const auto found = info.find(name);
  return found != info.end() && found->is_string()
             ? kv_shownServerText(found->get_ref<const std::string&>())
             : std::u16string();
}

std::u16string replacingPlaceholder(std::u16string format, const std::u16string& value) {
  if (const auto at = format.find(u"%@"); at != std::u16string::npos) {
    format.replace(at, 2, value);
  }
  return format;
}

std::u16string shownLanguageName() {
  const auto& store = controller().localeStrings();
  return store ? toUtf16(kv_localizedLanguageName(store->locale())) : std::u16string();
}

std::vector<std::string> keysOf(const KVActionsPopup::Choices& choices) {
  std::vector<std::string> keys;
  for (const auto& [key, steps] : choices) keys.push_back(key);
  return keys;
}

KVMenuRow menuRow(std::u16string title, std::u16string detail = {}, bool enabled = true,
                  bool disclosure = false, bool highlighted = false) {
  return {std::move(title), std::move(detail), enabled, disclosure, highlighted};
}

// A question whose second button, "Yes", acts.
KVAlert confirmation(std::u16string title, std::u16string message, int tag) {
  return {std::move(title), std::move(message), u"No", {u"Yes"}, tag, {}};
}

void saveDefault(std::string_view key, nlohmann::json value) {
  Platform::current().userDefaults().setObject(key, std::move(value));
  synchronizeDefaults();
}

}  // namespace

std::shared_ptr<KVActionsPopup> KVActionsPopup::show() {
  const auto host = kv_toolHost();
  if (!host) return nullptr;
  // Opening the menu is the next chance to keep changes a failed save left in memory.
  if (const auto& store = controller().localeStrings(); store && !store->changesKeptOnDevice()) {
    (void)store->saveDirty();
  }
  auto popup = std::make_shared<KVActionsPopup>();
  const auto window = host->keyWindow();
  popup->editionController_ = KVEditionController::editionControllerWithStrings(
      window ? kolvaneStringsInSubviews(window) : KVCaptures{});
  popup->windowTexts_ = KVWindowTextsList::summaryOf(kv_windowInventory(window));
  host->presentToolScreen(popup);
  return popup;
}

std::vector<KVMenuSection> KVActionsPopup::sections() const {
  if (isLoading_) return {{{}, {menuRow(u"Loading...", {}, false)}, {}}};
  std::vector<KVMenuSection> sections = {accountSection(), translationSection(),
                                         latestTextSection()};
  if (KVSession::sharedInstance().isLoggedIn()) sections.push_back(saveSection());
  sections.push_back(windowSection());
  // While the latest text comes, nothing else may start; the account stays reachable, so a
  // pull whose answer never comes cannot lock the reviewer in.
  if (pulling_) {
    for (std::size_t section = 1; section < sections.size(); ++section) {
      for (KVMenuRow& row : sections[section].rows) row.enabled = false;
    }
  }
  return sections;
}

KVMenuSection KVActionsPopup::accountSection() const {
  if (!KVSession::sharedInstance().isLoggedIn()) {
    return {{}, {menuRow(u"Login")}, u"Log in to be able to edit translations."};
  }
  return {{}, {menuRow(userValue("name"), userValue("email"), false), menuRow(u"Logout")}, {}};
}

KVMenuSection KVActionsPopup::translationSection() const {
  const auto& step = controller().workflowStep();
  const bool languageChosen = controller().localeStrings() != nullptr;
  return {u"Translation",
          {menuRow(u"Language", shownLanguageName(), !isLoading_, true),
           menuRow(u"Workflow step", step ? kv_shownServerText(step->name) : std::u16string(),
                   !isLoading_ && languageChosen, true)},
          {}};
}

KVMenuSection KVActionsPopup::latestTextSection() const {
  const auto& store = controller().localeStrings();
  std::u16string footer = u"No translations on this device";
  if (const auto date = store ? store->lastDownloadDate() : std::nullopt) {
    footer = replacingPlaceholder(u"Last updated %@",
                                  Platform::current().textServices().shortDateTime(*date));
  } else if (store) {
    footer = replacingPlaceholder(u"No %@ translations on this device", shownLanguageName());
  }
  return {{}, {menuRow(u"Get Latest Text")}, footer};
}

KVMenuSection KVActionsPopup::saveSection() const {
  const auto& step = controller().workflowStep();
  if (!step || !step->canTranslate) return {};
  std::u16string counts;
  if (const auto& store = controller().localeStrings()) {
    const std::pair<std::size_t, const char16_t*> kinds[] = {
        {store->dirtyStrings().size(), u"%@ translated"},
        {store->acceptedStrings().size(), u"%@ accepted"},
        {store->rejectedStrings().size(), u"%@ rejected"}};
    for (const auto& [count, format] : kinds) {
      if (count == 0) continue;
      if (!counts.empty()) counts += u", ";
      counts += replacingPlaceholder(format, toUtf16(std::to_string(count)));
    }
  }
  const bool unsaved = unsavedChanges() > 0;
  // The counts are of what the app holds; when the device could not keep it, say so.
  const auto& store = controller().localeStrings();
  std::u16string footer = sendSummary_;
  if (store && !store->changesKeptOnDevice()) {
    if (!footer.empty()) footer += u"\n";
    footer += u"Not saved on this device yet: these changes are lost if the app closes.";
  }
  return {{}, {menuRow(u"Save My Changes", counts, unsaved, false, unsaved)}, footer};
}

KVMenuSection KVActionsPopup::windowSection() const {
  const auto onOff = [](bool on) { return std::u16string(on ? u"On" : u"Off"); };
  return {u"This window",
          {menuRow(u"Texts of this window", windowTexts_, true, true),
           menuRow(u"Pseudo-translation", onOff(kv_pseudoTranslation())),
           menuRow(u"Right to left", onOff(kv_rightToLeft())),
           menuRow(u"Capture this window", captureDetail_)},
          u"Pseudo-translation shows every text accented, longer and in brackets: texts without "
          u"brackets are not translatable, texts cut off will not fit. A capture of the window "
          u"shows translators where each of its strings is, and the review of your changes "
          u"too."};
}

void KVActionsPopup::selectWindowRow(std::size_t row) {
  if (row == 0) {
    // The list lives in a window of its own, beside the app's, so the menu goes.
    if (const auto host = kv_toolHost())
      host->dismissToolScreens([] { KVWindowTextsList::show(); });
    return;
  }
  if (row == 1) kv_setPseudoTranslation(!kv_pseudoTranslation());
  if (row == 2) kv_setRightToLeft(!kv_rightToLeft());
  if (row == 3) return captureWindow();
  changed();
}

void KVActionsPopup::captureWindow() {
  // One at a time; the row stays enabled, since a disabled row would lose the keyboard focus.
  if (capturing_) return;
  capturing_ = true;
  captureDetail_ = u"Sending…";
  const auto capture = kv_captureKeyWindow([weak = weak_from_this()](KVCaptureDelivery delivery) {
    if (const auto popup = weak.lock()) popup->captureWasDelivered(delivery);
  });
  if (!capture) {
    capturing_ = false;
    captureDetail_ = u"No window to capture";
  }
  changed();
}

void KVActionsPopup::captureWasDelivered(const KVCaptureDelivery& delivery) {
  using Outcome = KVCaptureDelivery::Outcome;
  capturing_ = false;
  const std::u16string strings = toUtf16(std::to_string(delivery.attachedStrings));
  switch (delivery.outcome) {
    case Outcome::sent:
      captureDetail_ = replacingPlaceholder(
          delivery.attachedStrings == 1 ? u"Sent, for %@ string" : u"Sent, for %@ strings",
          strings);
      break;
    case Outcome::notSignedIn:
    case Outcome::notTakenThere:
      captureDetail_ = u"Kept on this device";
      break;
    case Outcome::notForTranslators:
      captureDetail_ = u"Kept on this device. " + delivery.reason;
      break;
    case Outcome::failed:
      captureDetail_ = u"Not sent";
      if (const auto host = kv_toolHost()) {
        host->showAlert({u"Capture not sent", delivery.reason, u"Close", {}, 0, {}},
                        [](std::size_t) {});
      }
      break;
  }
  changed();
}

std::size_t KVActionsPopup::windowSectionIndex() const {
  return KVSession::sharedInstance().isLoggedIn() ? 4 : 3;
}

std::size_t KVActionsPopup::unsavedChanges() const {
  const auto& store = controller().localeStrings();
  if (!store) return 0;
  return store->dirtyStrings().size() + store->acceptedStrings().size() +
         store->rejectedStrings().size();
}

void KVActionsPopup::selectRow(std::size_t section, std::size_t row) {
  if (isLoading_) return;
  const auto host = kv_toolHost();
  if (!host) return;
  const bool unsaved = unsavedChanges() > 0;
  if (section == windowSectionIndex()) return selectWindowRow(row);
  switch (section) {
    case 0:
      if (!KVSession::sharedInstance().isLoggedIn()) {
        if (row == 0) host->pushToolScreen(std::make_shared<KVLoginPage>());
      } else if (row == 1) {
        askLogOut();
      }
      return;
    case 1:
      if (row > 1) return;
      if (unsaved) return askConfirmationForRow(row);
      return row == 0 ? changeLocale() : changeWorkflow();
    case 2:
      if (!unsaved) return pull();
      return ask(confirmation(u"Get Latest Text",
                              u"Are you sure you want to download the latest translations? All "
                              u"unsaved changes on this device will be overwritten.",
                              kKVAlertTagPull));
    case 3:
      if (unsaved) {
        host->pushToolScreen(std::make_shared<KVReviewViewController>(weak_from_this()));
      }
      return;
    default:
      return;
  }
}

void KVActionsPopup::askLogOut() {
  // What is typed on an edition screen counts too: it is saved first, or its alert holds the
  // logout.
  if (!KVEditionViewController::closeOpenScreen()) return;
  const std::size_t unsent = unsavedChanges();
  if (unsent == 0) return logOut();
  ask({u"Log Out",
       toUtf16(std::to_string(unsent)) +
           u" changes have not been sent. Log out and keep them on this device?",
       u"Cancel",
       {u"Log Out"},
       kKVAlertTagLogOut,
       {}});
}

void KVActionsPopup::logOut() {
  KVKeptChanges::logOut(unsavedChanges());
  if (const auto host = kv_toolHost()) {
    host->removeEditionGesture();
    host->dismissToolScreens({});
  }
}

void KVActionsPopup::askConfirmationForRow(std::size_t row) {
  if (row == 1) {
    return ask(confirmation(u"Change workflow step",
                            u"Are you sure you want to change workflow step? All unsaved "
                            u"changes on this device will be deleted.",
                            kKVAlertTagChangeWorkflowStep));
  }
  // Without a workflow step the language row asks nothing and does nothing.
  if (row == 0 && controller().workflowStep()) {
    ask(confirmation(u"Change language",
                     u"Are you sure you want to change language? All unsaved changes on this "
                     u"device will be deleted.",
                     kKVAlertTagChangeLanguage));
  }
}

void KVActionsPopup::ask(KVAlert alert) {
  const auto host = kv_toolHost();
  if (!host) return;
  const int tag = alert.tag;
  host->showAlert(alert, [self = shared_from_this(), tag](std::size_t button) {
    self->alertButtonClicked(tag, button);
  });
}

void KVActionsPopup::alertButtonClicked(int tag, std::size_t button) {
  if (button != 1) return;
  if (tag == kKVAlertTagPull) pull();
  if (tag == kKVAlertTagChangeLanguage) changeLocale();
  if (tag == kKVAlertTagChangeWorkflowStep) changeWorkflow();
  if (tag == kKVAlertTagLogOut) logOut();
}

void KVActionsPopup::changeLocale() {
  if (const auto host = kv_toolHost()) {
    host->pushToolScreen(std::make_shared<KVLocaleChoiceList>(shared_from_this()));
  }
}

void KVActionsPopup::changeWorkflow() {
  if (!controller().localeStrings()) return;
  if (const auto host = kv_toolHost()) {
    host->pushToolScreen(std::make_shared<KVWorkflowStepChoiceList>(shared_from_this()));
  }
}

void KVActionsPopup::reload() {
  // Nobody signed in: the server would drop the requests unanswered.
  if (!KVSession::sharedInstance().isLoggedIn()) return changed();
  isLoading_ = true;
  showLoading();
  KVApi::projectInfoForce(
      false, [self = shared_from_this()](std::optional<KVError>, nlohmann::json) {
        KVApi::projectWorkflowsForce(
            false, [self](std::optional<KVError> error, KVWorkflowSteps steps) {
              self->isLoading_ = false;
              self->groupWorkflowsByLocale(steps);
              // A step the project no longer has switches editing off; a failed answer says nothing
              // about the steps, so it keeps the chosen one.
              const auto& step = controller().workflowStep();
              const auto sameStep = [&step](const auto& other) { return other->uid == step->uid; };
              if (!error && step && std::none_of(steps.begin(), steps.end(), sameStep)) {
                controller().setWorkflowStep(nullptr);
              }
              // Success whatever the answer, as the menu has always shown it.
              self->hideLoadingWithSuccess(true);
              // An answer refused as too large says so, in words, not as a bare failure.
              if (error && error->code == kKVErrorCodeJsonOutOfBounds) {
                kv_showErrorAlert(u"Error", *error);
              }
            });
      });
}

void KVActionsPopup::groupWorkflowsByLocale(const KVWorkflowSteps& steps) {
  sourceLocaleChoices_.clear();
  targetLocaleChoices_.clear();
  for (const auto& step : steps) {
    for (const KVLocalePair& pair : step->localePairs) {
      sourceLocaleChoices_[pair.source.localeIdentifier()].push_back(step);
      targetLocaleChoices_[pair.target.localeIdentifier()].push_back(step);
    }
  }
}

std::vector<std::string> KVActionsPopup::sourceLocaleIds() const {
  return keysOf(sourceLocaleChoices_);
}

std::vector<std::string> KVActionsPopup::targetLocaleIds() const {
  return keysOf(targetLocaleChoices_);
}

KVWorkflowSteps KVActionsPopup::workflowStepChoices() const {
  const auto& store = controller().localeStrings();
  if (!store) return {};
  KVWorkflowSteps choices;
  std::unordered_set<const KVWorkflowStep*> listedOnce;
  for (const Choices* listed : {&targetLocaleChoices_, &sourceLocaleChoices_}) {
    const auto found = listed->find(store->locale().localeIdentifier());
    if (found == listed->end()) continue;
    for (const auto& step : found->second) {
      if (listedOnce.insert(step.get()).second) choices.push_back(step);
    }
  }
  return choices;
}

void KVActionsPopup::setLocale(const Locale& locale) {
  auto store = KVLocaleStrings::localeStringsForLocale(locale);
  const std::string& id = locale.localeIdentifier();
  bool keepStep = false;
  if (const auto& step = controller().workflowStep()) {
    keepStep = std::any_of(
        step->localePairs.begin(), step->localePairs.end(), [&id](const KVLocalePair& pair) {
          return pair.target.localeIdentifier() == id || pair.source.localeIdentifier() == id;
        });
  }
  if (!keepStep) {
    auto listed = targetLocaleChoices_.find(id);
    if (listed == targetLocaleChoices_.end() || listed->second.empty()) {
      listed = sourceLocaleChoices_.find(id);
      if (listed == sourceLocaleChoices_.end() || listed->second.empty()) return;
    }
    // The step changes while the previous store is still shown, so the pull it starts fetches
    // the previous locale's text and none follows for the new one: kept as designed.
    setWorkflowStep(listed->second.front());
  }
  if (const auto& previous = controller().localeStrings()) {
    previous->clearDirtyStrings();
    previous->clearDirtyStatuses();
  }
  saveDefault("KVLocale", id);
  controller().setLocaleStrings(std::move(store));
  if (keepStep) pull();
  changed();
}

void KVActionsPopup::setWorkflowStep(std::shared_ptr<const KVWorkflowStep> step) {
  controller().setWorkflowStep(step);
  if (const auto& store = controller().localeStrings()) {
    store->clearDirtyStrings();
    store->clearDirtyStatuses();
  }
  KVKeptChanges::forget();
  if (step) saveDefault("KVWorkflowStep", step->archivedData());
  changed();
  pull();
}

void KVActionsPopup::pull() {
  showLoading();
  const auto store = controller().localeStrings();
  if (!store) return hideLoadingWithSuccess(false);
  pulling_ = true;
  store->pullWithCompletion([self = shared_from_this()](std::optional<KVError> error) {
    self->pulling_ = false;
    if (error) {
      kvDebug("Error pulling strings " + error->localizedDescription);
      self->hideLoadingWithSuccess(false);
      if (const auto host = kv_toolHost()) {
        host->showAlert({u"Error",
                         u"Unable to get latest text. Please try again later.",
                         u"Close",
                         {},
                         0,
                         kv_errorDetails(*error)},
                        {});
      }
      return;
    }
    controller().loadStringsInBackground([self] {
      self->reloadWindowStrings();
      self->changed();
      self->hideLoadingWithSuccess(true);
    });
  });
}

void KVActionsPopup::reloadWindowStrings() {
  if (editionController_) editionController_->updateViewStringsFromFile();
  if (const auto host = kv_toolHost()) host->stringsDidChange();
}

void KVActionsPopup::changesWereSaved(const std::u16string& summary) {
  sendSummary_ = summary;
  if (const auto host = kv_toolHost()) host->popToToolScreen(*this);
  changed();
  // A pull throws away what is on the device: what could not be sent stays there for the next
  // try instead.
  if (unsavedChanges() == 0) pull();
}

std::u16string KVActionsPopup::versionText() const {
  const auto appVersion =
      Platform::current().mainBundle().infoString("CFBundleShortVersionString").value_or("");
  return toUtf16("App Version: " + appVersion + "\nSDK version: " + kKolvaneVersion +
                 "\nProject ID: " + controller().appId().value_or(""));
}

void KVActionsPopup::close() {
  if (const auto host = kv_toolHost()) host->dismissToolScreens({});
}

}  // namespace kolvane
