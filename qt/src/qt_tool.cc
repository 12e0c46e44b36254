#include "qt_tool.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWindow>

#include "kolvane/cues.h"
#include "kolvane/qt.h"
#include "kolvane/tool.h"
#include "qt_edition_popup.h"
#include "qt_popup_window.h"
#include "qt_reject_reason_dialog.h"
#include "qt_tool_screens.h"
#include "qt_translator.h"
#include "qt_views.h"
#include "qt_window_texts.h"

namespace kolvane::qt {
namespace {

QString withoutCues(const QString& text) { return KolvaneQt::withoutCues(text); }

bool holdsCues(const QString& text) { return withoutCues(text).size() != text.size(); }

// What assistive technology reads of a label: its text without cues.
class CuelessLabelAccessible : public QAccessibleWidget {
 public:
  explicit CuelessLabelAccessible(QLabel* label)
      : QAccessibleWidget(label, QAccessible::StaticText) {}
  QString text(QAccessible::Text kind) const override {
    if (kind != QAccessible::Name) return QAccessibleWidget::text(kind);
    const auto* label = static_cast<const QLabel*>(widget());
    const QString name = label->accessibleName();
    return withoutCues(name.isEmpty() ? label->text() : name);
  }
};

QAccessibleInterface* cuelessAccessible(const QString& className, QObject* object) {
  if (className == QLatin1String("QLabel")) {
    if (auto* label = qobject_cast<QLabel*>(object)) return new CuelessLabelAccessible(label);
  }
  return nullptr;
}

// The app's window the tool works over: the one last pressed, else the active one, else the
// first one shown (without a window manager nothing may be active yet).
QWidget* appWindow() {
  if (QWidget* pressed = gestureFilter() != nullptr ? gestureFilter()->lastWindow() : nullptr;
      pressed != nullptr && pressed->isVisible()) {
    return pressed;
  }
  if (QWidget* active = QApplication::activeWindow(); active && !isKolvaneWindow(active)) {
    return active;
  }
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->isVisible() && !isKolvaneWindow(window) && window->windowType() != Qt::ToolTip) {
      return window;
    }
  }
  return nullptr;
}

class QtToolHost : public KVToolHost {
 public:
  std::shared_ptr<KVHostWindow> keyWindow() const override {
    QWidget* window = appWindow();
    return window != nullptr ? windowOf(window) : nullptr;
  }
  void presentEditionScreen(const std::shared_ptr<KVEditionScreen>& screen,
                            const std::shared_ptr<KVHostView>&) override {
    auto* popup = new EditionPopup(screen, appWindow());
    popup->setAttribute(Qt::WA_DeleteOnClose);
    popups_.push_back(popup);
    popup->show();
  }
  void dismissEditionScreens(bool) override {
    for (const auto& popup : popups_) {
      if (popup) popup->dismiss();
    }
    popups_.clear();
  }
  void askRejectReason(const std::shared_ptr<KVEditionScreen>& screen) override {
    const auto open = popups();
    auto* dialog = new RejectReasonDialog(std::make_shared<KVRejectReasonForm>(screen),
                                          open.empty() ? nullptr : open.back());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
  }
  void cancelEditionPress() override {
    if (gestureFilter() != nullptr) gestureFilter()->cancel();
  }
  void presentToolScreen(const std::shared_ptr<KVToolScreen>& screen) override {
    if (popup_) {
      popup_->setAttribute(Qt::WA_DeleteOnClose);
      popup_->done(QDialog::Rejected);
    }
    popup_ = new PopupWindow(appWindow());
    popup_->setAttribute(Qt::WA_DeleteOnClose);
    popup_->push(screen);
    popup_->show();
  }
  void pushToolScreen(const std::shared_ptr<KVToolScreen>& screen) override {
    if (!popup_) return presentToolScreen(screen);
    popup_->push(screen);
  }
  void popToolScreen() override {
    if (popup_) popup_->pop();
  }
  void popToToolScreen(const KVToolScreen& screen) override {
    if (popup_) popup_->popTo(screen);
  }
  void dismissToolScreens(std::function<void()> completion) override {
    if (popup_) popup_->done(QDialog::Accepted);
    popup_ = nullptr;
    if (completion) completion();
  }
  void showAlert(const KVAlert& alert, std::function<void(std::size_t)> answer) override {
    QWidget* over = popup_ ? static_cast<QWidget*>(popup_) : QApplication::activeWindow();
    qt::showAlert(over, alert, std::move(answer));
  }
  bool openSignOnPage(const std::string& url) override {
    return qt::openSignOnPage(QUrl(QString::fromStdString(url)));
  }
  void removeEditionGesture() override {
    if (gestureFilter() != nullptr) gestureFilter()->setEditionGestureEnabled(false);
  }
  void setupEditionGesture() override {
    if (gestureFilter() != nullptr) gestureFilter()->setEditionGestureEnabled(true);
  }
  void presentWindowTexts(const std::shared_ptr<KVWindowTextsScreen>& screen) override {
    if (texts_) texts_->close();
    QWidget* over = appWindow();
    texts_ = new WindowTextsWindow(screen, over);
    texts_->setAttribute(Qt::WA_DeleteOnClose);
    texts_->show();
  }
  void flashPlace(const KVRect& rect) override {
    flashRect(QRect(static_cast<int>(rect.x), static_cast<int>(rect.y),
                    static_cast<int>(rect.width), static_cast<int>(rect.height)));
  }
  void setRightToLeft(bool on) override {
    if (on) {
      directionBefore_ = QGuiApplication::layoutDirection();
      QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    } else {
      QGuiApplication::setLayoutDirection(directionBefore_);
    }
  }
  WindowTextsWindow* windowTexts() const { return texts_; }
  PopupWindow* popup() const { return popup_; }
  void stringsDidChange() override {
    // Apps that retranslate themselves on LanguageChange pick the new texts up everywhere.
    QCoreApplication::postEvent(qApp, new QEvent(QEvent::LanguageChange));
  }
  std::vector<EditionPopup*> popups() const {
    std::vector<EditionPopup*> open;
    for (const auto& popup : popups_) {
      if (popup) open.push_back(popup);
    }
    return open;
  }

