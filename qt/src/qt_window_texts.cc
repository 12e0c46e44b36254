#include "qt_window_texts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "kolvane/tool.h"
#include "qt_popup_window.h"
#include "qt_views.h"

namespace kolvane::qt {
namespace {

constexpr int kFlashMilliseconds = 1200;
constexpr int kFlashBorder = 3;

const std::pair<const char*, unsigned> kProblemChoices[] = {
    {"All texts", 0},
    {"Not translatable", kKVTextNotTranslatable},
    {"Stale", kKVTextStale},
    {"Cut off", kKVTextCutOff},
    {"Any problem", kKVTextNotTranslatable | kKVTextStale | kKVTextCutOff}};

const KVTextStatus kStatuses[] = {KVTextStatus::translated, KVTextStatus::accepted,
                                  KVTextStatus::rejected, KVTextStatus::edited,
                                  KVTextStatus::notYetTranslated};

QString problemsText(unsigned problems) {
  QStringList names;
  if ((problems & kKVTextNotTranslatable) != 0) names << QStringLiteral("not translatable");
  if ((problems & kKVTextStale) != 0) names << QStringLiteral("stale");
  if ((problems & kKVTextCutOff) != 0) names << QStringLiteral("cut off");
  return names.join(QStringLiteral(", "));
}

void fillRow(QTableWidget* table, int row, const KVWindowTextRow& text) {
  QStringList keys;
  QStringList statuses;
  for (const KVWindowTextString& string : text.strings) {
    keys << QString::fromStdString(string.key);
    statuses << toQString(kv_textStatusName(string.status));
  }
  statuses.removeDuplicates();
  const QString cells[] = {
      toQString(text.text).replace(QLatin1Char('\n'), QChar(0x21B5)),
      keys.join(QStringLiteral(", ")), statuses.join(QStringLiteral(", ")),
      problemsText(text.problems),
      toQString(text.place) + (text.onScreen ? QString() : QStringLiteral(" (not shown)"))};
  for (int column = 0; column < 5; ++column) {
    auto* item = new QTableWidgetItem(cells[column]);
    item->setToolTip(cells[column]);
    table->setItem(row, column, item);
  }
}

// Beside the app's window, so that the place a row flashes is in sight; over it when the
// screen has no room beside it.
void placeBeside(QWidget* list, QWidget* over) {
  placeToolWindow(list, over);
  if (over == nullptr || list->screen() == nullptr) return;
  const QRect available = list->screen()->availableGeometry();
  const QRect app = over->window()->frameGeometry();
  const QSize frame = list->frameGeometry().size() - list->size();
  const int width = list->width() + frame.width();
  const int top = std::clamp(app.top(), available.top(),
                             std::max(available.top(), available.bottom() - list->height()));
  if (app.right() + width <= available.right()) {
    list->move(app.right() + 1, top);
  } else if (app.left() - width >= available.left()) {
    list->move(app.left() - width, top);
  }
}

}  // namespace

WindowTextsWindow::WindowTextsWindow(std::shared_ptr<KVWindowTextsScreen> screen, QWidget* over)
    : QWidget(over), screen_(std::move(screen)) {
  setToolWindowFlags(this);
  markAsKolvaneWindow(this);
  // Read left to right whichever way the app is laid out.
  setLayoutDirection(Qt::LeftToRight);
  setObjectName(QStringLiteral("kolvaneWindowTexts"));
  setWindowTitle(QStringLiteral("Kolvane \u2014 ") + toQString(screen_->title()));
  auto* layout = new QVBoxLayout(this);
  summary_ = new QLabel(this);
  summary_->setObjectName(QStringLiteral("summary"));
  layout->addWidget(summary_);

  auto* filters = new QHBoxLayout;
  status_ = new QComboBox(this);
  status_->addItem(QStringLiteral("All statuses"));
  for (KVTextStatus status : kStatuses) status_->addItem(toQString(kv_textStatusName(status)));
  problem_ = new QComboBox(this);
  for (const auto& [name, bits] : kProblemChoices) problem_->addItem(QString::fromUtf8(name));
  auto* pseudo = new QCheckBox(QStringLiteral("Pseudo-translation"), this);
  pseudo->setChecked(KolvaneTool::pseudoTranslation());
  auto* rightToLeft = new QCheckBox(QStringLiteral("Right to left"), this);
  rightToLeft->setChecked(KolvaneTool::rightToLeft());
  auto* reload = new QPushButton(QStringLiteral("Reload"), this);
  filters->addWidget(new QLabel(QStringLiteral("Status:"), this));
  filters->addWidget(status_);
  filters->addWidget(new QLabel(QStringLiteral("Show:"), this));
  filters->addWidget(problem_);
  filters->addStretch();
  filters->addWidget(pseudo);
  filters->addWidget(rightToLeft);
  filters->addWidget(reload);
  layout->addLayout(filters);

  table_ = new QTableWidget(0, 5, this);
  table_->setHorizontalHeaderLabels({QStringLiteral("Text"), QStringLiteral("Key"),
                                     QStringLiteral("Status"), QStringLiteral("Problems"),
                                     QStringLiteral("Place")});
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setWordWrap(false);
  // A place is read at both ends: where it starts, and the widget it ends on.
  table_->setTextElideMode(Qt::ElideMiddle);
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 8);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setStretchLastSection(true);
  layout->addWidget(table_, 1);

