#include "qt_edition_popup.h"

#include <QButtonGroup>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QShowEvent>
#include <QVBoxLayout>
#include <algorithm>

#include "qt_capsules.h"
#include "qt_popup_window.h"
#include "qt_views.h"

namespace kolvane::qt {

// One dot per page, the current one filled; a click on a dot shows its page.
class PageIndicator : public QWidget {
 public:
  PageIndicator(std::size_t count, std::function<void(std::size_t)> onClick, QWidget* parent)
      : QWidget(parent), count_(count), onClick_(std::move(onClick)) {
    setFixedHeight(22);
  }
  void setCurrent(std::size_t current) {
    current_ = current;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double start = width() / 2.0 - kStep * static_cast<double>(count_) / 2.0;
    for (std::size_t i = 0; i < count_; ++i) {
      painter.setBrush(i == current_ ? QColor(44, 165, 200) : QColor(200, 200, 204));
      painter.setPen(Qt::NoPen);
      painter.drawEllipse(QPointF(start + kStep * (static_cast<double>(i) + 0.5), height() / 2.0),
                          3.5, 3.5);
    }
  }
  void mouseReleaseEvent(QMouseEvent* event) override {
    const double start = width() / 2.0 - kStep * static_cast<double>(count_) / 2.0;
    const double at = (event->position().x() - start) / kStep;
    if (at >= 0 && at < static_cast<double>(count_)) onClick_(static_cast<std::size_t>(at));
  }

 private:
  static constexpr double kStep = 16;
  std::size_t count_;
  std::size_t current_ = 0;
  std::function<void(std::size_t)> onClick_;
};

namespace {

QFrame* line(QWidget* parent) {
  auto* frame = new QFrame(parent);
  frame->setFrameShape(QFrame::HLine);
  frame->setStyleSheet("color: #d1d1d6;");
  frame->setFixedHeight(1);
  return frame;
}

}  // namespace

EditionPopup::EditionPopup(std::shared_ptr<KVEditionScreen> screen, QWidget* over)
    : QDialog(over), screen_(std::move(screen)) {
  markAsKolvaneWindow(this);
  setWindowTitle(QStringLiteral("Kolvane \u2014 Edit translation"));
  setModal(true);
  setToolWindowFlags(this);
  setMinimumSize(420, 340);
  resize(460, 380);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 8);
  layout->addWidget(makeBar());
  scroll_ = new QScrollArea(this);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setFrameShape(QFrame::NoFrame);
  auto* row = new QWidget;
  auto* rowLayout = new QHBoxLayout(row);
  rowLayout->setContentsMargins(0, 0, 0, 0);
  rowLayout->setSpacing(0);
  for (std::size_t i = 0; i < screen_->pageCount(); ++i) {
    pages_.push_back(makePage(i));
    rowLayout->addWidget(pages_.back().page);
    fillTexts(i);
  }
  scroll_->setWidget(row);
  scroll_->viewport()->installEventFilter(this);
  layout->addWidget(scroll_, 1);
  indicator_ = new PageIndicator(
      pages_.size(), [this](std::size_t page) { showPage(page); }, this);
  // Without a touch screen to swipe on, the arrows page too.
  auto* paging = new QHBoxLayout;
  auto* previous = new QPushButton(QStringLiteral("\u2039"), this);
  auto* next = new QPushButton(QStringLiteral("\u203A"), this);
  for (QPushButton* arrow : {previous, next}) {
    arrow->setFlat(true);
    arrow->setFixedWidth(32);
    arrow->setVisible(pages_.size() > 1);
  }
  previous->setObjectName("previousPage");
  next->setObjectName("nextPage");
  connect(previous, &QPushButton::clicked, this, [this] {
    if (screen_->currentPage() > 0) showPage(screen_->currentPage() - 1);
  });
  connect(next, &QPushButton::clicked, this, [this] {
    if (screen_->currentPage() + 1 < pages_.size()) showPage(screen_->currentPage() + 1);
  });
  paging->addWidget(previous);
  paging->addWidget(indicator_, 1);
  paging->addWidget(next);
  layout->addLayout(paging);
  connect(scroll_->horizontalScrollBar(), &QScrollBar::valueChanged, this,
          [this](int value) { screen_->scrollViewDidScroll(value, scroll_->viewport()->width()); });
  addKeyboardShortcuts();
  connect(this, &QDialog::finished, this,
          [returnTo = QPointer<QWidget>(over)] { returnFocusTo(returnTo); });
  screen_->setChangeHandler([this] { refresh(); });
  refresh();
}

