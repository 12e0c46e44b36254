// The actions popup: the tool's main menu. Account, language and workflow step (grouped from
// the project's workflows), the latest text, and the changes to review and send. Main thread
// only.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/workflow_step.h"
#include "kolvane/edition_screen.h"
#include "kolvane/locale.h"
#include "kolvane/tool_screens.h"
#include "kolvane/window_capture.h"
#include "server/session.h"
#include "tool-ui/review_view_controller.h"

namespace kolvane {

class KVEditionController;

// The alerts the popup asks; only their second button ("Yes", "Log Out") acts.
enum KVActionsAlertTag : int {
  kKVAlertTagPull = 2,
  kKVAlertTagChangeLanguage = 3,
  kKVAlertTagChangeWorkflowStep = 4,
  kKVAlertTagLogOut = 5,
};

class KVActionsPopup : public KVActionsMenu,
                       public KVReviewDelegate,
                       public std::enable_shared_from_this<KVActionsPopup> {
 public:
  using Choices = std::map<std::string, KVWorkflowSteps>;

  // Makes the popup for the key window's strings (refreshed after new text arrives) and
  // presents it.
  static std::shared_ptr<KVActionsPopup> show();

  std::u16string title() const override { return u"Kolvane"; }
  void viewDidLoad() override { reload(); }
  std::vector<KVMenuSection> sections() const override;
  void selectRow(std::size_t section, std::size_t row) override;
  std::u16string versionText() const override;
  void close() override;

  void reload();
  void groupWorkflowsByLocale(const KVWorkflowSteps& steps);
  std::size_t unsavedChanges() const;
  void setLocale(const Locale& locale);
  void setWorkflowStep(std::shared_ptr<const KVWorkflowStep> step);
  std::vector<std::string> sourceLocaleIds() const;
  std::vector<std::string> targetLocaleIds() const;
  // The steps covering the shown locale: as a target first, then as a source.
  KVWorkflowSteps workflowStepChoices() const;
  void changesWereSaved(const std::u16string& summary) override;
  void askConfirmationForRow(std::size_t row);
  void changeLocale();
  void changeWorkflow();
  void pull();
  void reloadWindowStrings();
  void alertButtonClicked(int tag, std::size_t button);

  bool isLoading() const { return isLoading_; }
  const Choices& sourceLocaleChoices() const { return sourceLocaleChoices_; }
  const Choices& targetLocaleChoices() const { return targetLocaleChoices_; }

 private:
  KVMenuSection accountSection() const;
  KVMenuSection translationSection() const;
  KVMenuSection latestTextSection() const;
  KVMenuSection saveSection() const;
  // The texts of the app's window: the list of them, with their count.
  KVMenuSection windowSection() const;
  std::size_t windowSectionIndex() const;
  // The list of the window's texts, one of the two switches, or a capture of the window.
  void selectWindowRow(std::size_t row);
  void captureWindow();
  void captureWasDelivered(const KVCaptureDelivery& delivery);
  void ask(KVAlert alert);
  // Unsent changes are kept on the device over a logout, and the reviewer is asked first.
  void askLogOut();
  void logOut();

  std::shared_ptr<KVEditionController> editionController_;
  bool isLoading_ = false;
  bool pulling_ = false;          // the latest text is on its way
  std::u16string sendSummary_;    // what the last sending did, shown under "Save My Changes"
  std::u16string windowTexts_;    // the count of the window's texts and their problems
  bool capturing_ = false;        // a capture of the window is on its way to the server
  std::u16string captureDetail_;  // what became of the last capture
  Choices sourceLocaleChoices_;
  Choices targetLocaleChoices_;
};

}  // namespace kolvane
