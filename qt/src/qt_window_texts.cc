#include "qt_window_texts.h"

#include <QCheckBox>
#include <QColor>
#include <QComboBox>
#include <QCoreApplication>
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
#include <array>

#include "kolvane/tool.h"
#include "qt_popup_window.h"
#include "qt_views.h"

namespace kolvane::qt {
namespace {

constexpr int kFlashMilliseconds = 1200;
constexpr int kColumns = 5;
// Rows of texts not on screen now (a closed menu, a page not shown, a tooltip's widget hidden).
constexpr char kNotShownColour[] = "#8e8e93";
// The widest each column gets before its text is elided (the reviewer may widen it): the text,
// its place, its keys, their status, its problems.
constexpr std::array<int, kColumns> kWidestColumns = {200, 240, 160, 130, 160};
// The narrowest the list gets to stand beside the app's window rather than over it.
constexpr int kNarrowestBeside = 480;
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
  const QString cells[] = {toQString(text.text).replace(QLatin1Char('\n'), QChar(0x21B5)),
                           toQString(text.place), keys.join(QStringLiteral(", ")),
                           statuses.join(QStringLiteral(", ")), problemsText(text.problems)};
  for (int column = 0; column < kColumns; ++column) {
    auto* item = new QTableWidgetItem(cells[column]);
    item->setToolTip(cells[column]);
    if (!text.onScreen) item->setForeground(QColor(kNotShownColour));
    table->setItem(row, column, item);
  }
}

// Beside the app's window, on the side with more room, narrowed to it, so that the place a row
// frames is in sight; over the app's window when neither side has room for a useful list.
void placeBeside(QWidget* list, QWidget* over) {
  placeToolWindow(list, over);
  if (over == nullptr || list->screen() == nullptr) return;
  const QRect available = list->screen()->availableGeometry();
  const QRect app = over->window()->frameGeometry();
  const int frame = list->frameGeometry().width() - list->width();
  const int right = available.right() - app.right() - frame;
  const int left = app.left() - available.left() - frame;
  const int room = std::max(right, left);
  if (room < kNarrowestBeside) return;
  list->resize(std::min(list->width(), room), list->height());
  const int top = std::clamp(app.top(), available.top(),
                             std::max(available.top(), available.bottom() - list->height()));
  list->move(right >= left ? app.right() + 1 : app.left() - list->width() - frame, top);
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
  auto* legend = new QLabel(
      QStringLiteral("Grey rows are not on screen now: a closed menu, a page not shown. Click a "
                     "row to edit its strings."),
      this);
  legend->setStyleSheet(QStringLiteral("color: %1;").arg(QLatin1String(kNotShownColour)));
  legend->setWordWrap(true);
  layout->addWidget(legend);

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
  auto* reloadButton = new QPushButton(QStringLiteral("Reload"), this);
  filters->addWidget(new QLabel(QStringLiteral("Status:"), this));
  filters->addWidget(status_);
  filters->addWidget(new QLabel(QStringLiteral("Show:"), this));
  filters->addWidget(problem_);
  filters->addStretch();
  filters->addWidget(reloadButton);
  layout->addLayout(filters);
  auto* switches = new QHBoxLayout;
  switches->addWidget(pseudo);
  switches->addWidget(rightToLeft);
  switches->addStretch();
  layout->addLayout(switches);

  table_ = new QTableWidget(0, kColumns, this);
  table_->setHorizontalHeaderLabels({QStringLiteral("Text"), QStringLiteral("Place"),
                                     QStringLiteral("Key"), QStringLiteral("Status"),
                                     QStringLiteral("Problems")});
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setWordWrap(false);
  // A place is read at both ends: where it starts, and the widget it ends on.
  table_->setTextElideMode(Qt::ElideMiddle);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 8);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setStretchLastSection(true);
  layout->addWidget(table_, 1);

  connect(status_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
  connect(problem_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
  connect(reloadButton, &QPushButton::clicked, this, [this] { reload(); });
  connect(pseudo, &QCheckBox::toggled, this,
          [](bool on) { KolvaneTool::setPseudoTranslation(on); });
  connect(rightToLeft, &QCheckBox::toggled, this, [this](bool on) {
    KolvaneTool::setRightToLeft(on);
    reload();
  });
  // The app takes new texts (pseudo-translation, a download, an edit) when its window hears of
  // a language change: the list looks again once the window has.
  if (over != nullptr) {
    over_ = over->window();
    over_->installEventFilter(this);
  }
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

bool WindowTextsWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == over_ && event->type() == QEvent::LanguageChange) {
    QTimer::singleShot(0, this, [this] { reload(); });
  }
  return false;
}

bool WindowTextsWindow::event(QEvent* event) {
  // Back from an edition screen or the app: what the window shows may have changed.
  if (event->type() == QEvent::WindowActivate) reload();
  return QWidget::event(event);
}

void WindowTextsWindow::reload() {
  // Texts are measured against the room their widgets have once laid out anew: a text just
  // changed has asked for a layout that has not run yet.
  for (int pass = 0; pass < 3; ++pass) {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  }
  screen_->reload();
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
  if (rows.empty()) return;
  table_->resizeColumnsToContents();
  for (int column = 0; column < kColumns; ++column) {
    table_->setColumnWidth(column, std::min(table_->columnWidth(column),
                                            kWidestColumns[static_cast<std::size_t>(column)]));
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
