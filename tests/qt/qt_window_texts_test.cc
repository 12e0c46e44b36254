// The texts of a real Qt window: what the adapter reports (menus, tooltips, pages not shown,
// combo box items, titles), the problems found on widgets built to have them, and the list
// window opened with Ctrl+Alt+J.
#include "qt_window_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTest>
#include <QVBoxLayout>

#include "base/utf.h"
#include "capture/capture_fixture.h"
#include "capture/window_inventory.h"
#include "kolvane/qt.h"
#include "kolvane/tool.h"
#include "qt_edition_popup.h"
#include "qt_tool.h"
#include "qt_views.h"

namespace kolvane {
namespace {

using ::testing::IsSupersetOf;

// A label that looks its text up again when the language changes, as apps do.
class RetranslatedLabel : public QLabel {
 public:
  RetranslatedLabel() : QLabel(qtTrId("hi")) {}
  void changeEvent(QEvent* event) override {
    if (event->type() == QEvent::LanguageChange) setText(qtTrId("hi"));
    QLabel::changeEvent(event);
  }
};

class QtWindowTextsTest : public testing::CaptureTest {
 protected:
  void SetUp() override {
    CaptureTest::SetUp();
    showFrench({{"hi", u"Salut"},
                {"file", u"un fichier"},
                {"open", u"Ouvrir"},
                {"recent", u"Récents"},
                {"tip", u"Ouvre un fichier"},
                {"page", u"Page cachée"},
                {"long", u"Un texte bien trop long pour sa place"},
                {"from", u"De"},
                {"subject", u"Objet"},
                {"below", u"Tout en bas"}});
    setBase({{"open", u"Open"}, {"hi", u"Hi"}});
    enableEditing();
    KolvaneQt::install();

    window_ = std::make_unique<QMainWindow>();
    window_->setWindowTitle(qtTrId("hi"));
    QMenu* file = window_->menuBar()->addMenu(qtTrId("file"));
    QAction* open = file->addAction(qtTrId("open"));
    open->setStatusTip(qtTrId("tip"));
    file->addSeparator();
    file->addMenu(qtTrId("recent"))->addAction(QStringLiteral("notes.txt"));

    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    auto* button = new QPushButton(qtTrId("open"));
    button->setToolTip(qtTrId("tip"));
    layout->addWidget(button);
    auto* stack = new QStackedWidget;
    stack->addWidget(new QLabel(qtTrId("hi")));
    stack->addWidget(new QLabel(qtTrId("page")));  // never shown
    layout->addWidget(stack);
    auto* combo = new QComboBox;
    combo->addItems({qtTrId("hi"), qtTrId("file")});
    layout->addWidget(combo);
    auto* group = new QGroupBox(qtTrId("recent"));
    (new QVBoxLayout(group))->addWidget(new QLabel(QStringLiteral("Hard-coded")));
    layout->addWidget(group);
    auto* typed = new QLineEdit(QStringLiteral("What the user typed"));
    layout->addWidget(typed);
    auto* marked = new QLabel(QStringLiteral("Ann Smith"));
    marked->setProperty("kolvaneNotTranslatable", true);
    layout->addWidget(marked);
    narrow_ = new QLabel(qtTrId("long"));
    narrow_->setFixedWidth(60);
    layout->addWidget(narrow_);
    elided_ = new QLabel;
    elided_->setText(elided_->fontMetrics().elidedText(qtTrId("long"), Qt::ElideRight, 80));
    layout->addWidget(elided_);
    window_->setCentralWidget(central);
    window_->resize(500, 600);
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  }
  void TearDown() override {
    KolvaneTool::setPseudoTranslation(false);
    KolvaneTool::setRightToLeft(false);
    KolvaneQt::uninstall();
    window_.reset();
    QApplication::processEvents();
    CaptureTest::TearDown();
  }
  std::vector<KVInventoryEntry> inventory() {
    return kv_windowInventory(qt::windowOf(window_.get()));
  }
  // Each text with its place, "text @ place", and its problems, by text.
  static std::vector<std::string> placed(const std::vector<KVInventoryEntry>& entries) {
    std::vector<std::string> found;
    for (const auto& entry : entries) {
      found.push_back(toUtf8(entry.row.text) + " @ " + toUtf8(entry.row.place));
    }
    return found;
  }
  static unsigned problemsOf(const std::vector<KVInventoryEntry>& entries,
                             const std::u16string& text) {
    for (const auto& entry : entries) {
      if (entry.row.text == text) return entry.row.problems;
    }
    ADD_FAILURE() << "not listed: " << toUtf8(text);
    return 0;
  }