 private:
  std::vector<QPointer<EditionPopup>> popups_;
  QPointer<PopupWindow> popup_;
  QPointer<WindowTextsWindow> texts_;
  Qt::LayoutDirection directionBefore_ = Qt::LeftToRight;
};

struct Installed {
  std::unique_ptr<KVQtTranslator> translator;
  std::unique_ptr<GestureFilter> filter;
  std::shared_ptr<QtToolHost> host;
  QMetaObject::Connection clipboard;
  QMetaObject::Connection selection;
};

Installed& installed() {
  static Installed state;
  return state;
}

// Text copied out of the app leaves without cues.
void stripClipboard(QClipboard::Mode mode) {
  static bool stripping = false;
  if (stripping) return;
  QClipboard* clipboard = QGuiApplication::clipboard();
  const QMimeData* data = clipboard->mimeData(mode);
  if (data == nullptr) return;
  const QString text = data->text();
  const QString html = data->hasHtml() ? data->html() : QString();
  if (!holdsCues(text) && !holdsCues(html)) return;
  auto* stripped = new QMimeData;
  stripped->setText(withoutCues(text));
  if (!html.isEmpty()) stripped->setHtml(withoutCues(html));
  stripping = true;
  clipboard->setMimeData(stripped, mode);
  stripping = false;
}

// A top-level widget keeps its title with cues (a long press traces it); the window system
// (window manager, task bar, accessibility) gets it without them.
void keepCuesOffWindowTitle(QObject* receiver) {
  auto* widget = qobject_cast<QWidget*>(receiver);
  if (widget == nullptr || !widget->isWindow() || widget->windowHandle() == nullptr) return;
  QWindow* window = widget->windowHandle();
  if (holdsCues(window->title())) window->setTitle(withoutCues(window->title()));
}

// A short note at the pointer that outlives the release of the press that asked for it (a
// tooltip would go with the release).
void showHint(const QPoint& global, const QString& text) {
  static QPointer<QLabel> hint;
  if (!hint) {
    hint = new QLabel;
    makeOverlay(hint, QStringLiteral("kolvaneHint"));
    hint->setForegroundRole(QPalette::ToolTipText);
    hint->setBackgroundRole(QPalette::ToolTipBase);
    hint->setAutoFillBackground(true);
    hint->setMargin(6);
  }
  hint->setText(text);
  hint->adjustSize();
  hint->move(global + QPoint(12, 12));
  hint->show();
  QTimer::singleShot(2000, hint, [] {
    if (hint) hint->hide();
  });
}

}  // namespace

