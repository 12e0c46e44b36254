// Kolvane in a Qt app, against Qt's own translator: a tr() lookup through Kolvane's translator
// and through a QTranslator loaded from a .qm of the same strings (made by lrelease in the same
// run); a string only the app's own .qm holds, through Kolvane's translator with that .qm
// under it and through the .qm alone; the time from a recognised press to the edition screen's
// model being ready, in a window of 1,000 labels; and the list of a window's texts (1,000
// widgets, 200 menu items), against a plain walk of the same widgets reading their texts. Ratios
// of medians are printed at the end.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QBuffer>
#include <QGridLayout>
#include <QLabel>
#include <QLibraryInfo>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QTranslator>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "bench_support.h"
#include "capture/window_capture.h"
#include "capture/window_inventory.h"
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

// `sources` translated by `texts`, compiled by lrelease into `name`.qm and loaded.
bool loadQm(QTranslator& translator, const Catalogue& c, const std::string& name,
            const std::vector<std::string>& sources, const std::vector<std::u16string>& texts) {
  const std::string ts = c.folder + "/" + name + ".ts";
  std::ofstream out(ts);
  out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TS version=\"2.1\" language=\"fr_FR\">\n"
      << "<context><name>" << kContext << "</name>\n";
  for (std::size_t i = 0; i < sources.size(); ++i) {
    out << "<message><source>" << QString::fromStdString(sources[i]).toHtmlEscaped().toStdString()
        << "</source><translation>"
        << QString::fromStdU16String(texts[i % texts.size()]).toHtmlEscaped().toStdString()
        << "</translation></message>\n";
  }
  out << "</context>\n</TS>\n";
  out.close();
  const std::string lrelease =
      QLibraryInfo::path(QLibraryInfo::BinariesPath).toStdString() + "/lrelease";
  const std::string qm = c.folder + "/" + name + ".qm";
  const std::string command = lrelease + " -silent " + ts + " -qm " + qm;
  return std::system(command.c_str()) == 0 && translator.load(QString::fromStdString(qm));
}

// The shown locale's strings as a Qt translation.
QTranslator& qmTranslator(const Catalogue& c) {
  static QTranslator translator;
  static const bool loaded = loadQm(translator, c, "bench", c.shownKeys, c.shownTexts);
  (void)loaded;
  return translator;
}

