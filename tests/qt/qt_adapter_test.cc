// The Qt adapter on real widgets: the translator, presses at window level, the edition screen
// with capsules, the refresh after a save, and the clipboard.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTabBar>
#include <QTableWidget>
#include <QTcpSocket>
#include <QTest>
#include <QUrlQuery>
#include <QVBoxLayout>

#include "capture/capsules.h"
#include "capture/capture_fixture.h"
#include "core/workflow_step.h"
#include "kolvane/qt.h"
#include "kolvane/tool.h"
#include "qt_capsules.h"
#include "qt_edition_popup.h"
#include "qt_popup_window.h"
#include "qt_reject_reason_dialog.h"
#include "qt_tool.h"
#include "qt_tool_screens.h"
#include "server/session.h"
#include "support/fake_host_views.h"

namespace kolvane {
namespace {

using testing::cued;
using testing::shown;

QString q(const std::u16string& text) { return QString::fromStdU16String(text); }

// Types `text` into the focused widget of `window`, through the window.
void type(QWindow* window, const QString& text) {
  for (const QChar c : text) {
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
    QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(c));
    QCoreApplication::sendEvent(window, &press);
    QCoreApplication::sendEvent(window, &release);
  }
}

// The visible button named or titled `name` in `window` (alerts over it included).
QPushButton* visibleButton(QWidget* window, const QString& name) {
  if (window == nullptr) return nullptr;
  for (QPushButton* button : window->findChildren<QPushButton*>()) {
    if ((button->objectName() == name || button->text() == name) && button->isVisible()) {
      return button;
    }
  }
  return nullptr;
}

QPushButton* popupButton(const QString& name) { return visibleButton(qt::openPopupWindow(), name); }

// A label that looks its text up again when the language changes, as apps do.
class RetranslatedLabel : public QLabel {
 public:
  using QLabel::QLabel;
  void changeEvent(QEvent* event) override {
    if (event->type() == QEvent::LanguageChange) setText(qtTrId("hi"));
    QLabel::changeEvent(event);
  }
};

// A form as uic writes it: its texts set from source texts by retranslateUi(), again on each
// language change.
class UiForm : public QWidget {
 public:
  UiForm() : label_(new QLabel) {
    (new QHBoxLayout(this))->addWidget(label_);
    retranslateUi();
  }
  QLabel* label() const { return label_; }
  void changeEvent(QEvent* event) override {
    if (event->type() == QEvent::LanguageChange) retranslateUi();
    QWidget::changeEvent(event);
  }

 private:
  void retranslateUi() { label_->setText(QCoreApplication::translate("NoteForm", "Title:")); }
  QLabel* label_;
};

class QtAdapterTest : public testing::CaptureTest {
 protected:
  void SetUp() override {
    CaptureTest::SetUp();
    showFrench({{"sent", u"Envoyé %@ aujourd'hui"},
                {"hi", u"Salut"},
                {"file", u"un fichier"},
                {"files[one]", u"%d fichier"},
                {"files[other]", u"%d fichiers"}});
    enableEditing();
    auto step = std::make_shared<KVWorkflowStep>(*controller().workflowStep());
    step->canSubmit = step->canReject = true;
    controller().setWorkflowStep(step);
    KolvaneQt::install();

    window_ = std::make_unique<QWidget>();
    auto* layout = new QVBoxLayout(window_.get());
    label_ = new QLabel(qtTrId("hi"));
    button_ = new QPushButton(qtTrId("hi"));
    tabs_ = new QTabBar;
    tabs_->addTab(qtTrId("hi"));
    tabs_->addTab(qtTrId("file"));
    table_ = new QTableWidget(1, 1);
    table_->setItem(0, 0, new QTableWidgetItem(qtTrId("file")));
    table_->setHorizontalHeaderItem(0, new QTableWidgetItem(qtTrId("hi")));
    auto* box = new QWidget;
    auto* boxLayout = new QHBoxLayout(box);
    empty_ = new QWidget;
    empty_->setFixedSize(80, 30);
    boxLayout->addWidget(empty_);
    boxLayout->addWidget(new QLabel(qtTrId("file")));
    retranslated_ = new RetranslatedLabel(qtTrId("hi"));
    for (QWidget* widget :
         std::initializer_list<QWidget*>{label_, button_, tabs_, table_, box, retranslated_}) {
      layout->addWidget(widget);
    }
    layout->addStretch();
    window_->resize(400, 500);
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  }
  void TearDown() override {
    KolvaneQt::setSignOnPageOpener({});
    KolvaneQt::uninstall();
    window_.reset();
    QApplication::processEvents();
    CaptureTest::TearDown();
  }
  // Presses `widget` at `at` (its centre by default) through the window, as a user would.
  void press(QWidget* widget, int milliseconds, QPoint at = {-1, -1}) {
    if (at == QPoint(-1, -1)) at = widget->rect().center();
    QWindow* window = window_->windowHandle();
    const QPoint point = widget->mapTo(window_.get(), at);
    QTest::mousePress(window, Qt::LeftButton, {}, point);
    QTest::qWait(milliseconds);
    QTest::mouseRelease(window, Qt::LeftButton, {}, point);
  }
  qt::EditionPopup* popup() {
    const auto popups = qt::openEditionPopups();
    return popups.empty() ? nullptr : popups.back();
  }
  // The key of every page of the open edition screen.
  std::vector<std::string> pageKeys() {
    std::vector<std::string> keys;
    if (qt::EditionPopup* open = popup()) {
      for (std::size_t i = 0; i < open->screen().pageCount(); ++i) {
        keys.push_back(open->screen().page(i).key);
      }
    }
    return keys;
  }
  void closeAll() {
    for (qt::EditionPopup* open : qt::openEditionPopups()) open->close();
    QApplication::processEvents();
  }
  // Nobody signed in: the menu gesture opens the login, whose sign-on page comes here.
  QUrl openSignOnPage() {
    KolvaneQt::setSignOnPageOpener([this](const QUrl& url) { signOnPage_ = url; });
    QTest::keyClick(window_->windowHandle(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    return signOnPage_;
  }
  // Answers as the server would: one workflow whose one step is the chosen one (its uid is
  // empty), and at the code exchange a token for `reviewer`.
  void answerAsServer(const std::string& reviewer = "alice") {
    platform().transport.answer = [reviewer](const HttpRequest& request) {
      HttpResponse response;
      response.status = 200;
      if (request.url.find("/workflows") != std::string::npos) {
        response.body = R"({"response":{"code":"SUCCESS","data":{"items":[{"workflowName":"W",
          "workflowUid":"w","workflowSteps":[{"workflowStepName":"S","workflowStepUid":"",
          "localePairs":[{"sourceLocaleId":"en","targetLocaleId":"fr-FR"}]}]}]}}})";
      } else if (request.url.find("/token") != std::string::npos) {
        response.body = testing::tokenAnswerFor(reviewer);
      } else if (request.url.find("/export") == std::string::npos) {
        response.body = R"({"response":{"code":"SUCCESS","data":{}}})";
      }
      return response;
    };
  }

  std::unique_ptr<QWidget> window_;
  QUrl signOnPage_;
  QLabel* label_ = nullptr;
  QPushButton* button_ = nullptr;
  QTabBar* tabs_ = nullptr;
  QTableWidget* table_ = nullptr;
  QWidget* empty_ = nullptr;
  QLabel* retranslated_ = nullptr;
};

