#include "walkthrough.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QMouseEvent>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QTextDocumentFragment>
#include <QTextEdit>
#include <QTimer>
#include <QUrlQuery>
#include <QWindow>
#include <algorithm>
#include <functional>
#include <iostream>
#include <vector>

#include "inbox_window.h"
#include "kolvane/qt.h"

namespace {

// The demo project's reviewer (examples/DemoProject/project.json).
constexpr const char* kReviewer = "reviewer";
constexpr const char* kPassword = "reviewer";

// Kolvane's windows (the popup, the edition screen, alerts) open now.
std::vector<QWidget*> kolvaneWindows() {
  std::vector<QWidget*> windows;
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible() && widget->property("kolvaneWindow").toBool())
      windows.push_back(widget);
  }
  return windows;
}

template <typename Widget>
std::vector<Widget*> shown() {
  std::vector<Widget*> found;
  for (QWidget* window : kolvaneWindows()) {
    for (Widget* widget : window->findChildren<Widget*>()) {
      if (widget->isVisible()) found.push_back(widget);
    }
  }
  return found;
}

QPushButton* buttonTitled(const QString& title) {
  for (QPushButton* button : shown<QPushButton>()) {
    if (button->text() == title || button->objectName() == title) return button;
  }
  return nullptr;
}

bool busy() { return !shown<QProgressBar>().empty(); }

bool hintShown() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->objectName() == QLatin1String("kolvaneHint") && widget->isVisible()) return true;
  }
  return false;
}

QMessageBox* alertShown() {
  for (QWidget* window : kolvaneWindows()) {
    if (auto* box = qobject_cast<QMessageBox*>(window)) return box;
  }
  return nullptr;
}

void sendMouse(QWidget* target, QEvent::Type type) {
  QWindow* window = target->window()->windowHandle();
  const QPoint global = target->mapToGlobal(target->rect().center());
  QMouseEvent event(type, window->mapFromGlobal(global), global, Qt::LeftButton,
                    type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                    Qt::NoModifier);
  QCoreApplication::sendEvent(window, &event);
}

void sendKey(QWidget* target, int key, Qt::KeyboardModifiers modifiers, const QString& text = {}) {
  QWindow* window = target->window()->windowHandle();
  QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
  QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
  QCoreApplication::sendEvent(window, &press);
  QCoreApplication::sendEvent(window, &release);
}

// Types as the reviewer would on the keyboard alone: the edition screen opens with the caret
// in the page's text, so Ctrl+A and the text replace it.
void typeWithTheKeyboard(const QString& text) {
  QWidget* focused = QApplication::focusWidget();
  if (focused == nullptr) {
    std::cerr << "walkthrough: nothing has the keyboard\n";
    return;
  }
  sendKey(focused, Qt::Key_A, Qt::ControlModifier);
  for (const QChar c : text) sendKey(focused, 0, Qt::NoModifier, QString(c));
}

// Replaces the text of the edition screen's page in view: of the editable fields, the one
// most inside its window (the others are scrolled off to the sides).
void typeIntoEditionScreen(const QString& text) {
  QTextEdit* field = nullptr;
  int bestOverlap = 0;
  for (QWidget* window : kolvaneWindows()) {
    for (QTextEdit* edit : window->findChildren<QTextEdit*>()) {
      if (edit->isReadOnly()) continue;
      const QRect inWindow(edit->mapTo(window, QPoint(0, 0)), edit->size());
      const QRect overlap = inWindow.intersected(window->rect());
      if (overlap.width() * overlap.height() > bestOverlap) {
        bestOverlap = overlap.width() * overlap.height();
        field = edit;
      }
    }
  }
  if (field == nullptr) {
    std::cerr << "walkthrough: no editable text\n";
    return;
  }
  field->window()->activateWindow();
  field->setFocus(Qt::OtherFocusReason);
  sendKey(field, Qt::Key_A, Qt::ControlModifier);
  for (const QChar c : text) sendKey(field, 0, Qt::NoModifier, QString(c));
}

void click(const QString& title) {
  if (QPushButton* button = buttonTitled(title)) return button->click();
  std::cerr << "walkthrough: no button " << title.toStdString() << "\n";
}

void chooseListEntry(const QString& containing) {
  for (QListWidget* list : shown<QListWidget>()) {
    for (int row = 0; row < list->count(); ++row) {
      QListWidgetItem* item = list->item(row);
      if (item->text().contains(containing) && (item->flags() & Qt::ItemIsEnabled)) {
        emit list->itemClicked(item);
        return;
      }
    }
  }
  std::cerr << "walkthrough: no entry " << containing.toStdString() << "\n";
}

void chooseFirstReason() {
  const auto choices = shown<QRadioButton>();
  if (!choices.empty()) choices.front()->click();
}

