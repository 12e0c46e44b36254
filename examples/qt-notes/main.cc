// Notes, a Qt app with its own Linguist catalogues, served through Kolvane.
//
//   kolvane-qt-notes [--language fr] [--catalogue FILE.qm] [--without-kolvane] [--print-texts]
//
// --catalogue loads the app's translations from FILE.qm instead of its own resources.
// --print-texts prints every text of the window and its menus, one per line (without cues),
// and quits: the same with and without Kolvane.
#include <QApplication>
#include <QLocale>
#include <QStringList>
#include <QTranslator>
#include <iostream>

#include "kolvane/qt.h"
#include "notes_window.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setOrganizationDomain("notes.example.org");
  QApplication::setApplicationName("Notes");
  QApplication::setApplicationVersion("1.0");
  const QStringList arguments = QApplication::arguments();
  const qsizetype languageAt = arguments.indexOf("--language");
  const QLocale locale = languageAt >= 0 && languageAt + 1 < arguments.size()
                             ? QLocale(arguments[languageAt + 1])
                             : QLocale();
  const bool withKolvane = !arguments.contains("--without-kolvane");

  const qsizetype catalogueAt = arguments.indexOf("--catalogue");
  QTranslator translator;
  const bool loaded = catalogueAt >= 0 && catalogueAt + 1 < arguments.size()
                          ? translator.load(arguments[catalogueAt + 1])
                          : translator.load(locale, "notes", "_", ":/i18n");
  if (loaded) {
    // Before Kolvane: app.installTranslator(&translator);
    if (withKolvane) {
      kolvane::KolvaneQt::installTranslator(&translator);
    } else {
      QApplication::installTranslator(&translator);
    }
  }
  if (withKolvane) kolvane::KolvaneQt::start("notes", {{"environment", "stage"}});

  NotesWindow window;
  if (arguments.contains("--print-texts")) {
    for (const QString& text : window.allTexts()) {
      std::cout << kolvane::KolvaneQt::withoutCues(text).toStdString() << "\n";
    }
    return 0;
  }
  window.show();
  return QApplication::exec();
}
