// What KolvaneQt::install() puts in place: the translator, the gestures (a long press on any
// text of the app's windows opens the edition screen; Ctrl+Alt+K the menu; Ctrl+Alt+J the list
// of the window's texts), the tool's host that shows Kolvane's screens, and the guard that keeps
// cues off the clipboard. Main thread.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QTimer>
#include <memory>

class QMouseEvent;

class QLabel;
class QWindow;

namespace kolvane::qt {

class EditionPopup;
class PopupWindow;

// While a signed-in reviewer can edit, a left press (or one finger on a touch screen) is held
// back until it is known not to be a long press: a long press opens the edition screen and
// reaches no widget; a short press, a drag or a double click is handed on as it came.
class GestureFilter : public QObject {
 public:
  // About the time a long press takes on a touch screen.
  static constexpr int kLongPressMilliseconds = 500;
  // Two fingers held this long open the menu.
  static constexpr int kMenuPressMilliseconds = 2000;

  GestureFilter();
  ~GestureFilter() override;
  bool eventFilter(QObject* receiver, QEvent* event) override;
  // Forgets a press under way; a press held back goes on to its widget.
  void cancel();
  // The top-level widget of the last press (the window whose texts are edited).
  QWidget* lastWindow() const { return lastWindow_; }
  // Off from a logout to the next sign-in: a long press does not open the edition screen (the
  // menu stays).
  void setEditionGestureEnabled(bool enabled) { editionGestureEnabled_ = enabled; }

 private:
  bool handleMouse(QWindow* window, QMouseEvent* mouse);
  bool startPress(QWindow* window, const QMouseEvent* mouse);
  bool endPress(QWindow* window, const QMouseEvent* release);
  bool handleKey(QEvent* event);
  void handleTouch(QEvent* event);
  void recognise();
  // Hands the held press on to its window, as if it had just come.
  void replayHeldPress();
  bool editsOnLongPress() const;

  QTimer timer_;
  QTimer menuTimer_;
  QPoint pressPosition_;
  QPointer<QWindow> pressWindow_;
  QPointer<QWidget> lastWindow_;
  std::unique_ptr<QMouseEvent> heldPress_;
  // Two fingers or more were down in this touch: it is the menu's gesture.
  bool multiTouch_ = false;
  bool pressing_ = false;
  // The long press opened the edition screen: its release must not click. Any later press
  // ends this, so a release that never came back (the screen is modal) cannot eat the next.
  bool swallowRelease_ = false;
  bool pressReachedWidget_ = false;
  const QMouseEvent* replaying_ = nullptr;  // an event of ours going to the window
  bool editionGestureEnabled_ = true;
};

// The installed filter, or none.
GestureFilter* gestureFilter();
// The edition screens open now.
std::vector<EditionPopup*> openEditionPopups();
// The hint a long press with nothing to translate shows, while it shows.
QLabel* shownHint();
// The tool's popup window, when open.
PopupWindow* openPopupWindow();
class WindowTextsWindow;
// The list of the window's texts, when open.
WindowTextsWindow* openWindowTexts();

}  // namespace kolvane::qt
