// Lookups as the app and the reviewer's tools make them, against their baselines: a bare hash
// map of UTF-16 texts and glibc's dgettext on a .mo catalogue of the same strings.
#include <benchmark/benchmark.h>
#include <libintl.h>

#include <map>
#include <memory>
#include <unordered_map>

#include "base/utf.h"
#include "bench_support.h"
#include "core/main_controller.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"

namespace kolvane::bench {
namespace {

const Catalogue& startedCatalogue(int size) {
  static int started = 0;
  const Catalogue& c = catalogue(size);
  if (started != size) {
    startKolvaneOn(c);
    started = size;
  }
  return c;
}

void BM_BareMapLookup(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  using Map = std::unordered_map<std::u16string, std::u16string>;
  static std::map<int, std::pair<Map, std::vector<std::u16string>>> built;
  // Named references, not a structured binding: clang 14 cannot capture bindings in lambdas.
  auto& entry = built[c.size];
  Map& map = entry.first;
  std::vector<std::u16string>& keys = entry.second;
  if (map.empty()) {
    for (int i = 0; i < c.size; ++i) {
      keys.push_back(toUtf16(c.shownKeys[i]));
      map.emplace(keys.back(), c.shownTexts[i]);
    }
  }
  visitKeys(state, c, [&](int i) { return map.find(keys[i])->second; });
}

void BM_Dgettext(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  if (!c.gettextReady) return state.SkipWithError("no gettext catalogue");
  const std::string domain = "kvbench" + std::to_string(c.size);
  visitKeys(state, c,
            [&](int i) { return std::string(dgettext(domain.c_str(), c.shownKeys[i].c_str())); });
}

void BM_HookedLookupShownLocale(benchmark::State& state) {
  const Catalogue& c = startedCatalogue(static_cast<int>(state.range(0)));
  const Bundle& bundle = Platform::current().mainBundle();
  visitKeys(state, c, [&](int i) { return bundle.localizedStringForKey(c.shownKeys[i], u"", ""); });
}

void BM_HookedLookupBase(benchmark::State& state) {
  const Catalogue& c = startedCatalogue(static_cast<int>(state.range(0)));
  const Bundle& bundle = Platform::current().mainBundle();
  visitKeys(state, c, [&](int i) { return bundle.localizedStringForKey(c.baseKeys[i], u"", ""); });
}

void BM_HookedLookupBundleTable(benchmark::State& state) {
  const Catalogue& c = startedCatalogue(static_cast<int>(state.range(0)));
  const Bundle& bundle = Platform::current().mainBundle();
  visitKeys(state, c,
            [&](int i) { return bundle.localizedStringForKey(c.bundleKeys[i], u"", "Bundle"); });
}

void BM_ReverseLookup(benchmark::State& state) {
  const Catalogue& c = startedCatalogue(static_cast<int>(state.range(0)));
  const KVMainController& controller = KVMainController::sharedInstance();
  visitKeys(state, c,
            [&](int i) { return controller.kolvaneStringForLocalizedString(c.shownHashes[i]); });
}

BENCHMARK(BM_BareMapLookup)->Arg(10000)->Arg(100000);
BENCHMARK(BM_Dgettext)->Arg(10000)->Arg(100000);
BENCHMARK(BM_HookedLookupShownLocale)->Arg(10000)->Arg(100000);
BENCHMARK(BM_HookedLookupBase)->Arg(10000)->Arg(100000);
BENCHMARK(BM_HookedLookupBundleTable)->Arg(10000)->Arg(100000);
BENCHMARK(BM_ReverseLookup)->Arg(10000)->Arg(100000);

}  // namespace
}  // namespace kolvane::bench
