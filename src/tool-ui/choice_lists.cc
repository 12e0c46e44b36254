#include "tool-ui/choice_lists.h"

#include "base/server_text.h"
#include "base/utf.h"
#include "capture/tool_host.h"
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "tool-ui/actions_popup.h"

namespace kolvane {
namespace {

std::string shownLocaleId() {
  const auto& store = KVMainController::sharedInstance().localeStrings();
  return store ? store->locale().localeIdentifier() : std::string();
}

// The popup reloads its menu as the list closes.
void closeList() {
  if (const auto host = kv_toolHost()) host->popToolScreen();
}

}  // namespace

KVLocaleChoiceList::KVLocaleChoiceList(std::shared_ptr<KVActionsPopup> popup)
    : popup_(std::move(popup)) {}

void KVLocaleChoiceList::viewDidLoad() {
  popup_->reload();
  changed();
}

std::vector<std::string> KVLocaleChoiceList::idsOf(std::size_t section) const {
  return section == 0 ? popup_->targetLocaleIds() : popup_->sourceLocaleIds();
}

std::vector<KVChoiceScreen::Section> KVLocaleChoiceList::choiceSections() const {
  std::vector<Section> sections = {{u"Translations", {}, {}}, {u"Source", {}, {}}};
  const std::string shown = shownLocaleId();
  for (std::size_t section = 0; section < sections.size(); ++section) {
    for (const std::string& id : idsOf(section)) {
      if (id == shown) sections[section].chosen = sections[section].items.size();
      sections[section].items.push_back(kv_shownServerText(kv_localizedLanguageName(Locale(id))));
    }
  }
  return sections;
}

void KVLocaleChoiceList::choose(std::size_t section, std::size_t item) {
  const auto ids = idsOf(section);
  if (item >= ids.size()) return;
  popup_->setLocale(Locale(ids[item]));
  closeList();
}

KVWorkflowStepChoiceList::KVWorkflowStepChoiceList(std::shared_ptr<KVActionsPopup> popup)
    : popup_(std::move(popup)) {}

std::vector<KVChoiceScreen::Section> KVWorkflowStepChoiceList::choiceSections() const {
  Section steps;
  const auto& current = KVMainController::sharedInstance().workflowStep();
  for (const auto& step : popup_->workflowStepChoices()) {
    if (current && step->uid == current->uid) steps.chosen = steps.items.size();
    steps.items.push_back(kv_shownServerText(step->name) + u" (" +
                          kv_shownServerText(step->workflowName) + u")");
  }
  return {steps};
}

void KVWorkflowStepChoiceList::choose(std::size_t section, std::size_t item) {
  const auto steps = popup_->workflowStepChoices();
  if (section != 0 || item >= steps.size()) return;
  popup_->setWorkflowStep(steps[item]);
  closeList();
}

}  // namespace kolvane