void EditionPopup::addKeyboardShortcuts() {
  const auto shortcut = [this](QKeySequence keys, auto action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
  };
  for (const int key : {Qt::Key_Return, Qt::Key_Enter}) {
    shortcut(QKeySequence(Qt::ControlModifier | key), [this] { screen_->validate(); });
  }
  const auto turnPage = [this](int by) {
    const auto target = static_cast<long long>(screen_->currentPage()) + by;
    if (target < 0 || target >= static_cast<long long>(pages_.size())) return;
    showPage(static_cast<std::size_t>(target));
    focusField();
  };
  shortcut(QKeySequence(Qt::ControlModifier | Qt::Key_PageDown), [turnPage] { turnPage(1); });
  shortcut(QKeySequence(Qt::AltModifier | Qt::Key_Right), [turnPage] { turnPage(1); });
  shortcut(QKeySequence(Qt::ControlModifier | Qt::Key_PageUp), [turnPage] { turnPage(-1); });
  shortcut(QKeySequence(Qt::AltModifier | Qt::Key_Left), [turnPage] { turnPage(-1); });
}

void EditionPopup::focusField() {
  const std::size_t current = screen_->currentPage();
  if (current >= pages_.size()) return;
  CapsuleTextEdit* field = pages_[current].field;
  if (field->isReadOnly()) return close_->setFocus(Qt::OtherFocusReason);
  field->setFocus(Qt::OtherFocusReason);
  field->moveCursor(QTextCursor::End);
}

void EditionPopup::showEvent(QShowEvent* event) {
  placeToolWindow(this, parentWidget());
  QDialog::showEvent(event);
  focusField();
}

EditionPopup::~EditionPopup() { screen_->setChangeHandler(nullptr); }

QWidget* EditionPopup::makeBar() {
  auto* bar = new QWidget(this);
  // Only the bar itself is tinted: its buttons keep the style's look and focus frame.
  bar->setObjectName("editionBar");
  bar->setStyleSheet("#editionBar { background: #f2f2f7; }");
  auto* layout = new QHBoxLayout(bar);
  accept_ = new QPushButton(QString::fromStdU16String(kKVEditionAcceptTitle), bar);
  reject_ = new QPushButton(QString::fromStdU16String(kKVEditionRejectTitle), bar);
  close_ = new QPushButton(QString::fromStdU16String(kKVEditionCloseTitle), bar);
  close_->setDefault(true);
  layout->addWidget(accept_);
  layout->addWidget(reject_);
  layout->addStretch();
  layout->addWidget(close_);
  connect(accept_, &QPushButton::clicked, this, [this] { screen_->accept(); });
  connect(reject_, &QPushButton::clicked, this, [this] { screen_->reject(); });
  connect(close_, &QPushButton::clicked, this, [this] { screen_->validate(); });
  return bar;
}