QLabel* shownHint() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->objectName() == QLatin1String("kolvaneHint") && widget->isVisible()) {
      return static_cast<QLabel*>(widget);
    }
  }
  return nullptr;
}

GestureFilter* gestureFilter() { return installed().filter.get(); }

std::vector<EditionPopup*> openEditionPopups() {
  return installed().host ? installed().host->popups() : std::vector<EditionPopup*>();
}

PopupWindow* openPopupWindow() { return installed().host ? installed().host->popup() : nullptr; }

WindowTextsWindow* openWindowTexts() {
  return installed().host ? installed().host->windowTexts() : nullptr;
}

GestureFilter::GestureFilter() {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  timer_.setInterval(kLongPressMilliseconds);
  connect(&timer_, &QTimer::timeout, this, [this] { recognise(); });
  menuTimer_.setSingleShot(true);
  menuTimer_.setTimerType(Qt::PreciseTimer);
  menuTimer_.setInterval(kMenuPressMilliseconds);
  connect(&menuTimer_, &QTimer::timeout, this, [] { KolvaneTool::triggerActions(); });
}

GestureFilter::~GestureFilter() = default;

void GestureFilter::cancel() {
  timer_.stop();
  pressing_ = false;
  replayHeldPress();
}

bool GestureFilter::editsOnLongPress() const {
  return editionGestureEnabled_ && KolvaneTool::editionEnabled();
}

void GestureFilter::replayHeldPress() {
  const std::unique_ptr<QMouseEvent> press = std::move(heldPress_);
  if (!press || !pressWindow_) return;
  pressReachedWidget_ = true;
  // Only this event is let through: a press that opens a nested event loop (a menu button)
  // leaves the gestures working inside it.
  replaying_ = press.get();
  QCoreApplication::sendEvent(pressWindow_, press.get());
  replaying_ = nullptr;
}

bool GestureFilter::eventFilter(QObject* receiver, QEvent* event) {
  if (event->type() == QEvent::WindowTitleChange || event->type() == QEvent::Show) {
    keepCuesOffWindowTitle(receiver);
    return false;
  }
  // Seen at the window, each press arrives once, before any widget acts on it.
  auto* window = qobject_cast<QWindow*>(receiver);
  if (window == nullptr) return false;
  switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
      return handleMouse(window, static_cast<QMouseEvent*>(event));
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
      return handleKey(event);
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
      handleTouch(event);
      return false;
    default:
      return false;
  }
}

bool GestureFilter::handleMouse(QWindow* window, QMouseEvent* mouse) {
  if (mouse == replaying_) return false;
  // A touch of two fingers is the menu's gesture; the press Qt made of it is left be.
  if (mouse->source() != Qt::MouseEventNotSynthesized && multiTouch_) return false;
  switch (mouse->type()) {
    case QEvent::MouseButtonPress:
      return startPress(window, mouse);
    case QEvent::MouseButtonDblClick:
      cancel();
      return false;
    case QEvent::MouseMove:
      if (pressing_ && (mouse->globalPosition().toPoint() - pressPosition_).manhattanLength() >
                           QApplication::startDragDistance()) {
        cancel();  // a drag: the widget gets its press, then the moves
        return false;
      }
      // A widget that has not had its press yet must not see the button move (an item view
      // would drag from its last press).
      return heldPress_ != nullptr;
    default:
      return endPress(window, mouse);
  }
}

bool GestureFilter::startPress(QWindow* window, const QMouseEvent* mouse) {
  swallowRelease_ = false;
  cancel();  // another button while one is held: the held press goes first
  const QPoint global = mouse->globalPosition().toPoint();
  QWidget* widget = QApplication::widgetAt(global);
  if (mouse->button() != Qt::LeftButton || widget == nullptr || isKolvaneWindow(widget)) {
    return false;
  }
  pressing_ = true;
  pressPosition_ = global;
  pressWindow_ = window;
  lastWindow_ = widget->window();
  timer_.start();
  pressReachedWidget_ = !editsOnLongPress();
  if (pressReachedWidget_) return false;
  heldPress_.reset(static_cast<QMouseEvent*>(mouse->clone()));
  return true;
}