TEST_F(QtAdapterTest, TheTranslatorServesIdsSourceTextsAndPluralsAndLeavesQtsOwnAlone) {
  EXPECT_EQ(qtTrId("hi"), q(cued(u"[Salut]")));
  EXPECT_EQ(QCoreApplication::translate("InboxWindow", "hi"), q(cued(u"[Salut]")));
  EXPECT_EQ(QCoreApplication::translate("QLineEdit", "&Undo"), "&Undo");
  // QObject::tr() is the app's own.
  EXPECT_EQ(QCoreApplication::translate("QObject", "hi"), q(cued(u"[Salut]")));
  EXPECT_EQ(QCoreApplication::translate("QGuiApplication", "QT_LAYOUT_DIRECTION"),
            "QT_LAYOUT_DIRECTION");
  EXPECT_EQ(qtTrId("files", 1), q(cued(u"[{%d} fichier]")));
  EXPECT_EQ(qtTrId("files", 5), q(cued(u"[{%d} fichiers]")));
  // A form's text that is the development text of an interface-file key shows that string.
  setBase({{"home.title-label", u"Welcome home"}, {"hi", u"Hi"}});
  KolvaneTool::indexDesignTimeTexts();
  EXPECT_EQ(QCoreApplication::translate("MainWindow", "Welcome home"),
            q(cued(u"[Welcome home]")));  // the French store lacks it: the base text, traceable
  french_->setLoadedStrings(testing::groupsOf({{"home.title-label", u"Bienvenue"},
                                               {"sent", u"Envoyé %@ aujourd'hui"},
                                               {"file", u"un fichier"}}));
  EXPECT_EQ(QCoreApplication::translate("MainWindow", "Welcome home"), q(cued(u"[Bienvenue]")));
  EXPECT_EQ(QCoreApplication::translate("MainWindow", "Not a form text"),
            q(cued(u"[Not a form text]")));
  EXPECT_EQ(KolvaneQt::format(qtTrId("sent"), {qtTrId("file")}),
            q(cued(u"[Envoyé {[un fichier]} aujourd'hui]")));
  french_->setLoadedStrings(testing::groupsOf({{"invited", u"%2$@ a été invité par %1$@"}}));
  EXPECT_EQ(KolvaneQt::format(qtTrId("invited"), {"Ann", "Bob"}),
            q(cued(u"[{Bob} a été invité par {Ann}]")));
}

TEST_F(QtAdapterTest, ALongPressOpensTheStringsUnderItAndClicksNothing) {
  int clicks = 0;
  QObject::connect(button_, &QPushButton::clicked, [&clicks] { ++clicks; });
  press(button_, 50);
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(popup(), nullptr);

  press(button_, 650);
  EXPECT_EQ(clicks, 1);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("hi"));
  closeAll();

  press(label_, 650);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("hi"));
  closeAll();
  press(tabs_, 650, tabs_->tabRect(1).center());
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("file"));
  closeAll();
  press(table_->viewport(), 650, table_->visualItemRect(table_->item(0, 0)).center());
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("file"));
  closeAll();
  QHeaderView* header = table_->horizontalHeader();
  press(header->viewport(), 650,
        QPoint(header->sectionViewportPosition(0) + 5, header->height() / 2));
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("hi"));
  closeAll();
  press(empty_, 650);  // nothing under it: the box around it holds a label
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("file"));
  closeAll();
  press(window_.get(), 650, QPoint(2, window_->height() - 2));  // the window itself
  EXPECT_EQ(popup(), nullptr);
}

