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

#include "catalogue_fixture.h"
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

std::string xmlEscaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else
      out += c;
  }
  return out;
}

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
    out << "<message><source>" << xmlEscaped(c.shownKeys[i]) << "</source><translation>"
        << xmlEscaped(QString::fromStdU16String(c.shownTexts[i]).toStdString())
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

template <typename Lookup>
void visitKeys(benchmark::State& state, const Catalogue& c, Lookup lookup) {
  std::size_t next = 0;
  for (auto _ : state) {
    const int index = c.order[next];
    next = next + 1 == c.order.size() ? 0 : next + 1;
    QString text = lookup(c.shownKeys[index].c_str());
    benchmark::DoNotOptimize(text);
  }
}

void BM_QtTranslatorFromQm(benchmark::State& state) {
  const Catalogue& c = started();
  QTranslator& translator = qmTranslator(c);
  if (translator.isEmpty()) return state.SkipWithError("lrelease made no .qm");
  visitKeys(state, c, [&](const char* key) { return translator.translate(kContext, key); });
}

void BM_KolvaneTranslator(benchmark::State& state) {
  const Catalogue& c = started();
  static KVQtTranslator translator;
  visitKeys(state, c,
            [&](const char* key) { return translator.translate(kContext, key, nullptr, -1); });
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
  void showActionsMenu() override {}
  void openLoginForm(std::function<void(bool)>) override {}
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

class MedianCollector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        medians[run.run_name.str()] = run.GetAdjustedRealTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> medians;
};

}  // namespace
}  // namespace kolvane::bench

int main(int argc, char** argv) {
  if (std::getenv("QT_QPA_PLATFORM") == nullptr) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QApplication app(argc, argv);
  std::vector<char*> args(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=5";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  args.push_back(repetitions.data());
  args.push_back(aggregates.data());
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  kolvane::bench::MedianCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  const auto& medians = collector.medians;
  const auto kolvane = medians.find("BM_KolvaneTranslator");
  const auto qm = medians.find("BM_QtTranslatorFromQm");
  std::printf("\nRatios of medians, same run:\n");
  for (const auto& [name, value] : medians) std::printf("  %-40s %10.1f\n", name.c_str(), value);
  if (kolvane != medians.end() && qm != medians.end()) {
    std::printf("Kolvane translator vs .qm translator: %.2fx (target <= 1)\n",
                kolvane->second / qm->second);
  }
  benchmark::Shutdown();
  return 0;
}