  std::unique_ptr<QMainWindow> window_;
  QLabel* narrow_ = nullptr;
  QLabel* elided_ = nullptr;
};

TEST_F(QtWindowTextsTest, TheInventoryHoldsMenusTipsHiddenPagesItemsAndTitles) {
  const auto entries = inventory();
  EXPECT_THAT(placed(entries),
              IsSupersetOf({"Salut @ title", "un fichier @ QMenuBar > un fichier > title",
                            "Ouvrir @ QMenuBar > un fichier > Ouvrir",
                            "Ouvre un fichier @ QMenuBar > un fichier > Ouvrir > "
                            "status tip",
                            "Récents @ QMenuBar > un fichier > Récents > title",
                            "notes.txt @ QMenuBar > un fichier > Récents > notes.txt",
                            "Ouvre un fichier @ QPushButton > tooltip",
                            "Ouvrir @ QPushButton > title", "Page cachée @ QStackedWidget > QLabel",
                            "un fichier @ QComboBox > item 2", "Récents @ QGroupBox > title"}));
  for (const auto& entry : entries) {
    // Pages not shown and closed menus are listed, but not on screen.
    if (entry.row.text == u"Page cachée" || entry.row.text == u"Ouvrir") {
      EXPECT_EQ(entry.row.onScreen,
                entry.row.text == u"Ouvrir" &&
                    entry.row.place.find(u"QPushButton") != std::u16string::npos)
          << toUtf8(entry.row.place);
    }
  }
}

TEST_F(QtWindowTextsTest, HardCodedNarrowAndElidedTextsAreFoundButDataIsNot) {
  const auto entries = inventory();
  EXPECT_EQ(problemsOf(entries, u"Hard-coded"), unsigned{kKVTextNotTranslatable});
  EXPECT_EQ(problemsOf(entries, u"notes.txt"), unsigned{kKVTextNotTranslatable});
  EXPECT_EQ(problemsOf(entries, u"What the user typed"), 0u);
  EXPECT_EQ(problemsOf(entries, u"Ann Smith"), 0u);
  EXPECT_EQ(problemsOf(entries, u"Un texte bien trop long pour sa place"), unsigned{kKVTextCutOff});
  const std::u16string elided = KolvaneQt::withoutCues(elided_->text()).toStdU16String();
  EXPECT_EQ(problemsOf(entries, elided), unsigned{kKVTextCutOff});
  EXPECT_EQ(problemsOf(entries, u"Ouvrir"), 0u);

  // Room enough, or wrapping into room enough: it fits.
  narrow_->setFixedWidth(400);
  QApplication::processEvents();
  EXPECT_EQ(problemsOf(inventory(), u"Un texte bien trop long pour sa place"), 0u);
  // A window pushed past the screen's edge cuts what fits its labels.
  const QRect screen = window_->screen()->geometry();
  window_->move(screen.right() - 100, screen.top());
  QApplication::processEvents();
  EXPECT_EQ(problemsOf(inventory(), u"Un texte bien trop long pour sa place"),
            unsigned{kKVTextCutOff});
  window_->move(screen.topLeft());
  narrow_->setFixedWidth(120);
  narrow_->setWordWrap(true);
  narrow_->setMinimumHeight(narrow_->heightForWidth(120));
  QApplication::processEvents();
  EXPECT_EQ(problemsOf(inventory(), u"Un texte bien trop long pour sa place"), 0u);
}

TEST_F(QtWindowTextsTest, CtrlAltJListsTheTextsAndARowOpensItsStringsForEditing) {
  QTest::keyClick(window_->windowHandle(), Qt::Key_J, Qt::ControlModifier | Qt::AltModifier);
  qt::WindowTextsWindow* list = qt::openWindowTexts();
  ASSERT_NE(list, nullptr);
  EXPECT_TRUE(list->isVisible());
  const auto rows = list->screen().rows();
  EXPECT_EQ(static_cast<std::size_t>(list->table()->rowCount()), rows.size());
  // The stack's first page shows "Salut" as its label; nothing else is stale.
  EXPECT_EQ(list->screen().summary(), u"18 texts, 2 not translatable, 2 cut off");

  // The menu item "Ouvrir", as if long-pressed: the edit is saved, and the action is rewritten
  // from the development language's record as every captured text is.
  std::size_t openRow = rows.size();
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].text == u"Ouvrir" && rows[row].place == u"QMenuBar > un fichier > Ouvrir") {
      openRow = row;
    }
  }
  ASSERT_LT(openRow, rows.size());
  list->screen().selectRow(openRow);
  const auto popups = qt::openEditionPopups();
  ASSERT_EQ(popups.size(), 1u);
  ASSERT_EQ(popups.back()->screen().pageCount(), 1u);
  EXPECT_EQ(popups.back()->screen().page(0).key, "open");
  popups.back()->screen().textViewDidChange(0, KVAttributedText(u"Ouvrir…"));
  popups.back()->screen().validate();
  QApplication::processEvents();
  EXPECT_EQ(testing::shown(french_->kolvaneStringForKey("open", std::nullopt)->localizedFormat),
            u"[Ouvrir…]");
  QAction* open = window_->menuBar()->actions().front()->menu()->actions().front();
  EXPECT_EQ(open->text(), QString::fromStdU16String(testing::cued(u"[Open]")));
}

