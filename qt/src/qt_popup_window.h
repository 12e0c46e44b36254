// The tool's popup window: a title bar (a back or left button, the title with its loading
// indicator, Close) over a stack of screens, pushed and popped as the models ask. Each screen
// gets a view drawn from its model. Main thread.
#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <vector>

#include "kolvane/edition_screen.h"
#include "kolvane/tool_screens.h"

class QLabel;
class QMessageBox;
class QProgressBar;
class QPushButton;
class QStackedWidget;

namespace kolvane::qt {

class PopupWindow : public QDialog {
 public:
  explicit PopupWindow(QWidget* over);
  ~PopupWindow() override;

  void push(const std::shared_ptr<KVToolScreen>& screen);
  void pop();
  void popTo(const KVToolScreen& screen);
  // The screen on top, or none.
  std::shared_ptr<KVToolScreen> top() const;
  QWidget* topView() const;
  QPushButton* backButton() const { return back_; }
  QPushButton* closeButton() const { return close_; }
  void reject() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool event(QEvent* event) override;

 private:
  struct Entry {
    std::shared_ptr<KVToolScreen> screen;
    QWidget* view = nullptr;
  };
  void refreshBar();
  void removeTop();

  std::vector<Entry> entries_;
  QStackedWidget* stack_ = nullptr;
  QPushButton* back_ = nullptr;
  QLabel* title_ = nullptr;
  QProgressBar* loading_ = nullptr;
  QLabel* loadingResult_ = nullptr;
  QPushButton* close_ = nullptr;
};

// The title bar of every tool window: a title and a close button.
void setToolWindowFlags(QWidget* window);
// Centres `tool` over the app's window `over` (the screen when none) at its own size, fully on
// the screen.
void placeToolWindow(QWidget* tool, QWidget* over);
// Opens `box` with the alert's technical details behind a "Details" button, when it has some.
void openWithDetails(QMessageBox* box, const KVAlert& alert);
// Gives the keyboard back to `window` (the app's window a tool window was over), if still up.
void returnFocusTo(QWidget* window);

// Shows `alert` window-modal over `parent` (the app's window when none); `answer` gets the
// button's index, 0 for the cancel button.
void showAlert(QWidget* parent, const KVAlert& alert, std::function<void(std::size_t)> answer);

}  // namespace kolvane::qt
