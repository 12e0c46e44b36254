// What KolvaneQt::install() puts in place: the translator, the gestures (a long press on any
// text of the app's windows opens the edition screen; Ctrl+Alt+K the menu), the tool's host
// that shows Kolvane's screens, and the guard that keeps cues off the clipboard. Main thread.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QTimer>
#include <memory>

class QWindow;

namespace kolvane::qt {

class EditionPopup;
class PopupWindow;

class GestureFilter : public QObject {
 public:
  // About the time a long press takes on a touch screen.
  static constexpr int kLongPressMilliseconds = 500;
  // Two fingers held this long open the menu.
  static constexpr int kMenuPressMilliseconds = 2000;

  GestureFilter();
  bool eventFilter(QObject* receiver, QEvent* event) override;
  // Forgets a press under way.
  void cancel();
  // The top-level widget of the last press (the window whose texts are edited).
  QWidget* lastWindow() const { return lastWindow_; }
  // Off from a logout to the next sign-in: a long press does not open the edition screen (the
  // menu stays).
  void setEditionGestureEnabled(bool enabled) { editionGestureEnabled_ = enabled; }

 private:
  bool handleMouse(QWindow* window, QEvent* event);
  bool handleKey(QEvent* event);
  void handleTouch(QEvent* event);
  void recognise();

  QTimer timer_;
  QTimer menuTimer_;
  QPoint pressPosition_;
  QPointer<QWindow> pressWindow_;
  QPointer<QWidget> lastWindow_;
  bool pressing_ = false;
  bool swallowRelease_ = false;
  bool resending_ = false;
  bool editionGestureEnabled_ = true;
};

// The installed filter, or none.
GestureFilter* gestureFilter();
// The edition screens open now.
std::vector<EditionPopup*> openEditionPopups();
// The tool's popup window, when open.
PopupWindow* openPopupWindow();

}  // namespace kolvane::qt