bool GestureFilter::endPress(QWindow* window, const QMouseEvent* release) {
  cancel();  // a short press: the widget gets its press before this release
  if (!swallowRelease_) return false;
  swallowRelease_ = false;
  if (!pressReachedWidget_) return true;
  // The widget saw the press (editing was switched on meanwhile): it gets its release far
  // away from itself, so it lets go without clicking.
  QMouseEvent away(QEvent::MouseButtonRelease, QPointF(-100000, -100000), QPointF(-100000, -100000),
                   release->button(), release->buttons(), release->modifiers());
  replaying_ = &away;
  QCoreApplication::sendEvent(window, &away);
  replaying_ = nullptr;
  return true;
}

bool GestureFilter::handleKey(QEvent* event) {
  const auto* key = static_cast<QKeyEvent*>(event);
  const auto wanted = Qt::ControlModifier | Qt::AltModifier;
  const bool ours = key->key() == Qt::Key_K || key->key() == Qt::Key_J;
  if (!ours || (key->modifiers() & wanted) != wanted) return false;
  // Taken before the app's own shortcuts see it.
  if (event->type() == QEvent::ShortcutOverride) {
    event->accept();
    return true;
  }
  if (key->key() == Qt::Key_K) {
    KolvaneTool::triggerActions();
  } else {
    KolvaneTool::triggerWindowTexts();
  }
  return true;
}

void GestureFilter::handleTouch(QEvent* event) {
  const auto* touch = static_cast<QTouchEvent*>(event);
  const bool ended = event->type() == QEvent::TouchEnd || event->type() == QEvent::TouchCancel;
  if (event->type() == QEvent::TouchBegin) multiTouch_ = false;
  int fingersDown = 0;
  for (const QEventPoint& point : touch->points()) {
    if (!ended && point.state() != QEventPoint::Released) ++fingersDown;
  }
  // A second finger makes it the menu's gesture: a one-finger long press under way ends, and
  // its press reaches nothing.
  if (fingersDown >= 2 && !multiTouch_) {
    multiTouch_ = true;
    heldPress_.reset();
    cancel();
  }
  // The menu wants exactly two fingers held still enough to stay down; anything else ends it.
  if (fingersDown != 2) {
    menuTimer_.stop();
  } else if (!menuTimer_.isActive()) {
    menuTimer_.start();
  }
}

void GestureFilter::recognise() {
  if (!pressing_) return;
  pressing_ = false;
  if (!editsOnLongPress()) return replayHeldPress();
  if (KolvaneTool::triggerEdition(hostViewAt(pressPosition_))) {
    heldPress_.reset();
    swallowRelease_ = true;
    return;
  }
  // Nothing to edit here: the press was a long one for the app, and the reviewer is told.
  replayHeldPress();
  showHint(pressPosition_, QString::fromUtf16(kKVNoTranslatableTextHint));
}

}  // namespace kolvane::qt

