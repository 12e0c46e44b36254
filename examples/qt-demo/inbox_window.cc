#include "inbox_window.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTextBrowser>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {

constexpr int kUnread = 3;

QLabel* emptyPage(QTabWidget* tabs, QLabel** label) {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  *label = new QLabel(page);
  (*label)->setAlignment(Qt::AlignCenter);
  (*label)->setStyleSheet("color: #8e8e93;");
  layout->addWidget(*label);
  tabs->addTab(page, QString());
  return *label;
}

}  // namespace

InboxWindow::InboxWindow() {
  mailbox_ = menuBar()->addMenu(QString());
  composeAction_ = mailbox_->addAction(QString());
  refreshAction_ = mailbox_->addAction(QString());
  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  title_ = new QLabel(central);
  title_->setStyleSheet("font-size: 22pt; font-weight: bold;");
  subtitle_ = new QLabel(central);
  count_ = new QLabel(central);
  count_->setStyleSheet("color: #2ca5c8;");
  layout->addWidget(title_);
  layout->addWidget(subtitle_);
  layout->addWidget(count_);

  auto* actions = new QHBoxLayout;
  compose_ = new QPushButton(central);
  refresh_ = new QPushButton(central);
  search_ = new QLineEdit(central);
  actions->addWidget(compose_);
  actions->addWidget(refresh_);
  actions->addWidget(search_, 1);
  layout->addLayout(actions);

  tabs_ = new QTabWidget(central);
  messages_ = new QTableWidget(2, 2, tabs_);
  messages_->horizontalHeader()->setStretchLastSection(true);
  messages_->verticalHeader()->hide();
  // The senders' names are data: the list of the window's texts does not count them as texts
  // left untranslated.
  messages_->setProperty("kolvaneNotTranslatable", true);
  messages_->setItem(0, 0, new QTableWidgetItem("Ann Lee"));
  messages_->setItem(1, 0, new QTableWidgetItem("Bob Marchand"));
  messages_->setItem(0, 1, new QTableWidgetItem);
  messages_->setItem(1, 1, new QTableWidgetItem);
  messages_->setHorizontalHeaderItem(0, new QTableWidgetItem);
  messages_->setHorizontalHeaderItem(1, new QTableWidgetItem);
  tabs_->addTab(messages_, QString());
  connect(messages_, &QTableWidget::cellDoubleClicked, this, [this](int row) { openMessage(row); });
  emptyPage(tabs_, &sentEmpty_);
  emptyPage(tabs_, &draftsEmpty_);
  layout->addWidget(tabs_, 1);

  help_ = new QTextEdit(central);
  help_->setReadOnly(true);
  help_->setMaximumHeight(60);
  layout->addWidget(help_);
  auto* footer = new QHBoxLayout;
  discount_ = new QLabel(central);
  terms_ = new QLabel(central);
  footer->addWidget(discount_);
  footer->addStretch();
  footer->addWidget(terms_);
  layout->addLayout(footer);

  setCentralWidget(central);
  resize(640, 520);
  retranslate();
}

QWidget* InboxWindow::openMessage(int row) {
  // What the senders wrote: user content, shown as it came.
  static const char* const kBodies[] = {
      "Hi! Your order 4471 left our warehouse this morning and should arrive on Thursday.",
      "Lunch at noon on Friday at the usual place? Reply by Thursday, please."};
  if (row < 0 || row >= messages_->rowCount()) return nullptr;
  if (message_) message_->close();
  auto* body = new QTextBrowser;
  body->setAttribute(Qt::WA_DeleteOnClose);
  body->setWindowTitle(messages_->item(row, 0)->text());
  body->setPlainText(QString::fromUtf8(kBodies[row % 2]));
  body->resize(380, 160);
  body->move(geometry().topLeft() + QPoint(40, 120));
  body->show();
  message_ = body;
  return body;
}

void InboxWindow::changeEvent(QEvent* event) {
  if (event->type() == QEvent::LanguageChange) retranslate();
  QMainWindow::changeEvent(event);
}

void InboxWindow::retranslate() {
  setWindowTitle(qtTrId("app.name"));
  // The app's name is a string of its own, nested in the title.
  title_->setText(qtTrId("welcome.title").arg(qtTrId("app.name")));
  subtitle_->setText(qtTrId("welcome.subtitle"));
  count_->setText(qtTrId("inbox.count", kUnread));
  mailbox_->setTitle(qtTrId("menu.mailbox"));
  composeAction_->setText(qtTrId("action.compose"));
  composeAction_->setStatusTip(qtTrId("action.compose.tip"));
  refreshAction_->setText(qtTrId("action.refresh"));
  refreshAction_->setStatusTip(qtTrId("action.refresh.tip"));
  compose_->setText(qtTrId("action.compose"));
  compose_->setToolTip(qtTrId("action.compose.tip"));
  refresh_->setText(qtTrId("action.refresh"));
  refresh_->setToolTip(qtTrId("action.refresh.tip"));
  search_->setPlaceholderText(qtTrId("search.placeholder"));
  tabs_->setTabText(0, qtTrId("tab.inbox"));
  tabs_->setTabText(1, qtTrId("tab.sent"));
  tabs_->setTabText(2, qtTrId("tab.drafts"));
  messages_->horizontalHeaderItem(0)->setText(qtTrId("column.from"));
  messages_->horizontalHeaderItem(1)->setText(qtTrId("column.subject"));
  messages_->item(0, 1)->setText(qtTrId("message.shipped"));
  messages_->item(1, 1)->setText(qtTrId("message.lunch"));
  sentEmpty_->setText(qtTrId("sent.empty"));
  draftsEmpty_->setText(qtTrId("drafts.empty"));
  help_->setPlainText(qtTrId("help.text"));
  discount_->setText(qtTrId("discount.label").arg("20%"));
  terms_->setText(qtTrId("terms.link"));
}
