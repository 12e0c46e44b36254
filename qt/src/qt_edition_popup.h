// The edition screen drawn with Qt Widgets: a window over the app's window with the pages side
// by side (a page indicator below), each with the key and status, the plural chooser, the
// source text and the editable text with capsules; Accept, Reject and Close above them. It
// only draws its model and forwards the reviewer's input to it. Main thread.
#pragma once

#include <QDialog>
#include <QPointer>
#include <memory>
#include <vector>

#include "kolvane/edition_screen.h"

class QLabel;
class QPushButton;
class QScrollArea;
class QTextEdit;

namespace kolvane::qt {

class CapsuleTextEdit;
class PageIndicator;

class EditionPopup : public QDialog {
 public:
  EditionPopup(std::shared_ptr<KVEditionScreen> screen, QWidget* over);
  ~EditionPopup() override;

  KVEditionScreen& screen() { return *screen_; }
  QPushButton* acceptButton() const { return accept_; }
  QPushButton* rejectButton() const { return reject_; }
  QPushButton* closeButton() const { return close_; }
  CapsuleTextEdit* field(std::size_t page) const;
  // Shows `page` (the scroll area moves to it).
  void showPage(std::size_t page);
  // Closes the window without asking the model (when the tool itself goes away).
  void dismiss();
  // Escape and the window's close button leave as "Close" does: the typed texts are saved,
  // or the validation alert keeps the window open.
  void reject() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  // Opens with the caret at the end of the page's editable text.
  void showEvent(QShowEvent* event) override;

 private:
  struct PageWidgets {
    QWidget* page = nullptr;
    QLabel* status = nullptr;
    QLabel* pluralNote = nullptr;
    QTextEdit* source = nullptr;
    QLabel* development = nullptr;
    CapsuleTextEdit* field = nullptr;
    std::vector<QPushButton*> pluralButtons;
  };
  QWidget* makeBar();
  // Ctrl+Enter closes and saves; Ctrl+PageDown/PageUp and Alt+Right/Left turn the page.
  void addKeyboardShortcuts();
  // The current page's field with the caret at its end, or Close when it is read-only.
  void focusField();
  PageWidgets makePage(std::size_t index);
  void fillTexts(std::size_t index);
  void refresh();
  // Brings the page and plural form the model shows into view, when the model moved them.
  void followModelPage();
  void showAlert(const KVAlert& alert);

  std::shared_ptr<KVEditionScreen> screen_;
  QPushButton* accept_ = nullptr;
  QPushButton* reject_ = nullptr;
  QPushButton* close_ = nullptr;
  QScrollArea* scroll_ = nullptr;
  PageIndicator* indicator_ = nullptr;
  std::vector<PageWidgets> pages_;
  bool filling_ = false;
  bool alertShown_ = false;
  bool dismissing_ = false;
};

}  // namespace kolvane::qt