// One step: an action, then a wait until the app shows what it should (none: a short pause).
struct Step {
  std::function<void()> action;
  std::function<bool()> until;
  const char* what = "";
};

bool menuReady() { return buttonTitled("Logout") != nullptr && !busy(); }

// Lives as long as the window it drives.
class Walkthrough : public QObject {
 public:
  Walkthrough(InboxWindow& window, WalkthroughOptions options)
      : QObject(&window), window_(window), options_(std::move(options)) {}

  void run() {
    QDir().mkpath(options_.folder);
    kolvane::KolvaneQt::setSignOnPageOpener([this](const QUrl& page) { signOnPage_ = page; });
    steps_ = signInAndChoose();
    if (options_.scenario == "pull-fails") {
      append(
          {{[this] { switchFault(); }, {}, ""},
           {[] { click("Get Latest Text"); }, [] { return alertShown() != nullptr; }, "the alert"},
           {[this] { shot("pull-failed-alert.png"); }, {}, ""},
           {[] { reportAndCloseAlert(); }, {}, ""}});
    } else {
      append({{[] { click("Get Latest Text"); }, menuReady, "the latest text"},
              {[this] { shot("06-latest-text.png"); }, {}, ""}});
      append(captures());
      append(windowTexts());
      append(editAcceptAndReject());
      append(reviewAndSend());
    }
    append({{[this] {
               std::cout << "walkthrough: screenshots in " << options_.folder.toStdString()
                         << std::endl;
               QApplication::quit();
             },
             {},
             ""}});
    next();
  }

 private:
  std::vector<Step> signInAndChoose() {
    return {
        {[this] { shot("01-inbox.png"); }, {}, ""},
        {[this] { sendKey(&window_, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier); },
         [] { return buttonTitled("Cancel") != nullptr; }, "the login screen"},
        {[this] { shot("02-login.png"); }, {}, ""},
        {[this] { playBrowser(signOnPage_); }, [this] { return signedIn_ && menuReady(); },
         "the menu after signing in"},
        {[this] { shot("03-menu-signed-in.png"); }, {}, ""},
        {[] { click("Language"); }, [] { return !shown<QListWidget>().empty() && !busy(); },
         "the languages"},
        {[this] { shot("04-languages.png"); }, {}, ""},
        {[] { chooseListEntry("French"); }, menuReady, "the menu after the language"},
        {[] { click("Workflow step"); }, [] { return !shown<QListWidget>().empty(); }, "the steps"},
        {[this] { shot("05-workflow-steps.png"); }, {}, ""},
        {[] { chooseListEntry("Review"); }, menuReady, "the menu after the step"},
    };
  }

  // The window captured from the menu, then every window the app opens captured through the
  // API, as an automated run would.
  std::vector<Step> captures() {
    const auto sent = [] {
      QPushButton* row = buttonTitled("Capture this window");
      return row != nullptr && row->isEnabled() && !row->text().endsWith(QStringLiteral("…"));
    };
    const auto delivered = [this] { return capturesUnderWay_ == 0; };
    return {
        {[] { click("Capture this window"); }, sent, "the capture from the menu"},
        {[this] {
           showRow("Capture this window");
           shot("06-capture-sent.png");
         },
         {},
         ""},
        {[] { click("Close"); }, {}, ""},
        {[this] { tabs()->setCurrentIndex(1); }, {}, ""},
        {[this] { capture(&window_, "the inbox's Sent tab"); }, delivered, "a capture sent"},
        {[this] { tabs()->setCurrentIndex(0); }, {}, ""},
        {[this] { capture(window_.openMessage(0), "a message"); }, delivered, "a capture sent"},
        {[this] { window_.closeMessage(); }, {}, ""},
    };
  }

  // Scrolls the menu to its row `title`, for the screenshot.
  static void showRow(const QString& title) {
    QPushButton* row = buttonTitled(title);
    for (QScrollArea* area : shown<QScrollArea>()) {
      if (row != nullptr && area->isAncestorOf(row)) area->ensureWidgetVisible(row);
    }
  }

  QTabWidget* tabs() { return window_.findChild<QTabWidget*>(); }

  void capture(QWidget* window, const std::string& name) {
    ++capturesUnderWay_;
    const auto taken = kolvane::KolvaneQt::captureWindow(
        window, [this, name](const kolvane::KVCaptureDelivery& delivery) {
          --capturesUnderWay_;
          std::cout << "walkthrough: captured " << name << ": "
                    << (delivery.outcome == kolvane::KVCaptureDelivery::Outcome::sent
                            ? "sent, for " + std::to_string(delivery.attachedStrings) + " strings"
                            : "not sent, " +
                                  QString::fromStdU16String(delivery.reason).toStdString())
                    << std::endl;
        });
    if (!taken) {
      --capturesUnderWay_;
      std::cerr << "walkthrough: " << name << " could not be captured\n";
    }
  }