EditionPopup::PageWidgets EditionPopup::makePage(std::size_t index) {
  const KVEditionPage model = screen_->page(index);
  PageWidgets widgets;
  widgets.page = new QWidget;
  auto* layout = new QVBoxLayout(widgets.page);
  layout->setContentsMargins(15, 8, 5, 0);
  auto* header = new QHBoxLayout;
  auto* key =
      new QLabel(QString::fromStdU16String(kKVEditionKeyPrefix) + QString::fromStdString(model.key),
                 widgets.page);
  key->setTextInteractionFlags(Qt::TextSelectableByMouse);
  widgets.status = new QLabel(widgets.page);
  widgets.status->setStyleSheet("color: #8e8e93;");
  header->addWidget(key, 1);
  header->addWidget(widgets.status);
  layout->addLayout(header);
  if (!model.pluralFormNames.empty()) {
    auto* chooser = new QHBoxLayout;
    chooser->setSpacing(0);
    auto* group = new QButtonGroup(widgets.page);
    for (std::size_t i = 0; i < model.pluralFormNames.size(); ++i) {
      auto* button =
          new QPushButton(QString::fromStdString(model.pluralFormNames[i]), widgets.page);
      button->setCheckable(true);
      button->setChecked(i == model.selectedPluralForm);
      button->setFixedHeight(26);
      button->setStyleSheet(
          "QPushButton { border: 1px solid rgb(44,165,200); color: rgb(44,165,200); "
          "background: white; padding: 0 10px; }"
          "QPushButton:checked { background: rgb(44,165,200); color: white; }"
          "QPushButton:focus { border: 2px solid rgb(20,90,120); }");
      group->addButton(button, static_cast<int>(i));
      chooser->addWidget(button);
      widgets.pluralButtons.push_back(button);
    }
    connect(group, &QButtonGroup::idClicked, this, [this, index](int id) {
      screen_->changePluralForm(index, static_cast<std::size_t>(id));
      fillTexts(index);
    });
    layout->addLayout(chooser);
    widgets.pluralNote = new QLabel(widgets.page);
    widgets.pluralNote->setWordWrap(true);
    layout->addWidget(widgets.pluralNote);
  }
  layout->addWidget(line(widgets.page));
  widgets.source = new QTextEdit(widgets.page);
  registerCapsules(widgets.source->document());
  widgets.source->setReadOnly(true);
  widgets.source->setFocusPolicy(Qt::NoFocus);
  widgets.source->setFrameShape(QFrame::NoFrame);
  widgets.source->setMaximumHeight(70);
  layout->addWidget(widgets.source);
  widgets.development = new QLabel(widgets.page);
  widgets.development->setWordWrap(true);
  widgets.development->setTextFormat(Qt::PlainText);
  widgets.development->setStyleSheet(QStringLiteral("color: #6d6d72; font-size: 11px;"));
  layout->addWidget(widgets.development);
  layout->addWidget(line(widgets.page));
  widgets.field = new CapsuleTextEdit(widgets.page);
  widgets.field->setFrameShape(QFrame::NoFrame);
  widgets.field->setReadOnly(!model.editable);
  widgets.field->setCapsuleTip([this, index](const QString& placeholder, std::size_t rank) {
    return QString::fromStdU16String(
        screen_->capsuleTip(index, placeholder.toStdU16String(), rank));
  });
  layout->addWidget(widgets.field, 1);
  connect(widgets.field, &QTextEdit::textChanged, this, [this, index] {
    if (!filling_)
      screen_->textViewDidChange(index, attributedText(pages_[index].field->document()));
  });
  return widgets;
}

void EditionPopup::fillTexts(std::size_t index) {
  const KVEditionPage model = screen_->page(index);
  PageWidgets& widgets = pages_[index];
  filling_ = true;
  setAttributedText(widgets.source->document(), model.sourceText);
  setAttributedText(widgets.field->document(), model.fieldText);
  filling_ = false;
  if (widgets.pluralNote != nullptr) {
    widgets.pluralNote->setText(QString::fromStdU16String(model.pluralNote));
  }
  widgets.development->setText(QString::fromStdU16String(model.developmentText));
  widgets.development->setVisible(!model.developmentText.empty());
}

