#include "walkthrough.h"

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QTextEdit>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <functional>
#include <iostream>
#include <vector>

#include "inbox_window.h"

namespace {

using Step = std::function<void()>;

// Kolvane's windows (the edition screen, its alert) open now.
std::vector<QWidget*> kolvaneWindows() {
  std::vector<QWidget*> windows;
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible() && widget->property("kolvaneWindow").toBool())
      windows.push_back(widget);
  }
  return windows;
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

// The editable text of the edition screen, focused for typing.
QTextEdit* editableField() {
  for (QWidget* window : kolvaneWindows()) {
    for (QTextEdit* edit : window->findChildren<QTextEdit*>()) {
      // The field of the page in view.
      if (edit->isReadOnly() || !window->rect().contains(edit->mapTo(window, QPoint(0, 0)))) {
        continue;
      }
      window->activateWindow();
      edit->setFocus(Qt::OtherFocusReason);
      return edit;
    }
  }
  return nullptr;
}

// The button titled or named `title`.
void clickButton(const QString& title) {
  for (QWidget* window : kolvaneWindows()) {
    for (QPushButton* button : window->findChildren<QPushButton*>()) {
      if ((button->text() == title || button->objectName() == title) && button->isVisible()) {
        button->click();
        return;
      }
    }
  }
  std::cerr << "walkthrough: no button " << title.toStdString() << "\n";
}

void chooseFirstReason() {
  for (QWidget* window : kolvaneWindows()) {
    const auto choices = window->findChildren<QRadioButton*>();
    if (!choices.isEmpty()) {
      choices.front()->click();
      return;
    }
  }
}

// Lives as long as the window it drives.
class Walkthrough : public QObject {
 public:
  Walkthrough(InboxWindow& window, QString folder)
      : QObject(&window), window_(window), folder_(std::move(folder)) {}

  void run() {
    QDir().mkpath(folder_);
    const auto editSubtitle = [this] {
      QTextEdit* field = editableField();
      if (field == nullptr) return;
      sendKey(field, Qt::Key_A, Qt::ControlModifier);
      for (const QChar c : QString("Chaque texte se relit et se corrige sur place.")) {
        sendKey(field, 0, Qt::NoModifier, QString(c));
      }
    };
    const auto dropPlaceholder = [] {
      QTextEdit* field = editableField();
      if (field == nullptr) return;
      sendKey(field, Qt::Key_A, Qt::ControlModifier);
      for (const QChar c : QString("Bienvenue !")) sendKey(field, 0, Qt::NoModifier, QString(c));
    };
    steps_ = {
        [this] { shot("1-inbox.png"); },
        [this] { longPress(window_.subtitleLabel()); },
        [this] { shot("2-edition-screen.png"); },
        editSubtitle,
        [this] { shot("3-typed.png"); },
        [] { clickButton("Close"); },
        [this] { shot("4-saved-in-place.png"); },
        // The title holds the app's name, a string of its own: two pages.
        [this] { longPress(window_.titleLabel()); },
        [this] { shot("5-nested-strings.png"); },
        [] { clickButton("nextPage"); },
        dropPlaceholder,
        [] { clickButton("Close"); },
        [this] { shot("6-placeholder-alert.png"); },
        [] { clickButton("Cancel changes"); },
        // A reviewer's rejection, with its reason, of a string waiting in the review step.
        [this] { longPress(window_.discountLabel()); },
        [] { clickButton("Reject"); },
        [] { chooseFirstReason(); },
        [this] { shot("7-reject-reason.png"); },
        [] { clickButton("Send"); },
        [this] { shot("8-rejected.png"); },
        [] { clickButton("Close"); },
        [this] {
          std::cout << "walkthrough: screenshots in " << folder_.toStdString() << std::endl;
          QApplication::quit();
        },
    };
    next();
  }

 private:
  void next() {
    if (step_ >= steps_.size()) return;
    QTimer::singleShot(700, &window_, [this] {
      steps_[step_++]();
      next();
    });
  }
  void longPress(QWidget* target) {
    sendMouse(target, QEvent::MouseButtonPress);
    QTimer::singleShot(650, target, [target] { sendMouse(target, QEvent::MouseButtonRelease); });
  }
  // The app's window with Kolvane's windows drawn where they stand over it.
  void shot(const QString& name) {
    QPixmap picture = window_.grab();
    QPainter painter(&picture);
    // A window opened over another one is drawn after it.
    std::vector<QWidget*> windows = kolvaneWindows();
    const auto depth = [](QWidget* window) {
      int levels = 0;
      for (QWidget* parent = window->parentWidget(); parent; parent = parent->parentWidget()) {
        ++levels;
      }
      return levels;
    };
    std::stable_sort(windows.begin(), windows.end(),
                     [&depth](QWidget* a, QWidget* b) { return depth(a) < depth(b); });
    for (QWidget* window : windows) {
      painter.drawPixmap(window->geometry().topLeft() - window_.geometry().topLeft(),
                         window->grab());
    }
    painter.end();
    const QString path = folder_ + "/" + name;
    if (!picture.save(path)) std::cerr << "walkthrough: cannot save " << path.toStdString() << "\n";
  }

  InboxWindow& window_;
  QString folder_;
  std::vector<Step> steps_;
  std::size_t step_ = 0;
};

}  // namespace

void startWalkthrough(InboxWindow& window, const QString& folder) {
  auto* walkthrough = new Walkthrough(window, folder);
  walkthrough->run();
}
