// The list of the app's window's texts (KVWindowTextsScreen), in a window of its own beside the
// app's: filters by status and problem, the count of texts, and a row opens the edition screen
// for its strings. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>

#include "kolvane/tool_screens.h"

class QComboBox;
class QLabel;
class QTableWidget;

namespace kolvane::qt {

class WindowTextsWindow : public QWidget {
 public:
  WindowTextsWindow(std::shared_ptr<KVWindowTextsScreen> screen, QWidget* over);
  ~WindowTextsWindow() override;
  KVWindowTextsScreen& screen() const { return *screen_; }
  QTableWidget* table() const { return table_; }

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void refresh();
  void applyFilter();
  // Takes the window's texts again, once its layouts have run.
  void reload();

  std::shared_ptr<KVWindowTextsScreen> screen_;
  QLabel* summary_ = nullptr;
  QComboBox* status_ = nullptr;
  QComboBox* problem_ = nullptr;
  QTableWidget* table_ = nullptr;
  QPointer<QWidget> over_;  // the app's window whose texts are listed
};

// Draws a frame around `rect` (screen coordinates) for a moment, over everything.
void flashRect(const QRect& rect);

}  // namespace kolvane::qt