  connect(status_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
  connect(problem_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
  connect(reload, &QPushButton::clicked, this, [this] { screen_->reload(); });
  // The app takes its new texts from an event of its own: the list looks again after it.
  connect(pseudo, &QCheckBox::toggled, this, [this](bool on) {
    KolvaneTool::setPseudoTranslation(on);
    QTimer::singleShot(0, this, [this] { screen_->reload(); });
  });
  connect(rightToLeft, &QCheckBox::toggled, this, [this](bool on) {
    KolvaneTool::setRightToLeft(on);
    QTimer::singleShot(0, this, [this] { screen_->reload(); });
  });
  // A click or Enter on a row: the edition screen of its strings, as a long press opens it.
  connect(table_, &QTableWidget::cellActivated, this,
          [this](int row, int) { screen_->selectRow(static_cast<std::size_t>(row)); });
  connect(table_, &QTableWidget::cellClicked, this,
          [this](int row, int) { screen_->selectRow(static_cast<std::size_t>(row)); });
  screen_->setChangeHandler([this] { refresh(); });
  refresh();
  resize(820, 420);
  placeBeside(this, over);
}

WindowTextsWindow::~WindowTextsWindow() { screen_->setChangeHandler({}); }

bool WindowTextsWindow::event(QEvent* event) {
  // Back from an edition screen or the app: what the window shows may have changed.
  if (event->type() == QEvent::WindowActivate) screen_->reload();
  return QWidget::event(event);
}

void WindowTextsWindow::applyFilter() {
  KVWindowTextFilter filter;
  if (status_->currentIndex() > 0) {
    filter.status = kStatuses[static_cast<std::size_t>(status_->currentIndex() - 1)];
  }
  filter.problems = kProblemChoices[static_cast<std::size_t>(problem_->currentIndex())].second;
  screen_->setFilter(filter);
}

void WindowTextsWindow::refresh() {
  summary_->setText(toQString(screen_->summary()));
  const auto rows = screen_->rows();
  const int selected = table_->currentRow();
  table_->setRowCount(static_cast<int>(rows.size()));
  for (std::size_t row = 0; row < rows.size(); ++row) {
    fillRow(table_, static_cast<int>(row), rows[row]);
  }
  table_->resizeColumnsToContents();
  for (int column = 0; column < 4; ++column) {
    table_->setColumnWidth(column, std::min(table_->columnWidth(column), 260));
  }
  if (selected >= 0 && selected < table_->rowCount()) {
    table_->setCurrentCell(selected, 0, QItemSelectionModel::NoUpdate);
  }
}

void flashRect(const QRect& rect) {
  static QPointer<QWidget> frame;
  if (!frame) {
    frame = new QWidget;
    makeOverlay(frame, QStringLiteral("kolvaneFlash"));
    frame->setStyleSheet(QStringLiteral("background: #e5396e;"));
  }
  const QRect around = rect.adjusted(-kFlashBorder, -kFlashBorder, kFlashBorder, kFlashBorder);
  frame->setGeometry(around);
  // Only the border is drawn: the text inside stays readable without a compositor.
  const QRect inside(kFlashBorder, kFlashBorder, rect.width(), rect.height());
  frame->setMask(QRegion(0, 0, around.width(), around.height()) - QRegion(inside));
  frame->show();
  frame->raise();
  QTimer::singleShot(kFlashMilliseconds, frame, [] {
    if (frame) frame->hide();
  });
}

}  // namespace kolvane::qt
