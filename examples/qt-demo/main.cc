// The Kolvane demo: a Qt Widgets mail window on the demo project's strings.
//
//   kolvane-qt-demo [--bundle DIR] [--print-subtitle |
//                    --walkthrough FOLDER [--scenario pull-fails] [--fault JSON --server URL]]
//
// The bundle defaults to $KOLVANE_BUNDLE, else examples/DemoApp. With --walkthrough it plays a
// reviewer through the whole review flow against the dev server (see walkthrough.h), saves a
// screenshot of each screen in FOLDER and quits. --print-subtitle prints the subtitle as the
// window shows it (without cues) and quits.
#include <QApplication>
#include <QLabel>
#include <QRegularExpression>
#include <QStringList>
#include <cstdlib>
#include <iostream>

#include "inbox_window.h"
#include "kolvane/kolvane.h"
#include "kolvane/linux_platform.h"
#include "kolvane/qt.h"
#include "walkthrough.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  const QStringList arguments = QApplication::arguments();
  const auto option = [&arguments](const QString& name) {
    const qsizetype at = arguments.indexOf(name);
    return at >= 0 && at + 1 < arguments.size() ? arguments[at + 1] : QString();
  };
  kolvane::LinuxPlatformOptions options;
  options.bundlePath = option("--bundle").toStdString();
  if (options.bundlePath.empty() && std::getenv("KOLVANE_BUNDLE") == nullptr) {
    options.bundlePath = "examples/DemoApp";
  }
  kolvane::Platform::install(kolvane::makeLinuxPlatform(options));
  kolvane::KolvaneSDK::startWithProjectId("demo", {{"environment", "stage"}, {"logging", 1}});
  kolvane::KolvaneQt::install();

  InboxWindow window;
  window.show();
  if (arguments.contains("--print-subtitle")) {
    QString subtitle = window.subtitleLabel()->text();
    subtitle.remove(QRegularExpression(QStringLiteral("[\u200B\u2062\u2063\u2064]")));
    std::cout << subtitle.toStdString() << std::endl;
    return 0;
  }
  const QString walkthrough = option("--walkthrough");
  if (!walkthrough.isEmpty()) {
    startWalkthrough(window,
                     {walkthrough, option("--scenario"), option("--fault"), option("--server")});
  } else {
    std::cout << "Kolvane demo: press Ctrl+Alt+K for the reviewer's menu (sign in as "
                 "reviewer / reviewer), then long-press any text to edit it."
              << std::endl;
  }
  return QApplication::exec();
}
