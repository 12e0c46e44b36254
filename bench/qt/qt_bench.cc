// Kolvane in a Qt app, against Qt's own translator: a tr() lookup through Kolvane's translator
// and through a QTranslator loaded from a .qm of the same strings (made by lrelease in the same
// run), and the time from a recognised press to the edition screen's model being ready, in a
// window of 1,000 labels. Ratios of medians are printed at the end.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QLibraryInfo>
#include <QTranslator>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "bench_support.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "kolvane/tool.h"
#include "qt_translator.h"
#include "qt_views.h"
#include "server/session.h"

namespace kolvane::bench {
namespace {

constexpr int kStrings = 10000;
constexpr int kLabels = 1000;
constexpr char kContext[] = "Bench";

// The shown locale's strings as a Qt translation, compiled by lrelease.
QTranslator& qmTranslator(const Catalogue& c) {
  static QTranslator translator;
  static bool loaded = false;
  if (loaded) return translator;
  const std::string ts = c.folder + "/bench.ts";
  std::ofstream out(ts);
  out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TS version=\"2.1\" language=\"fr_FR\">\n"
      << "<context><name>" << kContext << "</name>\n";
  for (int i = 0; i < c.size; ++i) {
    out << "<message><source>"
        << QString::fromStdString(c.shownKeys[i]).toHtmlEscaped().toStdString()
        << "</source><translation>"
        << QString::fromStdU16String(c.shownTexts[i]).toHtmlEscaped().toStdString()
        << "</translation></message>\n";
  }
  out << "</context>\n</TS>\n";
  out.close();
  const std::string lrelease =
      QLibraryInfo::path(QLibraryInfo::BinariesPath).toStdString() + "/lrelease";
  const std::string qm = c.folder + "/bench.qm";
  const std::string command = lrelease + " -silent " + ts + " -qm " + qm;
  loaded = std::system(command.c_str()) == 0 && translator.load(QString::fromStdString(qm));
  return translator;
}

const Catalogue& started() {
  static const Catalogue& c = []() -> const Catalogue& {
    const Catalogue& made = catalogue(kStrings);
    startKolvaneOn(made);
    return made;
  }();
  return c;
}

void BM_QtTranslatorFromQm(benchmark::State& state) {
  const Catalogue& c = started();
  QTranslator& translator = qmTranslator(c);
  if (translator.isEmpty()) return state.SkipWithError("lrelease made no .qm");
  visitKeys(state, c,
            [&](int i) { return translator.translate(kContext, c.shownKeys[i].c_str()); });
}

void BM_KolvaneTranslator(benchmark::State& state) {
  const Catalogue& c = started();
  static KVQtTranslator translator;
  visitKeys(state, c, [&](int i) {
    return translator.translate(kContext, c.shownKeys[i].c_str(), nullptr, -1);
  });
}

// A host that draws nothing: the screen's model is what is measured.
class ModelOnlyHost : public KVToolHost {
 public:
  explicit ModelOnlyHost(QWidget* window) : window_(window) {}
  std::shared_ptr<KVHostWindow> keyWindow() const override { return qt::windowOf(window_); }
  void presentEditionScreen(const std::shared_ptr<KVEditionScreen>&,
                            const std::shared_ptr<KVHostView>&) override {}
  void dismissEditionScreens(bool) override {}
  void askRejectReason(const std::shared_ptr<KVEditionScreen>&) override {}
  void cancelEditionPress() override {}
  void presentToolScreen(const std::shared_ptr<KVToolScreen>&) override {}
  void pushToolScreen(const std::shared_ptr<KVToolScreen>&) override {}
  void popToolScreen() override {}
  void popToToolScreen(const KVToolScreen&) override {}
  void dismissToolScreens(std::function<void()>) override {}
  void showAlert(const KVAlert&, std::function<void(std::size_t)>) override {}
  bool openSignOnPage(const std::string&) override { return false; }
  void removeEditionGesture() override {}
  void setupEditionGesture() override {}
  void stringsDidChange() override {}

 private:
  QWidget* window_;
};

void BM_PressToEditionModel(benchmark::State& state) {
  const Catalogue& c = started();
  QWidget window;
  auto* grid = new QGridLayout(&window);
  KVQtTranslator translator;
  QLabel* pressed = nullptr;
  for (int i = 0; i < kLabels; ++i) {
    auto* label = new QLabel(translator.translate(kContext, c.shownKeys[i].c_str(), nullptr, -1));
    grid->addWidget(label, i / 25, i % 25);
    if (i == 0) pressed = label;
  }

  window.show();
  QApplication::processEvents();
  KVSession::sharedInstance().setToken({{"access_token", "bench"}});
  auto step = std::make_shared<KVWorkflowStep>();
  step->canTranslate = true;
  KVMainController::sharedInstance().setWorkflowStep(step);
  KolvaneTool::setHost(std::make_shared<ModelOnlyHost>(&window));
  const QPoint at = pressed->mapToGlobal(pressed->rect().center());
  for (auto _ : state) {
    auto screen = KolvaneTool::triggerEdition(qt::hostViewAt(at));
    if (!screen) return state.SkipWithError("the press found no string");
    benchmark::DoNotOptimize(screen);
  }
  KolvaneTool::setHost(nullptr);
}

BENCHMARK(BM_QtTranslatorFromQm);
BENCHMARK(BM_KolvaneTranslator);
BENCHMARK(BM_PressToEditionModel)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kolvane::bench

int main(int argc, char** argv) {
  if (std::getenv("QT_QPA_PLATFORM") == nullptr) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QApplication app(argc, argv);
  const auto medians = kolvane::bench::runMedians(argc, argv);
  const auto kolvane = medians.find("BM_KolvaneTranslator");
  const auto qm = medians.find("BM_QtTranslatorFromQm");
  std::printf("\nRatios of medians, same run:\n");
  for (const auto& [name, value] : medians) std::printf("  %-40s %10.1f\n", name.c_str(), value);
  if (kolvane != medians.end() && qm != medians.end()) {
    std::printf("Kolvane translator vs .qm translator: %.2fx (target <= 1)\n",
                kolvane->second / qm->second);
  }
  return 0;
}