TEST_F(QtWindowTextsTest, PseudoTranslationAndRightToLeftSwitchOnAndBackWithoutARestart) {
  auto* label = new RetranslatedLabel;
  window_->centralWidget()->layout()->addWidget(label);
  const QString before = label->text();
  KolvaneTool::setPseudoTranslation(true);
  QTest::qWait(20);  // the app retranslates from an event of its own
  EXPECT_EQ(KolvaneQt::withoutCues(label->text()),
            QString::fromStdU16String(u"[\u1E60\u0227\u1E37\u0289\u1E6B ~~]"));
  // Traced through its brackets and accents; a text set once keeps what it had.
  for (const auto& entry : inventory()) {
    if (entry.capture->view->identity() == label) {
      ASSERT_EQ(entry.row.strings.size(), 1u);
      EXPECT_EQ(entry.row.strings[0].key, "hi");
      EXPECT_EQ(entry.row.problems, 0u);
    }
  }
  EXPECT_EQ(french_->dirtyStrings().size(), 0u);
  KolvaneTool::setPseudoTranslation(false);
  QTest::qWait(20);
  EXPECT_EQ(label->text(), before);

  KolvaneTool::setRightToLeft(true);
  EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::RightToLeft);
  EXPECT_TRUE(window_->isRightToLeft());
  KolvaneTool::setRightToLeft(false);
  EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::LeftToRight);
  EXPECT_FALSE(window_->isRightToLeft());
}

