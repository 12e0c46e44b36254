// The two lists the actions popup opens: the languages of the project's workflows, and the
// workflow steps covering the shown language. A choice goes to the popup, then the list
// closes. Main thread only.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kolvane/tool_screens.h"

namespace kolvane {

class KVActionsPopup;

class KVLocaleChoiceList : public KVChoiceScreen {
 public:
  explicit KVLocaleChoiceList(std::shared_ptr<KVActionsPopup> popup);
  std::u16string title() const override { return u"Language"; }
  // The popup reloads the project's workflows when this list is made.
  void viewDidLoad() override;
  // Languages to translate into first, then source languages.
  std::vector<Section> choiceSections() const override;
  void choose(std::size_t section, std::size_t item) override;

 private:
  std::vector<std::string> idsOf(std::size_t section) const;

  std::shared_ptr<KVActionsPopup> popup_;
};

class KVWorkflowStepChoiceList : public KVChoiceScreen {
 public:
  explicit KVWorkflowStepChoiceList(std::shared_ptr<KVActionsPopup> popup);
  std::u16string title() const override { return u"Workflow step"; }
  std::vector<Section> choiceSections() const override;
  void choose(std::size_t section, std::size_t item) override;

 private:
  std::shared_ptr<KVActionsPopup> popup_;
};

}  // namespace kolvane
