// The demo's window: an inbox with a menu, a title built from two strings, a plural count,
// buttons with tooltips, a search field, tabs, a table with a header, and a help text. Every text
// is looked up through Qt's translation calls, and looked up again when the language changes.
#pragma once

#include <QMainWindow>
#include <QPointer>

class QAction;
class QLabel;
class QMenu;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QTableWidget;
class QTextEdit;

class InboxWindow : public QMainWindow {
 public:
  InboxWindow();
  QLabel* titleLabel() const { return title_; }
  QLabel* subtitleLabel() const { return subtitle_; }
  QLabel* countLabel() const { return count_; }
  QLabel* discountLabel() const { return discount_; }
  QLabel* termsLabel() const { return terms_; }
  QPushButton* composeButton() const { return compose_; }
  // Opens the message of `row` in a window of its own (as a double click on it does): the
  // sender's own words, with nothing to translate. The window, while it is open.
  QWidget* openMessage(int row);
  void closeMessage() {
    if (message_) message_->close();
  }

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void retranslate();

  QMenu* mailbox_ = nullptr;
  QAction* composeAction_ = nullptr;
  QAction* refreshAction_ = nullptr;
  QLabel* title_ = nullptr;
  QLabel* subtitle_ = nullptr;
  QLabel* count_ = nullptr;
  QPushButton* compose_ = nullptr;
  QPushButton* refresh_ = nullptr;
  QLineEdit* search_ = nullptr;
  QTabWidget* tabs_ = nullptr;
  QTableWidget* messages_ = nullptr;
  QLabel* sentEmpty_ = nullptr;
  QLabel* draftsEmpty_ = nullptr;
  QTextEdit* help_ = nullptr;
  QLabel* discount_ = nullptr;
  QLabel* terms_ = nullptr;
  QPointer<QWidget> message_;
};