// What reached a widget of the app, as it saw it.
class EventLog : public QObject {
 public:
  explicit EventLog(QWidget* widget) { widget->installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    switch (event->type()) {
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonDblClick:
      case QEvent::MouseButtonRelease:
      case QEvent::MouseMove: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->type() == QEvent::MouseMove && mouse->buttons() == Qt::NoButton) break;
        seen.push_back({mouse->type(), mouse->position().toPoint(), mouse->modifiers()});
        break;
      }
      default:
        break;
    }
    return false;
  }
  struct Seen {
    QEvent::Type type;
    QPoint at;
    Qt::KeyboardModifiers modifiers;
  };
  std::vector<QEvent::Type> types() const {
    std::vector<QEvent::Type> made;
    for (const auto& event : seen) made.push_back(event.type);
    return made;
  }
  std::vector<Seen> seen;
};

TEST_F(QtAdapterTest, ALongPressReachesNoWidgetAndShortPressesDragsAndDoubleClicksDo) {
  QWindow* window = window_->windowHandle();
  const QPoint second = tabs_->mapTo(window_.get(), tabs_->tabRect(1).center());
  QTest::mousePress(window, Qt::LeftButton, {}, second);
  QTest::qWait(200);
  EXPECT_EQ(tabs_->currentIndex(), 0);  // held back while it may still be a long press
  QTest::qWait(450);
  QTest::mouseRelease(window, Qt::LeftButton, {}, second);
  EXPECT_EQ(tabs_->currentIndex(), 0);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("file"));
  closeAll();

  const QPoint onButton = button_->mapTo(window_.get(), button_->rect().center());
  QTest::mousePress(window, Qt::LeftButton, {}, onButton);
  QTest::qWait(650);
  EXPECT_FALSE(button_->isDown());
  QTest::mouseRelease(window, Qt::LeftButton, {}, onButton);
  closeAll();

  // A short press reaches the widget as it came, before its release.
  EventLog log(button_);
  QTest::mouseClick(window, Qt::LeftButton, Qt::ShiftModifier, onButton);
  ASSERT_EQ(log.seen.size(), 2u);
  EXPECT_EQ(log.seen[0].type, QEvent::MouseButtonPress);
  EXPECT_EQ(log.seen[0].at, button_->rect().center());
  EXPECT_EQ(log.seen[0].modifiers, Qt::ShiftModifier);
  EXPECT_EQ(log.seen[1].type, QEvent::MouseButtonRelease);

  // A hand that trembles a little is no drag: nothing moves under the widget before its press.
  log.seen.clear();
  QTest::mousePress(window, Qt::LeftButton, {}, onButton);
  QTest::mouseMove(window, onButton + QPoint(1, 0));
  EXPECT_TRUE(log.seen.empty());
  QTest::mouseRelease(window, Qt::LeftButton, {}, onButton + QPoint(1, 0));
  ASSERT_FALSE(log.seen.empty());
  EXPECT_EQ(log.seen.front().type, QEvent::MouseButtonPress);

  // A drag gets its press as soon as it moves, then the moves.
  log.seen.clear();
  QTest::mousePress(window, Qt::LeftButton, {}, onButton);
  QTest::mouseMove(window, onButton + QPoint(30, 0));
  QTest::qWait(600);
  QTest::mouseRelease(window, Qt::LeftButton, {}, onButton + QPoint(30, 0));
  EXPECT_EQ(popup(), nullptr);
  ASSERT_FALSE(log.seen.empty());
  EXPECT_EQ(log.seen.front().type, QEvent::MouseButtonPress);
  EXPECT_EQ(log.seen.back().type, QEvent::MouseButtonRelease);

  log.seen.clear();
  QTest::mouseDClick(window, Qt::LeftButton, {}, onButton);
  EXPECT_THAT(log.types(), ::testing::Contains(QEvent::MouseButtonDblClick));
  EXPECT_EQ(log.types().front(), QEvent::MouseButtonPress);
}

TEST_F(QtAdapterTest, TheFirstClickOnANewlyOpenedScreenActs) {
  QSignalSpy openChanged(KolvaneQtWindows::instance(), &KolvaneQtWindows::openChanged);
  press(label_, 650);
  EXPECT_TRUE(KolvaneQtWindows::instance()->isOpen());
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  QPushButton* close = visibleButton(open, "Close");
  ASSERT_NE(close, nullptr);
  // The long press's release went to the app's window, which the screen blocks: the screen's
  // first click must not be taken for it.
  QTest::mouseClick(close->window()->windowHandle(), Qt::LeftButton, {},
                    close->mapTo(close->window(), close->rect().center()));
  QApplication::processEvents();
  EXPECT_EQ(popup(), nullptr);
  EXPECT_FALSE(KolvaneQtWindows::instance()->isOpen());
  ASSERT_EQ(openChanged.size(), 2);
  EXPECT_EQ(openChanged[0][0].toBool(), true);
  EXPECT_EQ(openChanged[1][0].toBool(), false);
}