  // The list of the window's texts, then the window pseudo-translated and right to left, both
  // switched from the list and back.
  std::vector<Step> windowTexts() {
    const auto listShown = [] { return textsWindow() != nullptr; };
    return {
        {[this] { sendKey(&window_, Qt::Key_J, Qt::ControlModifier | Qt::AltModifier); }, listShown,
         "the texts of the window"},
        {[this] { shot("06-window-texts.png"); }, {}, ""},
        // Each step comes half a second after the last: time for the app to retranslate.
        {[] { toggle("Pseudo-translation"); }, {}, ""},
        {[this] { shot("06-pseudo-translation.png"); }, {}, ""},
        {[] { toggle("Pseudo-translation"); }, {}, ""},
        {[] { toggle("Right to left"); }, {}, ""},
        {[this] { shot("06-right-to-left.png"); }, {}, ""},
        {[] { toggle("Right to left"); }, {}, ""},
        {[] {
           if (QWidget* list = textsWindow()) list->close();
         },
         [] { return textsWindow() == nullptr; }, "the list closed"},
    };
  }

  static QWidget* textsWindow() {
    for (QWidget* window : kolvaneWindows()) {
      if (window->objectName() == QLatin1String("kolvaneWindowTexts")) return window;
    }
    return nullptr;
  }

  static void toggle(const QString& title) {
    for (QCheckBox* box : shown<QCheckBox>()) {
      if (box->text() == title) return box->toggle();
    }
    std::cerr << "walkthrough: no switch " << title.toStdString() << "\n";
  }

  std::vector<Step> editAcceptAndReject() {
    const auto edition = [] { return buttonTitled("Accept") != nullptr; };
    const auto closed = [] { return buttonTitled("Accept") == nullptr; };
    return {
        // The keyboard alone: typed where the caret waits, closed and saved with Ctrl+Enter.
        {[this] { longPress(window_.subtitleLabel()); }, edition, "the edition screen"},
        {[] { typeWithTheKeyboard("Chaque texte se relit et se corrige sur place."); }, {}, ""},
        {[this] { shot("07-edition-screen.png"); }, {}, ""},
        {[] {
           if (QWidget* focused = QApplication::focusWidget()) {
             sendKey(focused, Qt::Key_Return, Qt::ControlModifier);
           }
         },
         closed, "the edit saved with Ctrl+Enter"},
        // A long press where there is nothing to translate says so at the pointer.
        {[this] { longPress(window_.openMessage(0)); }, [] { return hintShown(); }, "the hint"},
        {[this] { shot("07-hint.png"); }, {}, ""},
        {[this] { window_.closeMessage(); }, {}, ""},
        // A second edit, which the review discards.
        {[this] { longPress(window_.composeButton()); }, edition, "the button's string"},
        {[] { typeIntoEditionScreen("Rédiger"); }, {}, ""},
        {[] { click("Close"); }, closed, "the second edit"},
        {[this] { longPress(window_.termsLabel()); }, edition, "a string to accept"},
        {[] { click("Accept"); }, {}, ""},
        {[] { click("Close"); }, closed, "the accepted string"},
        {[this] { longPress(window_.discountLabel()); }, edition, "a string to reject"},
        {[] { click("Reject"); }, [] { return buttonTitled("Send") != nullptr; }, "the reasons"},
        {[] { chooseFirstReason(); }, {}, ""},
        {[this] { shot("08-reject-reason.png"); }, {}, ""},
        {[] { click("Send"); }, {}, ""},
        {[] { click("Close"); }, closed, "the rejected string"},
    };
  }

  std::vector<Step> reviewAndSend() {
    const auto cardsShown = [] {
      QPushButton* confirm = buttonTitled("Confirm");
      return confirm != nullptr && confirm->isEnabled() && !busy();
    };
    return {
        {[this] { sendKey(&window_, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier); }, menuReady,
         "the menu with changes"},
        {[this] { shot("09-menu-with-changes.png"); }, {}, ""},
        // With changes not sent, the latest text asks first; the reviewer says no.
        {[] { click("Get Latest Text"); }, [] { return alertShown() != nullptr; },
         "the confirmation"},
        {[this] { shot("09-confirmation.png"); }, {}, ""},
        {[] { answerAlert("No"); }, [] { return alertShown() == nullptr; }, "the answer"},
        {[this] { switchFault(); }, {}, ""},
        {[] { click("Save My Changes"); }, cardsShown, "the cards"},
        {[this] { shot("10-review-cards.png"); }, {}, ""},
        // Edited strings come first, then accepted, then rejected, each sorted by key:
        // action.compose, welcome.subtitle, terms.link, discount.label.
        {[] { click("Discard"); }, cardsShown, "the second card"},
        {[] { click("Confirm"); }, cardsShown, "the third card"},
        {[] { click("Confirm"); }, cardsShown, "the last card"},
        {[] { click("Confirm"); },
         [] {
           return alertShown() != nullptr || (menuReady() && buttonTitled("Confirm") == nullptr);
         },
         "the sending"},
        {[this] { shot(alertShown() ? "11-send-alert.png" : "11-sent.png"); }, {}, ""},
        {[] { reportAndCloseAlert(); }, {}, ""},
    };
  }