// The app's own catalogue of strings Kolvane's stores do not hold, handed to Kolvane.
QTranslator& appQmUnderKolvane(const Catalogue& c) {
  static QTranslator translator;
  static const bool loaded = [&c] {
    const bool made = loadQm(translator, c, "app", c.bundleKeys, c.shownTexts);
    if (made) KVQtAppTranslators::instance().add(&translator);
    return made;
  }();
  (void)loaded;
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

// A string only the app's .qm holds: Qt's translator alone, and Kolvane's falling through to it.
void BM_AppQmAlone(benchmark::State& state) {
  const Catalogue& c = started();
  QTranslator& translator = appQmUnderKolvane(c);
  if (translator.isEmpty()) return state.SkipWithError("lrelease made no .qm");
  std::size_t next = 0;
  for (auto _ : state) {
    next = next + 1 == c.bundleKeys.size() ? 0 : next + 1;
    benchmark::DoNotOptimize(translator.translate(kContext, c.bundleKeys[next].c_str()));
  }
}

void BM_KolvaneOverAppQm(benchmark::State& state) {
  const Catalogue& c = started();
  if (appQmUnderKolvane(c).isEmpty()) return state.SkipWithError("lrelease made no .qm");
  static KVQtTranslator translator;
  std::size_t next = 0;
  for (auto _ : state) {
    next = next + 1 == c.bundleKeys.size() ? 0 : next + 1;
    benchmark::DoNotOptimize(
        translator.translate(kContext, c.bundleKeys[next].c_str(), nullptr, -1));
  }
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

constexpr int kMenus = 20;
constexpr int kItemsPerMenu = 10;

// A main window of 1,000 widgets (labels, and buttons with tooltips) under 20 menus of 10
// items each, every text looked up.
std::unique_ptr<QMainWindow> bigWindow(const Catalogue& c) {
  KVQtTranslator translator;
  const auto text = [&](int i) {
    return translator.translate(kContext, c.shownKeys[static_cast<std::size_t>(i)].c_str(), nullptr,
                                -1);
  };
  auto window = std::make_unique<QMainWindow>();
  for (int m = 0; m < kMenus; ++m) {
    QMenu* menu = window->menuBar()->addMenu(text(m));
    for (int i = 0; i < kItemsPerMenu; ++i) menu->addAction(text(kMenus + m * kItemsPerMenu + i));
  }
  auto* central = new QWidget;
  auto* grid = new QGridLayout(central);
  for (int i = 0; i < kLabels; ++i) {
    QWidget* widget = nullptr;
    if (i % 4 == 0) {
      auto* button = new QPushButton(text(i));
      button->setToolTip(text(i + 1));
      widget = button;
    } else {
      widget = new QLabel(text(i));
    }
    grid->addWidget(widget, i / 25, i % 25);
  }
  window->setCentralWidget(central);
  window->show();
  QApplication::processEvents();
  return window;
}

void BM_WindowTextsInventory(benchmark::State& state) {
  const auto window = bigWindow(started());
  for (auto _ : state) {
    auto entries = kv_windowInventory(qt::windowOf(window.get()));
    if (entries.size() < kLabels) return state.SkipWithError("texts went missing");
    benchmark::DoNotOptimize(entries);
  }
}

// The baseline: the same widgets and menu items, their texts read by a plain walk.
void BM_PlainWalkOfTheSameTexts(benchmark::State& state) {
  const auto window = bigWindow(started());
  for (auto _ : state) {
    std::size_t characters = 0;
    for (const QLabel* label : window->findChildren<QLabel*>()) characters += label->text().size();
    for (const QPushButton* button : window->findChildren<QPushButton*>()) {
      characters += button->text().size() + button->toolTip().size();
    }
    for (const QAction* menu : window->menuBar()->actions()) {
      characters += menu->text().size();
      for (const QAction* item : menu->menu()->actions()) characters += item->text().size();
    }
    benchmark::DoNotOptimize(characters);
  }
}

// That window at a laptop's size.
std::unique_ptr<QMainWindow> laptopSizedBigWindow() {
  auto window = bigWindow(started());
  window->resize(1280, 800);
  QApplication::processEvents();
  return window;
}

// A capture of that window: its picture as PNG and the place of every string shown in it.
void BM_WindowCaptureWithRegions(benchmark::State& state) {
  const auto window = laptopSizedBigWindow();
  for (auto _ : state) {
    auto capture = kv_captureWindow(qt::windowOf(window.get()));
    if (!capture || capture->regions.empty()) return state.SkipWithError("nothing captured");
    benchmark::DoNotOptimize(capture);
  }
}

// The baseline: the same window's picture alone, as PNG.
void BM_PlainScreenshotOfTheSameWindow(benchmark::State& state) {
  const auto window = laptopSizedBigWindow();
  for (auto _ : state) {
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    window->grab().toImage().save(&buffer, "PNG");
    benchmark::DoNotOptimize(png);
  }
}

BENCHMARK(BM_QtTranslatorFromQm);
BENCHMARK(BM_KolvaneTranslator);
BENCHMARK(BM_AppQmAlone);
BENCHMARK(BM_KolvaneOverAppQm);
BENCHMARK(BM_PressToEditionModel)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WindowTextsInventory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainWalkOfTheSameTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WindowCaptureWithRegions)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainScreenshotOfTheSameWindow)->Unit(benchmark::kMillisecond);

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
  const auto over = medians.find("BM_KolvaneOverAppQm");
  const auto alone = medians.find("BM_AppQmAlone");
  if (over != medians.end() && alone != medians.end()) {
    std::printf("Kolvane falling through to the app's .qm vs the .qm alone: %.2fx\n",
                over->second / alone->second);
  }
  const auto inventory = medians.find("BM_WindowTextsInventory");
  const auto walk = medians.find("BM_PlainWalkOfTheSameTexts");
  if (inventory != medians.end() && walk != medians.end()) {
    std::printf(
        "Texts of a window (1,000 widgets, 200 menu items) vs a plain walk: %.1fx "
        "(aim: under 16 ms)\n",
        inventory->second / walk->second);
  }
  const auto capture = medians.find("BM_WindowCaptureWithRegions");
  const auto screenshot = medians.find("BM_PlainScreenshotOfTheSameWindow");
  if (capture != medians.end() && screenshot != medians.end()) {
    std::printf(
        "Capture of that window at 1280x800 with its regions: %.1f ms (aim: under 100 ms), "
        "%.2fx a PNG screenshot of it through Qt\n",
        capture->second, capture->second / screenshot->second);
  }
  return 0;
}