TEST_F(QtAdapterTest, OneFingerHeldOpensTheEditionScreenAndNothingToTranslateShowsAHint) {
  QWindow* window = window_->windowHandle();
  const std::unique_ptr<QPointingDevice> touchScreen(QTest::createTouchDevice());
  const QPoint onLabel = label_->mapTo(window_.get(), label_->rect().center());
  QTest::touchEvent(window, touchScreen.get()).press(0, onLabel);
  QTest::qWait(650);
  QTest::touchEvent(window, touchScreen.get()).release(0, onLabel);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("hi"));
  closeAll();

  auto* plain = new QLabel("Not looked up");
  window_->layout()->addWidget(plain);
  QApplication::processEvents();
  press(plain, 650);
  EXPECT_EQ(popup(), nullptr);
  ASSERT_NE(qt::shownHint(), nullptr);
  EXPECT_EQ(qt::shownHint()->text(), QString::fromUtf16(kKVNoTranslatableTextHint));
}

// The tool's host as installed, its screens (the menu, or the login first) counted.
TEST_F(QtAdapterTest, TwoFingersHeldTwoSecondsOrCtrlAltKOpenTheMenu) {
  static int menus = 0;
  menus = 0;
  // Screens are counted, not drawn.
  struct CountingHost : testing::FakeToolHost {
    void presentToolScreen(const std::shared_ptr<KVToolScreen>&) override { ++menus; }
  };
  KolvaneTool::setHost(std::make_shared<CountingHost>());
  QWindow* window = window_->windowHandle();
  // Qt leaves a test's touch device to whoever made it.
  const std::unique_ptr<QPointingDevice> touchScreen(QTest::createTouchDevice());
  QPointingDevice* device = touchScreen.get();
  QTest::touchEvent(window, device).press(0, {20, 20}).press(1, {60, 20});
  QTest::qWait(800);
  QTest::touchEvent(window, device).release(0, {20, 20}).release(1, {60, 20});
  EXPECT_EQ(menus, 0);  // let go too soon
  QTest::touchEvent(window, device).press(0, {20, 20}).press(1, {60, 20});
  QTest::qWait(2200);
  QTest::touchEvent(window, device).release(0, {20, 20}).release(1, {60, 20});
  EXPECT_EQ(menus, 1);
  EXPECT_EQ(popup(), nullptr);  // the press Qt made of the touch started no edition
  QTest::keyClick(window, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  EXPECT_EQ(menus, 2);
}

TEST_F(QtAdapterTest, CapsulesAreEditedAsOneCharacterAndAMissingOneStopsTheSave) {
  label_->setText(KolvaneQt::format(qtTrId("sent"), {"x"}));
  press(label_, 650);
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  QTextEdit* field = open->field(0);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(field->toPlainText(), QString::fromUtf16(u"Envoyé \uFFFC aujourd'hui"));

  QWindow* window = open->windowHandle();
  field->setFocus();
  QTextCursor cursor = field->textCursor();
  cursor.setPosition(8);  // after the capsule
  field->setTextCursor(cursor);
  QTest::keyClick(window, Qt::Key_Backspace);
  EXPECT_EQ(field->toPlainText(), "Envoyé  aujourd'hui");
  QTest::keyClick(window, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(field->toPlainText(), QString::fromUtf16(u"Envoyé \uFFFC aujourd'hui"));
  type(window, "!");  // typed next to a capsule: plain text
  EXPECT_EQ(shown(kv_formatFromEditedText(qt::attributedText(field->document()), nullptr)),
            u"[Envoyé {%@}! aujourd'hui]");

  // Cut and paste keep the capsule.
  QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
  QTest::keyClick(window, Qt::Key_X, Qt::ControlModifier);
  EXPECT_TRUE(field->toPlainText().isEmpty());
  QTest::keyClick(window, Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(shown(kv_formatFromEditedText(qt::attributedText(field->document()), nullptr)),
            u"[Envoyé {%@}! aujourd'hui]");

  QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
  type(window, "Envoyé %@");  // a placeholder typed by hand is no capsule
  open->closeButton()->click();
  QApplication::processEvents();
  const auto alert = open->screen().alert();
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->message, u"Incorrect number of value placeholders for 1 string.");
  ASSERT_NE(visibleButton(open, "Cancel changes"), nullptr);
  visibleButton(open, "Cancel changes")->click();
  QApplication::processEvents();
  EXPECT_TRUE(french_->dirtyStrings().empty());
}

TEST_F(QtAdapterTest, QtsArgNestsTraceableStringsWhosePlaceholdersAreCapsules) {
  // Strings no store holds: the app's source texts answer, and a long press finds them.
  label_->setText(QCoreApplication::translate("Inbox", "Welcome to %1!")
                      .arg(QCoreApplication::translate("Inbox", "Kolvane Mail")));
  press(label_, 650);
  EXPECT_THAT(pageKeys(), ::testing::UnorderedElementsAre("Welcome to %1!", "Kolvane Mail"));
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  std::size_t outer = open->screen().page(0).key == "Welcome to %1!" ? 0 : 1;
  open->showPage(outer);
  QTextEdit* field = open->field(outer);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(field->toPlainText(), QString::fromUtf16(u"Welcome to \uFFFC!"));
  // The development line shows the source text the app's catalogues start from.
  EXPECT_THAT(QString::fromStdU16String(open->screen().page(outer).developmentText).toStdString(),
              ::testing::EndsWith(": Welcome to %1!"));
  // Without its capsule the edit is refused.
  field->setFocus();
  QTest::keyClick(open->windowHandle(), Qt::Key_A, Qt::ControlModifier);
  type(open->windowHandle(), "Bienvenue !");
  open->closeButton()->click();
  QApplication::processEvents();
  ASSERT_TRUE(open->screen().alert());
  visibleButton(open, "Cancel changes")->click();
  QApplication::processEvents();
  EXPECT_TRUE(french_->dirtyStrings().empty());
  closeAll();

  // %n, filled by tr() itself, is a capsule too; an edit keeping it is the French text.
  label_->setText(QCoreApplication::translate("Inbox", "%n message(s)", nullptr, 3));
  press(label_, 650);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("%n message(s)"));
  open = popup();
  ASSERT_NE(open, nullptr);
  field = open->field(0);
  EXPECT_EQ(field->toPlainText(), QString::fromUtf16(u"\uFFFC message(s)"));
  QTextCursor cursor = field->textCursor();
  cursor.setPosition(1);
  cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
  field->setTextCursor(cursor);
  field->setFocus();
  type(open->windowHandle(), " messages");
  open->closeButton()->click();
  QApplication::processEvents();
  EXPECT_EQ(french_->dirtyStrings().size(), 1u);
  EXPECT_EQ(
      shown(QCoreApplication::translate("Inbox", "%n message(s)", nullptr, 4).toStdU16String()),
      u"[{4} messages]");
}

TEST_F(QtAdapterTest, AFormsTextIsEditedInPlaceAndArgWithTwoValuesNestsBoth) {
  auto* form = new UiForm;
  auto* twice = new QLabel(QCoreApplication::translate("Inbox", "%1 of %2")
                               .arg(QCoreApplication::translate("Inbox", "Page"),
                                    QCoreApplication::translate("Inbox", "Book")));
  window_->layout()->addWidget(form);
  window_->layout()->addWidget(twice);
  QApplication::processEvents();

  press(twice, 650);
  EXPECT_THAT(pageKeys(), ::testing::UnorderedElementsAre("%1 of %2", "Page", "Book"));
  closeAll();

  press(form->label(), 650);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("Title:"));
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  open->field(0)->setFocus();
  QTest::keyClick(open->windowHandle(), Qt::Key_A, Qt::ControlModifier);
  type(open->windowHandle(), "Titre :");
  open->closeButton()->click();
  QApplication::processEvents();
  QTest::qWait(20);
  // The form translated itself again, and shows the edit.
  EXPECT_EQ(form->label()->text(), q(cued(u"[Titre :]")));
}

