#include "capture/edition_view_controller.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"
#include "base/utf.h"
#include "capture/capsules.h"
#include "capture/tool_host.h"
#include "capture/view_strings.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "kolvane/platform.h"
#include "strings/cues.h"

namespace kolvane {
namespace {

std::u16string validationMessage(std::size_t errors) {
  return u"Incorrect number of value placeholders for " + toUtf16(std::to_string(errors)) +
         u" string" + (errors == 1 ? u"" : u"s") + u".";
}

const KVWorkflowStep* currentStep() {
  return KVMainController::sharedInstance().workflowStep().get();
}

// One edition screen is open at a time; the menu gesture and logout leave it through Close.
std::weak_ptr<KVEditionViewController>& openScreen() {
  static std::weak_ptr<KVEditionViewController> screen;
  return screen;
}

}  // namespace

KVEditionScreen::~KVEditionScreen() = default;

std::u16string kv_statusText(unsigned status) {
  switch (status) {
    case KVStringStatusPublished:
      return u"Published";
    case KVStringStatusAccepted:
      return u"Accepted";
    case KVStringStatusRejected:
      return u"Rejected";
    case KVStringStatusUntranslated:
      return u"Untranslated";
    default:
      return u"Not reviewed";
  }
}

KVEditionViewController::KVEditionViewController(
    std::shared_ptr<KVEditionController> editionController)
    : editionController_(std::move(editionController)) {
  for (const auto& item : editionController_->items()) {
    PageState page;
    if (item.targetString) page.pluralFormNames = item.targetString->sortedPluralFormNames();
    pages_.push_back(std::move(page));
  }
  updateActions();
}

std::shared_ptr<KVEditionViewController>
KVEditionViewController::presentEditionViewWithStringsAndViews(
    const KVCaptures& captures, const std::shared_ptr<KVHostView>& view) {
  if (debugEnabled()) kvLog("Editing " + std::to_string(captures.size()) + " strings");
  auto controller = KVEditionController::editionControllerWithStrings(captures);
  if (!controller) return nullptr;
  controller->touchedView = view;
  auto screen = std::make_shared<KVEditionViewController>(std::move(controller));
  const auto host = kv_toolHost();
  const auto window = host ? host->keyWindow() : nullptr;
  if (window) {
    screen->windowEditionController_ =
        KVEditionController::editionControllerWithStrings(kolvaneStringsInSubviews(window));
    if (screen->windowEditionController_) screen->windowEditionController_->touchedView = window;
  }
  openScreen() = screen;
  if (host) host->presentEditionScreen(screen, view);
  return screen;
}

bool KVEditionViewController::closeOpenScreen() {
  const auto screen = openScreen().lock();
  if (!screen || screen->isClosed()) return true;
  screen->validate();
  return screen->isClosed();
}

std::size_t KVEditionViewController::pageCount() const { return pages_.size(); }

std::string KVEditionViewController::selectedPluralForm(std::size_t page) const {
  if (page >= pages_.size()) return {};
  const auto& target = editionController_->items()[page].targetString;
  const PageState& state = pages_[page];
  if (!target || !target->hasPlurals || state.selected >= state.pluralFormNames.size()) return {};
  return state.pluralFormNames[state.selected];
}

namespace {

// "English: " and the base store's form, its placeholders as written; else the source text
// the app's own catalogues were translated from.
std::u16string developmentTextOf(const std::string& key, const std::string& pluralFormName) {
  const KVMainController& controller = KVMainController::sharedInstance();
  const auto base = controller.baseLocaleStrings();
  if (!base) return {};
  auto form = base->kolvaneStringForKey(key, kv_pluralArgument(pluralFormName));
  if (!form) {
    const auto source = controller.appCatalogue().sourceGroupForKey(key);
    if (source) form = source->stringForPluralForm(kv_pluralArgument(pluralFormName), false);
  }
  if (!form) return {};
  // The language alone ("English"), not the menu's "English (International)".
  const Locale& language = base->locale();
  const auto name = Platform::current().textServices().languageDisplayName(language.languageCode());
  return toUtf16(name.value_or(language.localeIdentifier())) + u": " +
         kv_stringByRemovingCues(form->localizedFormat);
}

// The outermost placeholders' contents of a shown text, without cues: what the app put in.
std::vector<std::u16string> placeholderValuesIn(std::u16string_view shown) {
  std::vector<std::u16string> values;
  std::size_t depth = 0;
  std::u16string value;
  for (const char16_t c : shown) {
    if (c == kv_placeholderEndCue && depth > 0 && --depth == 0) {
      values.push_back(kv_stringByRemovingCues(value));
      value.clear();
      continue;
    }
    if (depth > 0) value += c;
    if (c == kv_placeholderBeginCue) ++depth;
  }
  return values;
}

}  // namespace

KVEditionPage KVEditionViewController::page(std::size_t index) const {
  KVEditionPage page;
  if (index >= pages_.size()) return page;
  const auto& item = editionController_->items()[index];
  const auto& target = item.targetString;
  const std::string name = selectedPluralForm(index);
  const KVWorkflowStep* step = currentStep();
  page.editable = step != nullptr && step->canTranslate;
  if (!target) return page;
  page.key = target->key;
  page.status = kv_statusText(target->status);
  if (target->hasPlurals) page.pluralFormNames = pages_[index].pluralFormNames;
  page.selectedPluralForm = pages_[index].selected;
  // The page has no source group of its own, so the source line shows the stored translation.
  const auto form = target->stringForPluralForm(kv_pluralArgument(name), true);
  if (form) {
    page.sourceText = kv_stringWithCapsules(*form, kKVSourceCapsuleSize, false);
    if (target->hasPlurals) page.pluralNote = form->note;
  }
  if (const auto typed = item.edited.find(name); typed != item.edited.end()) {
    page.fieldText = typed->second;
  } else if (form) {
    page.fieldText = kv_stringWithCapsules(*form, kKVFieldCapsuleSize, true);
  }
  page.developmentText = developmentTextOf(target->key, name);
  if (item.viewStrings) {
    for (const KVEditionItem& shown : item.viewStrings->orderedFirstLevelStrings()) {
      if (shown.targetString && shown.targetString->key == target->key) {
        page.placeholderValues = placeholderValuesIn(shown.string);
      }
    }
  }
  return page;
}

std::u16string KVEditionViewController::capsuleTip(std::size_t index,
                                                   std::u16string_view placeholder,
                                                   std::size_t rank) const {
  std::u16string tip(placeholder);
  if (index >= pages_.size()) return tip;
  const KVEditionPage shown = page(index);
  const auto& target = editionController_->items()[index].targetString;
  const auto form =
      target ? target->stringForPluralForm(kv_pluralArgument(selectedPluralForm(index)), true)
             : nullptr;
  if (!form) return tip;
  // The values stand in the order of the stored format's placeholders; each belongs to the
  // argument its specifier names, wherever the reviewer moved the capsule.
  const std::size_t wanted = kv_argumentIndexOfSpecifier(placeholder, rank);
  std::size_t at = 0;
  kv_forEachPlaceholder(form->localizedFormat, [&](std::u16string_view specifier) {
    const std::size_t argument = kv_argumentIndexOfSpecifier(specifier, at);
    if (argument == wanted && at < shown.placeholderValues.size() &&
        tip.size() == placeholder.size()) {
      tip += u" = " + shown.placeholderValues[at];
    }
    ++at;
  });
  return tip;
}

void KVEditionViewController::scrollViewDidScroll(double offset, double width) {
  if (!(width > 0) || !std::isfinite(offset) || !std::isfinite(width)) return;
  const double page = std::floor((offset + width / 2) / width);
  currentPage_ = page <= 0 ? 0 : static_cast<std::size_t>(std::min(page, 1e9));
  updateActions();
  changed();
}

void KVEditionViewController::changePluralForm(std::size_t page, std::size_t index) {
  if (page >= pages_.size()) return;
  pages_[page].selected = index;
  changed();
}

void KVEditionViewController::textViewDidChange(std::size_t page, const KVAttributedText& text) {
  if (page >= pages_.size()) return;
  auto& item = editionController_->items()[page];
  item.edited[selectedPluralForm(page)] = text;
  // Editing a reviewed string makes it unreviewed again.
  if (item.targetString && item.targetString->status != KVStringStatusNone) {
    setStatus(page, KVStringStatusNone);
    updateActions();
  }
  changed();
}

void KVEditionViewController::setStatus(std::size_t page, unsigned status) {
  auto& target = editionController_->items()[page].targetString;
  if (!target) return;
  std::shared_ptr<const KVStringGroup> published;
  if (const auto shown = KVMainController::sharedInstance().localeStrings()) {
    published = shown->setReviewStatus(target->key, status, target.get());
  }
  if (!published || published->status != status) {
    // Without a shown store the decision stays on the page alone.
    auto copy = target->copy();
    copy->status = status;
    published = std::move(copy);
  }
  target = std::move(published);
}

void KVEditionViewController::rememberRejection(std::size_t page, const std::string& reason,
                                                const std::u16string& description) {
  auto& target = editionController_->items()[page].targetString;
  if (!target) return;
  // The decision the review of changes sends carries the reason; what lookups read is not
  // written again.
  auto decided = target->copy();
  for (const auto& [name, form] : decided->pluralForms) form->group = decided;
  decided->rejectReason = toUtf16(reason);
  decided->rejectDescription = description;
  if (const auto shown = KVMainController::sharedInstance().localeStrings()) {
    shown->rejectedStrings()[decided->key] = decided;
  }
  target = std::move(decided);
}

void KVEditionViewController::updateActions() {
  acceptEnabled_ = rejectEnabled_ = false;
  if (currentPage_ >= pages_.size()) return;
  const auto& target = editionController_->items()[currentPage_].targetString;
  const KVWorkflowStep* step = currentStep();
  const bool unreviewed = target && target->status == KVStringStatusNone;
  acceptEnabled_ = step != nullptr && step->canSubmit && unreviewed;
  rejectEnabled_ = step != nullptr && step->canReject && unreviewed;
}

void KVEditionViewController::accept() {
  if (currentPage_ < pages_.size() && editionController_->items()[currentPage_].targetString) {
    setStatus(currentPage_, KVStringStatusAccepted);
  }
  updateActions();
  changed();
}

void KVEditionViewController::reject() {
  if (const auto host = kv_toolHost()) host->askRejectReason(shared_from_this());
}

void KVEditionViewController::rejectReasonWasGiven(const std::string& reason,
                                                   const std::u16string& description) {
  if (currentPage_ < pages_.size()) {
    setStatus(currentPage_, KVStringStatusRejected);
    rememberRejection(currentPage_, reason, description);
  }
  updateActions();
  changed();
}

void KVEditionViewController::validate() {
  const std::size_t errors = editionController_->validateStrings();
  if (errors >= 1) {
    // Closing the alert keeps what was typed: only "Cancel changes" throws it away.
    alert_ = KVAlert{u"Validation error",
                     validationMessage(errors),
                     u"Keep editing",
                     {u"Cancel changes"},
                     0,
                     {}};
    changed();
    return;
  }
  editionController_->saveStrings();
  if (windowEditionController_) windowEditionController_->updateViewStringsFromFile();
  close(true);
  if (const auto host = kv_toolHost()) host->stringsDidChange();
}

void KVEditionViewController::alertButtonClicked(std::size_t button) {
  if (!alert_) return;
  if (button == 1) return close(true);
  keepEditing();
}

void KVEditionViewController::keepEditing() {
  alert_.reset();
  const auto& mismatches = editionController_->mismatches();
  // The page in view when it failed (its selected form when that failed), else the first page
  // that failed.
  const auto nearness = [this](const KVEditionController::Mismatch& mismatch) {
    if (mismatch.item != currentPage_) return 0;
    return mismatch.pluralForm == selectedPluralForm(currentPage_) ? 2 : 1;
  };
  const auto failing = std::max_element(
      mismatches.begin(), mismatches.end(),
      [&nearness](const auto& a, const auto& b) { return nearness(a) < nearness(b); });
  if (failing != mismatches.end()) showPage(failing->item, failing->pluralForm);
  updateActions();
  changed();
}

void KVEditionViewController::showPage(std::size_t page, const std::string& pluralForm) {
  if (page >= pages_.size()) return;
  currentPage_ = page;
  const auto& names = pages_[page].pluralFormNames;
  const auto found = std::find(names.begin(), names.end(), pluralForm);
  if (found != names.end()) pages_[page].selected = static_cast<std::size_t>(found - names.begin());
}

void KVEditionViewController::close(bool animated) {
  alert_.reset();
  closed_ = true;
  if (const auto host = kv_toolHost()) host->dismissEditionScreens(animated);
  changed();
}

void KVEditionViewController::setChangeHandler(std::function<void()> handler) {
  changeHandler_ = std::move(handler);
}

void KVEditionViewController::changed() const {
  if (changeHandler_) changeHandler_();
}

}  // namespace kolvane
