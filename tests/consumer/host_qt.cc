// A Qt app that adopts Kolvane as the README says: its translator handed to Kolvane, one
// start-up call. Prints a translated text without its cues.
#include <kolvane/qt.h>

#include <QApplication>
#include <QTranslator>
#include <cstdio>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("kolvane-consumer");
  QTranslator translator;
  kolvane::KolvaneQt::installTranslator(&translator);
  kolvane::KolvaneQt::start("demo", {{"logging", 0}});
  const QString text = QCoreApplication::translate("Host", "Hello %1").arg("Qt");
  if (text.isEmpty() || text.front() != QChar(0x200B)) {
    std::fprintf(stderr, "the translation did not go through Kolvane\n");
    return 1;
  }
  std::puts(kolvane::KolvaneQt::withoutCues(text).toUtf8().constData());
  return 0;
}
