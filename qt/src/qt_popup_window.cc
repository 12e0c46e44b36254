#include "qt_popup_window.h"

#include <QApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QShowEvent>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "kolvane/edition_screen.h"
#include "qt_tool_screens.h"
#include "qt_views.h"

namespace kolvane::qt {

PopupWindow::PopupWindow(QWidget* over) : QDialog(over) {
  QPointer<QWidget> returnTo = over;
  markAsKolvaneWindow(this);
  setWindowTitle(QStringLiteral("Kolvane"));
  setWindowModality(Qt::WindowModal);
  setToolWindowFlags(this);
  // Its own size, whatever the app's window: the actions never hide behind a scroll bar.
  setMinimumSize(360, 480);
  resize(440, 600);
  auto* layout = new QVBoxLayout(this);
  auto* bar = new QHBoxLayout;
  back_ = new QPushButton(this);
  title_ = new QLabel(this);
  title_->setAlignment(Qt::AlignCenter);
  QFont bold = title_->font();
  bold.setBold(true);
  title_->setFont(bold);
  loading_ = new QProgressBar(this);
  loading_->setRange(0, 0);  // busy
  loading_->setMaximumWidth(48);
  loading_->setTextVisible(false);
  loadingResult_ = new QLabel(this);
  close_ = new QPushButton(QStringLiteral("Close"), this);
  bar->addWidget(back_);
  bar->addStretch();
  bar->addWidget(title_);
  bar->addWidget(loading_);
  bar->addWidget(loadingResult_);
  bar->addStretch();
  bar->addWidget(close_);
  layout->addLayout(bar);
  stack_ = new QStackedWidget(this);
  layout->addWidget(stack_, 1);
  connect(back_, &QPushButton::clicked, this, [this] {
    if (entries_.empty()) return;
    // A screen's own left button ("Cancel") replaces the way back.
    const auto screen = entries_.back().screen;
    if (!screen->leftButtonTitle().empty()) return screen->leftButtonTapped();
    pop();
  });
  connect(close_, &QPushButton::clicked, this, &QDialog::reject);
  // Enter belongs to the screen's own rows and lists, never to the bar.
  back_->setAutoDefault(false);
  close_->setAutoDefault(false);
  connect(this, &QDialog::finished, this, [returnTo] { returnFocusTo(returnTo); });
  refreshBar();
}

void PopupWindow::keyPressEvent(QKeyEvent* event) {
  // Escape goes back a screen as the back button does; on the first screen it closes.
  if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier &&
      back_->isVisible()) {
    back_->click();
    return;
  }
  QDialog::keyPressEvent(event);
}

void PopupWindow::reject() {
  // Leaving a screen that has its own "Cancel" (the login) goes through it, so whoever waits
  // for the screen hears it was cancelled.
  const auto screen = top();
  if (screen && !screen->leftButtonTitle().empty() && entries_.size() == 1) {
    return screen->leftButtonTapped();
  }
  QDialog::reject();
}

void PopupWindow::showEvent(QShowEvent* event) {
  placeToolWindow(this, parentWidget());
  QDialog::showEvent(event);
  // The screen's own rows have the keyboard, not the bar: a focus asked for while the window
  // was hidden is not kept by every platform.
  if (QWidget* view = topView()) view->setFocus(Qt::OtherFocusReason);
}

bool PopupWindow::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate && focusWidget() == nullptr && topView()) {
    topView()->setFocus(Qt::ActiveWindowFocusReason);
  }
  return QDialog::event(event);
}

PopupWindow::~PopupWindow() {
  for (const Entry& entry : entries_) entry.screen->setChangeHandler({});
}

void PopupWindow::push(const std::shared_ptr<KVToolScreen>& screen) {
  QWidget* view = makeScreenView(screen, this);
  entries_.push_back({screen, view});
  stack_->addWidget(view);
  stack_->setCurrentWidget(view);
  view->setFocus(Qt::OtherFocusReason);
  screen->setChangeHandler([this, view] {
    refreshBar();
    refreshScreenView(view);
  });
  refreshBar();
  screen->viewDidLoad();
}

void PopupWindow::removeTop() {
  Entry entry = entries_.back();
  entries_.pop_back();
  entry.screen->setChangeHandler({});
  stack_->removeWidget(entry.view);
  entry.view->deleteLater();
}

void PopupWindow::pop() {
  if (entries_.size() <= 1) return;
  removeTop();
  stack_->setCurrentWidget(entries_.back().view);
  entries_.back().view->setFocus(Qt::OtherFocusReason);
  refreshScreenView(entries_.back().view);
  refreshBar();
}

void PopupWindow::popTo(const KVToolScreen& screen) {
  while (entries_.size() > 1 && entries_.back().screen.get() != &screen) removeTop();
  stack_->setCurrentWidget(entries_.back().view);
  entries_.back().view->setFocus(Qt::OtherFocusReason);
  refreshScreenView(entries_.back().view);
  refreshBar();
}

std::shared_ptr<KVToolScreen> PopupWindow::top() const {
  return entries_.empty() ? nullptr : entries_.back().screen;
}

QWidget* PopupWindow::topView() const { return entries_.empty() ? nullptr : entries_.back().view; }