// Ctrl+Alt+K and Escape over the edition screen leave it as Close does: the text is saved, or
// the alert keeps it, and closing the alert goes back to the failing page as typed.
TEST_F(QtAdapterTest, CtrlAltKAndEscapeOverTheEditionScreenSaveOrKeepWhatWasTyped) {
  press(label_, 650);
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  open->field(0)->setFocus();
  QTest::keyClick(open->windowHandle(), Qt::Key_A, Qt::ControlModifier);
  type(open->windowHandle(), "Coucou");
  QTest::keyClick(open->windowHandle(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  EXPECT_EQ(popup(), nullptr);
  EXPECT_EQ(shown(french_->kolvaneStringForKey("hi", std::nullopt)->localizedFormat), u"[Coucou]");
  ASSERT_NE(popupButton("Close"), nullptr);  // then the menu
  popupButton("Close")->click();

  label_->setText(KolvaneQt::format(qtTrId("sent"), {qtTrId("file")}));
  press(label_, 650);
  open = popup();
  ASSERT_NE(open, nullptr);
  ASSERT_EQ(open->screen().pageCount(), 2u);
  const std::size_t sent = open->screen().page(0).key == "sent" ? 0 : 1;
  QWindow* window = open->windowHandle();
  open->showPage(sent);
  open->field(sent)->setFocus();
  QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
  type(window, "Envoyé");  // its capsule is gone
  open->showPage(1 - sent);
  QTest::keyClick(window, Qt::Key_Escape);
  QApplication::processEvents();
  EXPECT_EQ(popup(), open);
  QPushButton* keep = visibleButton(open, "Keep editing");
  ASSERT_NE(keep, nullptr);
  EXPECT_TRUE(keep->isDefault());
  QTest::keyClick(keep->window(), Qt::Key_Escape);
  QApplication::processEvents();
  EXPECT_EQ(open->screen().currentPage(), sent);
  const int shownAt = open->field(sent)->mapTo(open, QPoint()).x();
  EXPECT_TRUE(shownAt >= 0 && shownAt < open->width() / 2) << shownAt;
  EXPECT_EQ(open->field(sent)->toPlainText(), "Envoyé");

  QTest::keyClick(window, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  QApplication::processEvents();
  EXPECT_NE(visibleButton(open, "Keep editing"), nullptr);
  EXPECT_EQ(qt::openPopupWindow(), nullptr);  // no menu over the alert
}

TEST_F(QtAdapterTest, ASaveRebuildsWhatWasCapturedAndTellsTheAppToRetranslate) {
  press(label_, 650);
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  QWindow* window = open->windowHandle();
  open->field(0)->setFocus();
  QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
  type(window, "Coucou");
  open->closeButton()->click();
  QApplication::processEvents();

  const auto edited = french_->kolvaneStringForKey("hi", std::nullopt);
  EXPECT_EQ(shown(edited->localizedFormat), u"[Coucou]");
  // What was captured is rebuilt from the development locale's record, by design: every
  // widget of the window that showed the string takes it, controls included.
  const QString rebuilt = q(cued(u"[Hi]"));
  EXPECT_EQ(label_->text(), rebuilt);
  EXPECT_EQ(button_->text(), rebuilt);
  EXPECT_EQ(tabs_->tabText(0), rebuilt);
  EXPECT_EQ(table_->horizontalHeaderItem(0)->text(), q(cued(u"[HI]")));  // headers upper-case
  // An app that looks its texts up again shows the edit (the application passes the event on
  // to each window in an event of its own).
  QTest::qWait(20);
  EXPECT_EQ(retranslated_->text(), q(cued(u"[Coucou]")));
}

TEST_F(QtAdapterTest, RejectAsksTheReasonOverTheEditionScreen) {
  press(label_, 650);
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  ASSERT_TRUE(open->rejectButton()->isEnabled());
  open->rejectButton()->click();
  auto* dialog = open->findChild<qt::RejectReasonDialog*>();
  ASSERT_NE(dialog, nullptr);
  EXPECT_FALSE(dialog->sendButton()->isEnabled());
  dialog->findChildren<QRadioButton*>().front()->click();
  ASSERT_TRUE(dialog->sendButton()->isEnabled());
  dialog->sendButton()->click();
  QApplication::processEvents();
  EXPECT_EQ(open->screen().page(0).status, u"Rejected");
  EXPECT_FALSE(open->rejectButton()->isEnabled());
  ASSERT_EQ(french_->rejectedStrings().count("hi"), 1u);
  EXPECT_EQ(french_->rejectedStrings().at("hi")->rejectReason, u"WRONG_TERM");
}

TEST_F(QtAdapterTest, TextLeavesTheAppWithoutCuesByTheClipboardAndAccessibility) {
  QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(label_);
  ASSERT_NE(accessible, nullptr);
  EXPECT_EQ(accessible->text(QAccessible::Name), "Salut");

  QClipboard* clipboard = QGuiApplication::clipboard();
  clipboard->setText(qtTrId("hi"));
  QApplication::processEvents();
  EXPECT_EQ(clipboard->text(), "Salut");
  if (clipboard->supportsSelection()) {
    clipboard->setText(qtTrId("hi"), QClipboard::Selection);
    QApplication::processEvents();
    EXPECT_EQ(clipboard->text(QClipboard::Selection), "Salut");
  }
}

}  // namespace
}  // namespace kolvane

namespace kolvane {
namespace {

// The popup window on its screens: the menu's rows, a list pushed and popped, the review's
// cards dealt with and sent, back at the menu.
TEST_F(QtAdapterTest, AWindowTitleKeepsItsCuesButTheWindowSystemGetsItWithout) {
  window_->setWindowTitle(qtTrId("hi"));
  QApplication::processEvents();
  EXPECT_EQ(window_->windowTitle(), q(cued(u"[Salut]")));
  EXPECT_EQ(window_->windowHandle()->title(), "Salut");

  QWidget other;
  other.setWindowTitle(qtTrId("file"));  // before the window exists
  other.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
  EXPECT_EQ(other.windowHandle()->title(), "un fichier");
}

TEST_F(QtAdapterTest, ToolWindowsHaveTheirOwnTitleAndSizeAndStayOnTheScreen) {
  window_->resize(140, 120);
  window_->move(window_->screen()->availableGeometry().bottomRight() - QPoint(150, 130));
  QApplication::processEvents();
  press(label_, 650);
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  EXPECT_EQ(open->windowTitle(), QStringLiteral("Kolvane \u2014 Edit translation"));
  EXPECT_FALSE(open->windowFlags() & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
  EXPECT_GE(open->width(), open->minimumWidth());
  EXPECT_GE(open->width(), 420);
  EXPECT_TRUE(open->QWidget::screen()->availableGeometry().contains(open->frameGeometry()))
      << open->frameGeometry().x() << "," << open->frameGeometry().y();
  EXPECT_TRUE(open->acceptButton()->isVisible() && open->closeButton()->isVisible());
  const auto labels = open->findChildren<QLabel*>();
  EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [](QLabel* label) {
    return label->isVisible() && label->text().endsWith(": Hi");  // the development text
  }));
  closeAll();

  // An error's technical cause is one "Details" away, never the message.
  qt::showAlert(window_.get(), {u"Error", u"Try again.", u"Close", {}, 0, u"network 7: refused"},
                {});
  auto* box = window_->findChild<QMessageBox*>();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->detailedText(), "network 7: refused");
  EXPECT_NE(visibleButton(box, "Details"), nullptr);
  EXPECT_GE(box->width(), 340);
  box->reject();
  QApplication::processEvents();

  // A long message wraps and is shown whole, not cut at the box's edge.
  const QString longer =
      "Are you sure you want to download the latest translations? All unsaved "
      "changes on this device will be overwritten.";
  qt::showAlert(window_.get(),
                {u"Get Latest Text", longer.toStdU16String(), u"No", {u"Yes"}, 0, {}}, {});
  QApplication::processEvents();
  box = window_->findChild<QMessageBox*>();
  ASSERT_NE(box, nullptr);
  for (QLabel* label : box->findChildren<QLabel*>()) {
    if (!label->text().contains("overwritten")) continue;
    const int needed = label->heightForWidth(label->width());
    EXPECT_GE(label->height(), needed) << "the message is cut";
    EXPECT_TRUE(box->rect().contains(label->geometry().bottomRight()));
  }
  box->reject();
}

TEST_F(QtAdapterTest, ThePopupWindowDrawsTheMenuTheListsAndTheCards) {
  logIn();
  answerAsServer();
  QTest::keyClick(window_->windowHandle(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  platform().queue.runAll();
  ASSERT_NE(qt::openPopupWindow(), nullptr);
  ASSERT_NE(popupButton("Logout"), nullptr);
  EXPECT_FALSE(popupButton("Workflow step") == nullptr);

  popupButton("Language")->click();
  platform().queue.runAll();
  EXPECT_EQ(qt::openPopupWindow()->top()->title(), u"Language");
  EXPECT_NE(qt::openPopupWindow()->topView()->findChild<QListWidget*>(), nullptr);
  qt::openPopupWindow()->backButton()->click();
  EXPECT_EQ(qt::openPopupWindow()->top()->title(), u"Kolvane");

  french_->setDirtyGroup(
      "hi", std::const_pointer_cast<KVStringGroup>(french_->kolvaneStringGroupForKey("hi")));
  qt::openPopupWindow()->top()->viewDidLoad();  // the menu reloaded, as after an edit
  platform().queue.runAll();
  qt::setCardAnimationScale(0);
  ASSERT_NE(popupButton("Save My Changes"), nullptr);
  popupButton("Save My Changes")->click();
  platform().queue.runAll();
  ASSERT_NE(popupButton("Confirm"), nullptr);
  EXPECT_EQ(qt::openPopupWindow()->backButton()->text(), "Cancel");
  EXPECT_EQ(qt::openPopupWindow()->windowTitle(), QStringLiteral("Kolvane \u2014 Review changes"));
  popupButton("Confirm")->click();
  EXPECT_TRUE(QTest::qWaitFor([this] {
    platform().queue.runAll();
    return qt::openPopupWindow()->top()->title() == u"Kolvane";
  }));
  EXPECT_TRUE(french_->dirtyStrings().empty());
  qt::setCardAnimationScale(1);
  popupButton("Close")->click();
  EXPECT_TRUE(QTest::qWaitFor([] { return qt::openPopupWindow() == nullptr; }));
}

TEST_F(QtAdapterTest, TheEditionScreenIsUsedFromTheKeyboardAndGivesTheKeyboardBack) {
  label_->setText(KolvaneQt::format(qtTrId("sent"), {qtTrId("file")}));
  press(label_, 650);
  qt::EditionPopup* open = popup();
  ASSERT_NE(open, nullptr);
  QWindow* window = open->windowHandle();
  const std::size_t first = open->screen().currentPage();
  qt::CapsuleTextEdit* field = open->field(first);
  EXPECT_EQ(QApplication::focusWidget(), field);
  EXPECT_TRUE(field->textCursor().atEnd());

  QTest::keyClick(window, Qt::Key_Tab);
  EXPECT_TRUE(qobject_cast<QPushButton*>(QApplication::focusWidget()) != nullptr);
  QTest::keyClick(window, Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(QApplication::focusWidget(), field);
  QTest::keyClick(window, Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_TRUE(field->toPlainText().endsWith('\t'));

  QTest::keyClick(window, Qt::Key_PageDown, Qt::ControlModifier);
  EXPECT_EQ(open->screen().currentPage(), 1 - first);
  EXPECT_EQ(QApplication::focusWidget(), open->field(1 - first));
  QTest::keyClick(window, Qt::Key_Left, Qt::AltModifier);
  EXPECT_EQ(open->screen().currentPage(), first);

  QTest::keyClick(window, Qt::Key_Return, Qt::ControlModifier);
  QApplication::processEvents();
  EXPECT_EQ(popup(), nullptr);
  EXPECT_EQ(french_->dirtyStrings().size(), 1u);  // the tab typed on the first page was saved
  EXPECT_EQ(QApplication::activeWindow(), window_.get());
}

TEST_F(QtAdapterTest, InTheListsEnterChoosesAndEscapeGoesBack) {
  logIn();
  answerAsServer();
  QTest::keyClick(window_->windowHandle(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  platform().queue.runAll();
  qt::PopupWindow* menu = qt::openPopupWindow();
  ASSERT_NE(menu, nullptr);
  // The keyboard is on a row, and not on "Logout": Enter on a menu just opened signs nobody out.
  ASSERT_NE(menu->focusWidget(), nullptr);
  EXPECT_EQ(menu->focusWidget()->objectName(), "Language");
  popupButton("Workflow step")->click();
  platform().queue.runAll();
  ASSERT_EQ(menu->top()->title(), u"Workflow step");
  auto* list = menu->topView()->findChild<QListWidget*>();
  ASSERT_NE(list, nullptr);
  EXPECT_TRUE(list->hasFocus());
  QTest::keyClick(menu->windowHandle(), Qt::Key_Escape);
  EXPECT_EQ(menu->top()->title(), u"Kolvane");
  EXPECT_EQ(qt::openPopupWindow(), menu);

  popupButton("Workflow step")->click();
  platform().queue.runAll();
  controller().setWorkflowStep(nullptr);
  QTest::keyClick(menu->windowHandle(), Qt::Key_Return);
  EXPECT_TRUE(QTest::qWaitFor([this] {
    platform().queue.runAll();
    return controller().workflowStep() != nullptr;
  }));
  EXPECT_EQ(menu->top()->title(), u"Kolvane");
  QTest::keyClick(menu->windowHandle(), Qt::Key_Escape);
  EXPECT_TRUE(QTest::qWaitFor([] { return qt::openPopupWindow() == nullptr; }));
  EXPECT_EQ(QApplication::activeWindow(), window_.get());
}

// Sends one request to the loopback and reads the whole answer.
QByteArray exchangeAnswer(quint16 port, const QByteArray& request) {
  QTcpSocket browser;
  browser.connectToHost(QHostAddress::LocalHost, port);
  if (!QTest::qWaitFor([&browser] { return browser.state() == QAbstractSocket::ConnectedState; }))
    return {};
  browser.write(request);
  QByteArray answer;
  (void)QTest::qWaitFor(
      [&browser, &answer] {
        answer += browser.readAll();
        return browser.state() == QAbstractSocket::UnconnectedState;
      },
      5000);
  return answer + browser.readAll();
}

// The login's loopback: the sign-on page's redirect reaches the screen, whose exchange carries
// the PKCE verifier; the browser gets a page back. What other local processes send there
// changes nothing.
TEST_F(QtAdapterTest, TheLoopbackHandsTheRedirectToTheLoginScreen) {
  KVSession::sharedInstance().setToken(nullptr);
  const QUrl page = openSignOnPage();
  ASSERT_NE(popupButton("Copy link"), nullptr);
  popupButton("Copy link")->click();
  EXPECT_EQ(QGuiApplication::clipboard()->text(), page.toString(QUrl::FullyEncoded));
  EXPECT_NE(popupButton("Open again"), nullptr);
  ASSERT_TRUE(page.isValid());
  const QUrlQuery query(page);
  EXPECT_EQ(query.queryItemValue("code_challenge_method"), "S256");
  const QUrl redirect(query.queryItemValue("redirect_uri"));
  EXPECT_EQ(redirect.host(), "127.0.0.1");

  const QByteArray state = query.queryItemValue("state").toLatin1();
  const auto port = static_cast<quint16>(redirect.port());

  // Another local process: half-requests carrying its own code, closed unanswered, then a
  // whole one. None of their bytes may reach the reviewer's connection, and none signs in.
  for (int attempt = 0; attempt < 300; ++attempt) {
    QTcpSocket intruder;
    intruder.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(QTest::qWaitFor(
        [&intruder] { return intruder.state() == QAbstractSocket::ConnectedState; }));
    intruder.write("GET /login/?code=theirs&state=" + state + "x HTTP/1.1\r\nHost: 1");
    ASSERT_TRUE(QTest::qWaitFor([&intruder] { return intruder.bytesToWrite() == 0; }));
    QCoreApplication::processEvents();
    intruder.abort();
  }
  EXPECT_THAT(exchangeAnswer(port, "GET /login/?code=theirs HTTP/1.1\r\n\r\n"),
              ::testing::HasSubstr("400 Bad Request"));
  QTest::qWait(50);
  EXPECT_TRUE(platform().transport.sent.empty());

  EXPECT_THAT(exchangeAnswer(port, "GET /login/?code=the-code&state=" + state +
                                       " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"),
              ::testing::HasSubstr("go back to the app"));
  ASSERT_FALSE(platform().transport.sent.empty());
  const std::string& exchange = platform().transport.sent.back().body;
  EXPECT_THAT(exchange, ::testing::HasSubstr("code=the-code"));
  EXPECT_THAT(exchange, ::testing::HasSubstr("code_verifier="));
  ASSERT_NE(popupButton("Cancel"), nullptr);
  popupButton("Cancel")->click();
  EXPECT_EQ(qt::openPopupWindow(), nullptr);
}

// Logout with a change not sent asks first and keeps it; the same reviewer signing in again
// through the loopback gets the step back, and a long press edits again.
TEST_F(QtAdapterTest, ALongPressEditsAgainOnceTheReviewerSignsInAfterALogout) {
  logIn();
  KVSession::sharedInstance().setUserId("alice");
  answerAsServer("alice");
  french_->setDirtyGroup(
      "hi", std::const_pointer_cast<KVStringGroup>(french_->kolvaneStringGroupForKey("hi")));
  QTest::keyClick(window_->windowHandle(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  platform().queue.runAll();
  ASSERT_NE(popupButton("Logout"), nullptr);
  popupButton("Logout")->click();
  ASSERT_NE(popupButton("Log Out"), nullptr);
  popupButton("Log Out")->click();
  EXPECT_FALSE(KVSession::sharedInstance().isLoggedIn());
  EXPECT_EQ(french_->dirtyStrings().count("hi"), 1u);
  press(label_, 650);
  EXPECT_EQ(popup(), nullptr);

  const QUrlQuery query(openSignOnPage());
  const auto port = static_cast<quint16>(QUrl(query.queryItemValue("redirect_uri")).port());
  exchangeAnswer(port, "GET /login/?code=c&state=" + query.queryItemValue("state").toLatin1() +
                           " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
  platform().queue.runAll();
  ASSERT_TRUE(KVSession::sharedInstance().isLoggedIn());
  ASSERT_NE(popupButton("Close"), nullptr);  // the menu that follows the sign-in
  popupButton("Close")->click();
  ASSERT_TRUE(QTest::qWaitFor([] { return qt::openPopupWindow() == nullptr; }));
  press(label_, 650);
  EXPECT_THAT(pageKeys(), ::testing::ElementsAre("hi"));
}

}  // namespace
}  // namespace kolvane
