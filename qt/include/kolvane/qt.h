// Kolvane for Qt 6 Widgets apps.
//
//   QApplication app(argc, argv);
//   QTranslator translator;
//   if (translator.load(QLocale(), "myapp", "_", ":/i18n"))
//     kolvane::KolvaneQt::installTranslator(&translator);  // was app.installTranslator()
//   kolvane::KolvaneQt::start("my-project");
//
// From then on tr(), QCoreApplication::translate() and qtTrId() are served by Kolvane on top
// of the app's own catalogues, and a signed-in reviewer edits any text of the app in place
// with a long press on it.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

class QTranslator;
class QUrl;
class QWidget;

#include "kolvane/export.h"
#include "kolvane/window_capture.h"

namespace kolvane {

class KolvaneQt {
 public:
  // Starts Kolvane for the project in a Qt app and installs it (install()). The app needs no
  // bundle folder: unless it has one, its identity comes from QCoreApplication (the
  // organisation's domain and the application's name and version), its source texts are
  // taken to be English. Options are KolvaneSDK::startWithProjectId's, and
  // "bundleIdentifier" and "developmentLanguage" to name them otherwise. Main thread, once
  // the QApplication exists.
  static void start(const std::string& projectId, const nlohmann::json& options = nullptr);
  // Installs the translator and the reviewer's gestures. Main thread, once the QApplication
  // exists; a second call does nothing.
  static void install();
  // Removes what install() and installTranslator() added; the app's translators go back to
  // Qt, asked in the same order.
  static void uninstall();
  // In place of QCoreApplication::installTranslator(translator), for the app's own
  // translators (loaded from its .qm files): Kolvane's stores answer first, then the app's
  // translators (the last installed first, as Qt asks them), then the source text, and every
  // answer carries cues. Installs Kolvane's translator if install() has not. The translator
  // is not owned; one destroyed leaves the list, but when other threads may translate, take
  // it back with removeTranslator() before deleting it. Give every translator of the app's
  // own strings to Kolvane: one installed with QCoreApplication::installTranslator() is asked
  // before Kolvane's (its answers carry no cues) or, installed earlier, never for the app's
  // strings. False when it is null or already installed. Main thread.
  static bool installTranslator(QTranslator* translator);
  // Takes back a translator given to installTranslator(); false when it was not there.
  static bool removeTranslator(QTranslator* translator);
  // The reviewer signs in on the sign-on page in the system browser, which returns to the app
  // through a loopback address. An app with a browser of its own (a kiosk) opens the page with
  // `opener` instead; none puts the system browser back.
  static void setSignOnPageOpener(std::function<void(const QUrl&)> opener);
  // `text` without Kolvane's invisible cues: what may leave the app (files, the network, logs
  // of the app's own). Kolvane already strips the clipboard, accessibility and window titles.
  static QString withoutCues(const QString& text);
  // `format` (a Kolvane string) with its placeholders filled from `values`: "%2$@" takes the
  // second value, a placeholder without a position the value of its rank, so a translation
  // may put its arguments in another order. A value that is itself a Kolvane string stays
  // traceable inside the text it was put in.
  // Example: KolvaneQt::format(qtTrId("welcome.title"), {qtTrId("app.name")})
  static QString format(const QString& format, const QStringList& values);
  // A capture of `window` (kolvane/window_capture.h), for automated runs that go through an
  // app's windows: its picture and the place of every string shown in it, kept for the review
  // of changes and, with a reviewer signed in, sent to the translation server when that takes
  // captures; `delivered` hears what became of it. None when the window is not shown.
  // The reviewer's menu captures the app's active window ("Capture this window").
  static std::optional<KVWindowCapture> captureWindow(
      QWidget* window, std::function<void(const KVCaptureDelivery&)> delivered = {});
};

// Kolvane's windows (the edition screen, the menu and its screens, their alerts) as the host app
// sees them: its UI tests wait for them instead of hunting for widgets by their texts.
//
//   QSignalSpy opened(KolvaneQtWindows::instance(), &KolvaneQtWindows::openChanged);
class KolvaneQtWindows : public QObject {
  Q_OBJECT
 public:
  static KolvaneQtWindows* instance();
  // Whether one of Kolvane's windows is shown.
  bool isOpen() const { return open_; }

 Q_SIGNALS:
  // The first of Kolvane's windows was shown (true), or the last one went (false).
  void openChanged(bool open);

 protected:
  // Looks at the app's windows again whenever one is shown or hidden.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  KolvaneQtWindows();
  bool open_ = false;
};

}  // namespace kolvane
