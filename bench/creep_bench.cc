// Memory under steady lookups: 8 threads look strings up without pause while the main thread
// publishes a new store of the shown locale every 10 ms at most (as often as it gets the CPU
// to build one), for a minute (or the seconds given).
// The resident memory after a warm-up and at the end must not grow: every replaced store is
// freed while the lookups go on.
//
//   kolvane_creep_bench [SECONDS]
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

#include "catalogue_fixture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/published.h"
#include "kolvane/linux_platform.h"
#include "kolvane/platform.h"
#include "strings/string_group.h"
#include "strings/xliff_parser.h"

namespace kolvane::bench {
namespace {

double residentMegabytes() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0;
  long resident = 0;
  statm >> pages >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

// A store of its own: every group copied, as a pull or an edit makes a new one.
std::shared_ptr<KVLocaleStrings> freshStore(const KVStringGroups& groups) {
  KVStringGroups copied;
  for (const auto& [key, group] : groups) {
    auto copy = group->copy();
    for (auto& [name, form] : copy->pluralForms) form->group = copy;
    copied.emplace(key, std::move(copy));
  }
  auto store = KVLocaleStrings::localeStringsForLocale(Locale("fr_FR"));
  store->setLoadedStrings(std::move(copied));
  return store;
}

}  // namespace
}  // namespace kolvane::bench

int main(int argc, char** argv) {
  using namespace kolvane;
  using namespace kolvane::bench;
  const double seconds = argc > 1 ? std::atof(argv[1]) : 60;
  const Catalogue& c = catalogue(10000);
  startKolvaneOn(c);
  const KVStringGroups groups = KVXliffParser::parseXliffData(c.publishedBytes, 0, nullptr);
  KVMainController& controller = KVMainController::sharedInstance();

  std::atomic<bool> stop{false};
  std::atomic<long> lookups{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 8; ++t) {
    readers.emplace_back([&, t] {
      const Bundle& bundle = Platform::current().mainBundle();
      std::size_t next = static_cast<std::size_t>(t);
      while (!stop.load(std::memory_order_relaxed)) {
        // Lookups in a row under one guard, as a capture tracing a window makes them.
        LookupGuard guard;
        for (int i = 0; i < 20; ++i) {
          next = (next + 7) % c.shownKeys.size();
          if (bundle.localizedStringForKey(c.shownKeys[next], u"", "").empty()) std::abort();
        }
        lookups.fetch_add(20, std::memory_order_relaxed);
      }
    });
  }

  const auto publishFor = [&](double duration) {
    long published = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(duration);
    while (std::chrono::steady_clock::now() < end) {
      controller.setLocaleStrings(freshStore(groups));
      ++published;
      runMainQueueUntil([] { return false; }, 0.01);
    }
    return published;
  };
  publishFor(seconds < 10 ? 1 : 5);  // warm-up: allocator pools and caches settle
  const double start = residentMegabytes();
  const long published = publishFor(seconds);
  const double end = residentMegabytes();
  stop = true;
  for (auto& reader : readers) reader.join();

  std::printf(
      "Stores published every 10 ms for %.0f s under 8 looking-up threads: %ld stores, "
      "%.1f million lookups\n",
      seconds, published, static_cast<double>(lookups.load()) / 1e6);
  std::printf("Resident memory: %.1f MB after the warm-up, %.1f MB at the end (%+.1f MB): %s\n",
              start, end, end - start, end - start < 0.1 * start ? "no growth" : "GROWS");
  return 0;
}