void EditionPopup::refresh() {
  accept_->setEnabled(screen_->acceptEnabled());
  reject_->setEnabled(screen_->rejectEnabled());
  for (std::size_t i = 0; i < pages_.size(); ++i) {
    pages_[i].status->setText(QString::fromStdU16String(screen_->page(i).status));
    // Tab stays on the page in view: the others are out of the chain.
    pages_[i].page->setEnabled(i == screen_->currentPage());
  }
  if (indicator_ != nullptr) indicator_->setCurrent(screen_->currentPage());
  followModelPage();
  const auto alert = screen_->alert();
  if (alert && !alertShown_) showAlert(*alert);
}

void EditionPopup::followModelPage() {
  const std::size_t current = screen_->currentPage();
  if (current >= pages_.size()) return;
  const int width = scroll_->viewport()->width();
  if (width > 0 && scroll_->horizontalScrollBar()->value() / width != static_cast<int>(current)) {
    showPage(current);
  }
  const std::size_t form = screen_->page(current).selectedPluralForm;
  auto& buttons = pages_[current].pluralButtons;
  if (form < buttons.size() && !buttons[form]->isChecked()) {
    buttons[form]->setChecked(true);
    fillTexts(current);
  }
}

void EditionPopup::showAlert(const KVAlert& alert) {
  alertShown_ = true;
  auto* box =
      new QMessageBox(QMessageBox::Warning, QString::fromStdU16String(alert.title),
                      QString::fromStdU16String(alert.message), QMessageBox::NoButton, this);
  markAsKolvaneWindow(box);
  box->setTextFormat(Qt::PlainText);
  box->setStyleSheet(QStringLiteral("QLabel { min-width: 340px; }"));
  // Enter, Escape and the window's close button all keep editing: the default is the safe one.
  QPushButton* keep =
      box->addButton(QString::fromStdU16String(alert.cancelButtonTitle), QMessageBox::RejectRole);
  std::vector<QAbstractButton*> buttons = {keep};
  for (const auto& title : alert.otherButtonTitles) {
    buttons.push_back(
        box->addButton(QString::fromStdU16String(title), QMessageBox::DestructiveRole));
  }
  box->setDefaultButton(keep);
  box->setEscapeButton(keep);
  box->setAttribute(Qt::WA_DeleteOnClose);
  // `finished` comes however the box goes, a closed window included (clickedButton() is then the
  // escape button).
  connect(box, &QMessageBox::finished, this, [this, box, buttons] {
    alertShown_ = false;
    const auto clicked = std::find(buttons.begin(), buttons.end(), box->clickedButton());
    screen_->alertButtonClicked(
        clicked == buttons.end() ? 0 : static_cast<std::size_t>(clicked - buttons.begin()));
  });
  openWithDetails(box, alert);
}

CapsuleTextEdit* EditionPopup::field(std::size_t page) const {
  return page < pages_.size() ? pages_[page].field : nullptr;
}

void EditionPopup::showPage(std::size_t page) {
  scroll_->horizontalScrollBar()->setValue(static_cast<int>(page) * scroll_->viewport()->width());
}

void EditionPopup::dismiss() {
  dismissing_ = true;
  close();
}

void EditionPopup::reject() {
  if (!dismissing_ && !screen_->isClosed()) screen_->validate();
  // A save closes the screen through the host; when that happened inside a close event, Qt
  // left the window up, so it goes here.
  if ((dismissing_ || screen_->isClosed()) && isVisible()) QDialog::reject();
}

bool EditionPopup::eventFilter(QObject* watched, QEvent* event) {
  if (watched == scroll_->viewport() && event->type() == QEvent::Resize) {
    // Every page is as wide and high as the visible area.
    const QSize size = scroll_->viewport()->size();
    for (const PageWidgets& widgets : pages_) widgets.page->setFixedSize(size);
    if (scroll_->widget() != nullptr) scroll_->widget()->adjustSize();
    showPage(screen_->currentPage());
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace kolvane::qt