void PopupWindow::refreshBar() {
  const auto screen = top();
  const std::u16string left = screen ? screen->leftButtonTitle() : std::u16string();
  back_->setText(left.empty() ? QStringLiteral("‹ Back") : QString::fromStdU16String(left));
  back_->setVisible(!left.empty() || entries_.size() > 1);
  const QString title = screen ? QString::fromStdU16String(screen->title()) : QString();
  title_->setText(title);
  setWindowTitle(title.isEmpty() || title == QLatin1String("Kolvane")
                     ? QStringLiteral("Kolvane")
                     : QStringLiteral("Kolvane \u2014 ") + title);
  const KVTitleLoading loading = screen ? screen->titleLoading() : KVTitleLoading::idle;
  loading_->setVisible(loading == KVTitleLoading::loading);
  loadingResult_->setText(loading == KVTitleLoading::succeeded ? QStringLiteral("✓")
                          : loading == KVTitleLoading::failed  ? QStringLiteral("✕")
                                                               : QString());
}

void setToolWindowFlags(QWidget* window) {
  // A dialog with a title and a close button only: nothing to minimise or maximise (a window
  // manager may still add buttons of its own: openbox ignores the ones a window asks for).
  window->setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                         Qt::WindowCloseButtonHint);
}

void placeToolWindow(QWidget* tool, QWidget* over) {
  QScreen* screen = over != nullptr ? over->screen() : tool->screen();
  if (screen == nullptr) return;
  const QRect available = screen->availableGeometry();
  // The window manager's frame counts: it is on the screen too (none before the first show).
  const QSize frame = tool->frameGeometry().size() - tool->size();
  tool->resize(tool->size().boundedTo(available.size() - frame));
  const QSize size = tool->size() + frame;
  // Over the middle of the app's window (or of the screen), then pulled fully onto the screen.
  const QPoint centre =
      over != nullptr ? over->window()->frameGeometry().center() : available.center();
  QRect placed(centre - QPoint(size.width() / 2, size.height() / 2), size);
  placed.moveLeft(std::clamp(placed.left(), available.left(),
                             std::max(available.left(), available.right() - size.width())));
  placed.moveTop(std::clamp(placed.top(), available.top(),
                            std::max(available.top(), available.bottom() - size.height())));
  tool->move(placed.topLeft());
}

void openWithDetails(QMessageBox* box, const KVAlert& alert) {
  if (!alert.details.empty()) box->setDetailedText(QString::fromStdU16String(alert.details));
  // Wide enough for its title and a line of text (no "Erro…ngs"): a spacer across the box's
  // grid, added last as the box lays itself out again when its parts change. A minimum width
  // on its labels widened the empty icon label too, and on a small screen the box, held to
  // Qt's maximum width, cut its text off at the edge.
  if (auto* grid = qobject_cast<QGridLayout*>(box->layout())) {
    grid->addItem(new QSpacerItem(340, 0, QSizePolicy::Minimum, QSizePolicy::Fixed),
                  grid->rowCount(), 0, 1, grid->columnCount());
  }
  box->open();
  if (alert.details.empty()) return;
  // Qt's own button (there once the box is shown) says "Show Details..."; the technical cause
  // is one "Details" away.
  for (QAbstractButton* button : box->buttons()) {
    if (box->buttonRole(button) == QMessageBox::ActionRole) {
      button->setText(QStringLiteral("Details"));
    }
  }
}

void returnFocusTo(QWidget* window) {
  // With a window manager the app's window is activated again; without one it still gets the
  // keyboard, so Ctrl+Alt+K works at once.
  if (window == nullptr || !window->isVisible()) return;
  window = window->window();
  window->activateWindow();
  if (QApplication::activeWindow() == nullptr) QApplication::setActiveWindow(window);
}

void showAlert(QWidget* parent, const KVAlert& alert, std::function<void(std::size_t)> answer) {
  auto* box = new QMessageBox(parent);
  markAsKolvaneWindow(box);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setWindowModality(parent != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
  box->setWindowTitle(QString::fromStdU16String(alert.title));
  // A message may carry a server's text: shown as it is, never as markup.
  box->setTextFormat(Qt::PlainText);
  box->setText(QString::fromStdU16String(alert.title));
  box->setInformativeText(Qt::convertFromPlainText(QString::fromStdU16String(alert.message)));
  std::vector<QAbstractButton*> buttons = {
      box->addButton(QString::fromStdU16String(alert.cancelButtonTitle), QMessageBox::RejectRole)};
  for (const auto& title : alert.otherButtonTitles) {
    buttons.push_back(box->addButton(QString::fromStdU16String(title), QMessageBox::AcceptRole));
  }
  // Enter and Escape both take the cancel button: nothing is thrown away by accident.
  box->setDefaultButton(static_cast<QPushButton*>(buttons.front()));
  box->setEscapeButton(buttons.front());
  QObject::connect(box, &QMessageBox::buttonClicked, box,
                   [buttons, answer = std::move(answer)](QAbstractButton* clicked) {
                     for (std::size_t index = 0; index < buttons.size(); ++index) {
                       if (buttons[index] == clicked && answer) answer(index);
                     }
                   });
  openWithDetails(box, alert);
}

}  // namespace kolvane::qt