namespace kolvane {

namespace {

// The app's widgets translate again, as after QCoreApplication::installTranslator().
void announceLanguageChange() {
  if (QCoreApplication* application = QCoreApplication::instance()) {
    QEvent change(QEvent::LanguageChange);
    QCoreApplication::sendEvent(application, &change);
  }
}

// Kolvane's translator in place, the app's own handed over to it.
void installKolvaneTranslator() {
  qt::Installed& state = qt::installed();
  if (state.translator) return;
  state.translator = std::make_unique<KVQtTranslator>();
  for (QTranslator* own : KVQtAppTranslators::instance().all()) {
    QCoreApplication::removeTranslator(own);
  }
  QCoreApplication::installTranslator(state.translator.get());
}

}  // namespace

bool KolvaneQt::installTranslator(QTranslator* translator) {
  if (!KVQtAppTranslators::instance().add(translator)) return false;
  if (!qt::installed().translator) {
    installKolvaneTranslator();
  } else {
    announceLanguageChange();
  }
  return true;
}

bool KolvaneQt::removeTranslator(QTranslator* translator) {
  if (!KVQtAppTranslators::instance().remove(translator)) return false;
  announceLanguageChange();
  return true;
}

void KolvaneQt::install() {
  installKolvaneTranslator();
  qt::Installed& state = qt::installed();
  if (state.filter) return;
  state.filter = std::make_unique<qt::GestureFilter>();
  qApp->installEventFilter(state.filter.get());
  state.host = std::make_shared<qt::QtToolHost>();
  KolvaneQtWindows::instance();  // follows the tool's windows from now on
  KolvaneTool::indexDesignTimeTexts();
  KolvaneTool::setHost(state.host);
  QClipboard* clipboard = QGuiApplication::clipboard();
  state.clipboard = QObject::connect(clipboard, &QClipboard::dataChanged,
                                     [] { qt::stripClipboard(QClipboard::Clipboard); });
  state.selection = QObject::connect(clipboard, &QClipboard::selectionChanged,
                                     [] { qt::stripClipboard(QClipboard::Selection); });
  // Qt keeps installed factories for the life of the process: install it once.
  static const bool accessible = [] {
    QAccessible::installFactory(qt::cuelessAccessible);
    return true;
  }();
  (void)accessible;
}

void KolvaneQt::uninstall() {
  qt::Installed& state = qt::installed();
  if (state.filter) {
    QObject::disconnect(state.clipboard);
    QObject::disconnect(state.selection);
    state.host->dismissEditionScreens(false);
    state.host->dismissToolScreens({});
    if (QWidget* texts = state.host->windowTexts()) texts->close();
    KolvaneTool::setHost(nullptr);
    qApp->removeEventFilter(state.filter.get());
  }
  if (state.translator) {
    QCoreApplication::removeTranslator(state.translator.get());
    // The app's own translators go back to Qt, asked in the same order as under Kolvane.
    const std::vector<QTranslator*> own = KVQtAppTranslators::instance().all();
    for (auto translator = own.rbegin(); translator != own.rend(); ++translator) {
      QCoreApplication::installTranslator(*translator);
    }
  }
  state = qt::Installed();
}

KolvaneQtWindows::KolvaneQtWindows() = default;

KolvaneQtWindows* KolvaneQtWindows::instance() {
  static KolvaneQtWindows* windows = new KolvaneQtWindows;  // lives as long as the process
  // The windows are followed from the first call with an application on.
  static bool following = false;
  if (!following && QCoreApplication::instance() != nullptr) {
    QCoreApplication::instance()->installEventFilter(windows);
    following = true;
  }
  return windows;
}

bool KolvaneQtWindows::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::Show && event->type() != QEvent::Hide) return false;
  auto* shownOrHidden = qobject_cast<QWidget*>(watched);
  if (shownOrHidden == nullptr || !shownOrHidden->isWindow()) return false;
  bool open = false;
  for (QWidget* window : QApplication::topLevelWidgets()) {
    // The hint at the pointer is no window of the tool.
    if (window->isVisible() && qt::isKolvaneWindow(window) && window->windowType() != Qt::ToolTip) {
      open = true;
      break;
    }
  }
  if (open != open_) {
    open_ = open;
    emit openChanged(open);
  }
  return false;
}

void KolvaneQt::setSignOnPageOpener(std::function<void(const QUrl&)> opener) {
  qt::setSignOnPageOpener(std::move(opener));
}

QString KolvaneQt::withoutCues(const QString& text) {
  return QString::fromStdU16String(kv_stringByRemovingCues(text.toStdU16String()));
}

std::optional<KVWindowCapture> KolvaneQt::captureWindow(
    QWidget* window, std::function<void(const KVCaptureDelivery&)> delivered) {
  if (window == nullptr) return std::nullopt;
  return KolvaneTool::captureWindow(qt::windowOf(window->window()),
                                    [delivered = std::move(delivered)](KVCaptureDelivery delivery) {
                                      if (delivered) delivered(delivery);
                                    });
}

QString KolvaneQt::format(const QString& format, const QStringList& values) {
  std::vector<std::u16string> filled;
  filled.reserve(static_cast<std::size_t>(values.size()));
  for (const QString& value : values) filled.push_back(value.toStdU16String());
  return QString::fromStdU16String(kv_formatKeepingCues(format.toStdU16String(), filled));
}

}  // namespace kolvane