TEST_F(QtWindowTextsTest, ACaptureIsTheWindowsPictureWithEachShownStringWhereItsWidgetIs) {
  auto* table = new QTableWidget(1, 2);
  table->setHorizontalHeaderLabels({qtTrId("from"), qtTrId("subject")});
  window_->centralWidget()->layout()->addWidget(table);
  // A label just past its scroll area's view, over widgets of the window below it.
  auto* scrolled = new QWidget;
  scrolled->setMinimumHeight(400);
  (new QLabel(qtTrId("below"), scrolled))->move(0, 60);
  auto* scroll = new QScrollArea;
  scroll->setFixedHeight(50);
  scroll->setWidget(scrolled);
  qobject_cast<QVBoxLayout*>(window_->centralWidget()->layout())->insertWidget(0, scroll);
  QApplication::processEvents();
  const auto capture = KolvaneTool::captureWindow();
  ASSERT_TRUE(capture);
  const QImage picture = QImage::fromData(reinterpret_cast<const uchar*>(capture->image.png.data()),
                                          static_cast<int>(capture->image.png.size()), "PNG");
  const double ratio = window_->devicePixelRatioF();
  EXPECT_EQ(picture.size(), window_->size() * ratio);
  EXPECT_EQ(QSize(capture->image.width, capture->image.height), picture.size());
  // The window as Qt draws it, pixel for pixel.
  EXPECT_TRUE(picture == window_->grab().toImage().convertToFormat(picture.format()));

  // Where a widget is in the window's picture.
  const auto placeOf = [&](const QWidget* widget) {
    const QPoint origin = widget->mapTo(window_.get(), QPoint(0, 0));
    return QRectF(origin * ratio, QSizeF(widget->size()) * ratio);
  };
  const auto regionsOf = [&](const std::u16string& text) {
    std::vector<QRectF> found;
    for (const KVCaptureRegion& region : capture->regions) {
      if (region.text == text) {
        found.emplace_back(region.rect.x, region.rect.y, region.rect.width, region.rect.height);
      }
    }
    return found;
  };
  auto* button = window_->findChild<QPushButton*>();
  EXPECT_THAT(regionsOf(u"Ouvrir"), ::testing::ElementsAre(placeOf(button)));
  EXPECT_THAT(regionsOf(u"Un texte bien trop long pour sa place"),
              ::testing::ElementsAre(placeOf(narrow_)));
  // The shown page of the stack, and the combo box's current item; not its other item.
  EXPECT_THAT(regionsOf(u"Salut"),
              ::testing::UnorderedElementsAre(
                  placeOf(window_->findChild<QStackedWidget*>()->currentWidget()),
                  placeOf(window_->findChild<QComboBox*>())));
  EXPECT_TRUE(regionsOf(u"un fichier").size() == 1u);  // the menu's title, not the item
  // A group box's title where its style draws it, at the top of the box.
  auto* group = window_->findChild<QGroupBox*>();
  ASSERT_EQ(regionsOf(u"Récents").size(), 1u);
  EXPECT_TRUE(placeOf(group).contains(regionsOf(u"Récents")[0]));
  EXPECT_LT(regionsOf(u"Récents")[0].height(), placeOf(group).height() / 2);
  // Each header section where it is drawn.
  QHeaderView* header = table->horizontalHeader();
  const QRectF headerPlace = placeOf(header);
  for (int section = 0; section < 2; ++section) {
    const auto found = regionsOf(section == 0 ? u"De" : u"Objet");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].left(),
              headerPlace.left() + header->sectionViewportPosition(section) * ratio);
    EXPECT_EQ(found[0].width(), header->sectionSize(section) * ratio);
  }
  // Not drawn in the window (tips, its title), not shown, or with no string: no region.
  EXPECT_TRUE(regionsOf(u"Ouvre un fichier").empty());
  EXPECT_TRUE(regionsOf(u"Page cachée").empty());
  EXPECT_TRUE(regionsOf(u"Hard-coded").empty());
  EXPECT_TRUE(regionsOf(u"Tout en bas").empty());
  for (const KVCaptureRegion& region : capture->regions) {
    EXPECT_FALSE(region.keys.empty());
    EXPECT_TRUE(
        QRectF(picture.rect())
            .contains(QRectF(region.rect.x, region.rect.y, region.rect.width, region.rect.height)));
  }
}

}  // namespace
}  // namespace kolvane