  void append(std::vector<Step> steps) {
    for (auto& step : steps) steps_.push_back(std::move(step));
  }

  static void answerAlert(const QString& button) {
    if (QMessageBox* box = alertShown()) {
      for (QAbstractButton* each : box->buttons()) {
        if (each->text() == button) return each->click();
      }
    }
    std::cerr << "walkthrough: no alert button " << button.toStdString() << "\n";
  }

  static void reportAndCloseAlert() {
    if (QMessageBox* box = alertShown()) {
      // The message is set as rich text made from plain text: report the plain text.
      std::cout
          << "walkthrough: alert " << box->text().toStdString() << ": "
          << QTextDocumentFragment::fromHtml(box->informativeText()).toPlainText().toStdString()
          << std::endl;
      if (QAbstractButton* close = box->buttons().value(0)) close->click();
    }
  }

  void next() {
    if (step_ >= steps_.size()) return;
    QTimer::singleShot(500, &window_, [this] {
      Step& step = steps_[step_++];
      step.action();
      waitFor(step, 0);
    });
  }
  void waitFor(const Step& step, int waited) {
    if (!step.until || step.until()) return next();
    if (waited > 30'000) {
      std::cerr << "walkthrough: gave up waiting for " << step.what << std::endl;
      shot("failed.png");
      QApplication::exit(1);
      return;
    }
    QTimer::singleShot(100, &window_, [this, &step, waited] { waitFor(step, waited + 100); });
  }

  // The sign-on page in a browser: the reviewer's name and password posted, the redirect to
  // the app's loopback followed.
  void playBrowser(const QUrl& page) {
    QUrlQuery form(page);
    form.addQueryItem("username", kReviewer);
    form.addQueryItem("password", kPassword);
    QUrl action = page;
    action.setQuery(QString());
    QNetworkRequest post(action);
    post.setHeader(QNetworkRequest::ContentTypeHeader, "application/x-www-form-urlencoded");
    post.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                      QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = network_.post(post, form.query(QUrl::FullyEncoded).toUtf8());
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
      reply->deleteLater();
      const QUrl back = reply->header(QNetworkRequest::LocationHeader).toUrl();
      if (!back.isValid()) {
        std::cerr << "walkthrough: the sign-on page did not redirect\n";
        return;
      }
      QNetworkReply* loopback = network_.get(QNetworkRequest(back));
      connect(loopback, &QNetworkReply::finished, this, [this, loopback] {
        loopback->deleteLater();
        signedIn_ = true;
      });
    });
  }

  void switchFault() {
    if (options_.fault.isEmpty()) return;
    QNetworkRequest request(QUrl(options_.server + "/_dev/faults"));
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    QNetworkReply* reply = network_.post(request, options_.fault.toUtf8());
    connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
  }

  void longPress(QWidget* target) {
    sendMouse(target, QEvent::MouseButtonPress);
    QTimer::singleShot(650, target, [target] { sendMouse(target, QEvent::MouseButtonRelease); });
  }

  // The app's window with Kolvane's windows drawn where they stand over it.
  void shot(const QString& name) {
    // The screen where the app's window and every window over it stand: a tool window may be
    // larger than the app's, or beside it.
    QRect area = window_.frameGeometry();
    for (QWidget* window : QApplication::topLevelWidgets()) {
      if (window->isVisible()) area |= window->frameGeometry();
    }
    area &= window_.screen()->geometry();
    QApplication::processEvents();
    const QPixmap picture =
        window_.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    const QString path = options_.folder + "/" + name;
    if (!picture.save(path)) std::cerr << "walkthrough: cannot save " << path.toStdString() << "\n";
  }

  InboxWindow& window_;
  WalkthroughOptions options_;
  QNetworkAccessManager network_;
  std::vector<Step> steps_;
  std::size_t step_ = 0;
  QUrl signOnPage_;
  bool signedIn_ = false;
  int capturesUnderWay_ = 0;
};

}  // namespace

void startWalkthrough(InboxWindow& window, const WalkthroughOptions& options) {
  auto* walkthrough = new Walkthrough(window, options);
  walkthrough->run();
}
