// Loading a published file into a store (parse, cue marking, records, index) against the same
// bytes through libxml2's SAX parser with empty handlers; and the heap a loaded string takes.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>

#include <cstring>

#include "catalogue_fixture.h"
#include "core/locale_strings.h"
#include "core/published.h"

namespace kolvane::bench {
namespace {

void BM_SaxEmptyHandlers(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  xmlSAXHandler handler;
  std::memset(&handler, 0, sizeof handler);
  handler.initialized = XML_SAX2_MAGIC;
  for (auto _ : state) {
    const int result = xmlSAXUserParseMemory(&handler, nullptr, c.publishedBytes.data(),
                                             static_cast<int>(c.publishedBytes.size()));
    benchmark::DoNotOptimize(result);
  }
}

void BM_LoadPublishedFile(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  startKolvaneOn(c);
  for (auto _ : state) {
    auto store = std::make_unique<KVLocaleStrings>(Locale("fr_FR"));
    KVStringGroups groups;
    KVLocaleStrings::loadStringsFromPath(c.publishedFile, &groups, nullptr, 1);
    store->setLoadedStrings(std::move(groups));
    // Freeing the store is not part of loading it.
    state.PauseTiming();
    store.reset();
    state.ResumeTiming();
  }
}

void BM_HeapPerLoadedString(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  startKolvaneOn(c);
  double heapPerString = 0;
  double textPerString = 0;
  for (auto _ : state) {
    reclaimRetired();
    malloc_trim(0);
    const std::size_t before = mallinfo2().uordblks;
    auto store = std::make_unique<KVLocaleStrings>(Locale("fr_FR"));
    KVStringGroups groups;
    KVLocaleStrings::loadStringsFromPath(c.publishedFile, &groups, nullptr, 1);
    store->setLoadedStrings(std::move(groups));
    const std::size_t after = mallinfo2().uordblks;
    std::size_t textBytes = 0;
    for (const auto& [key, group] : *store->loadedStrings()) {
      textBytes += group->pluralForms.at("none")->localizedFormat.size() * sizeof(char16_t);
    }
    heapPerString = static_cast<double>(after - before) / c.size;
    textPerString = static_cast<double>(textBytes) / c.size;
  }
  state.counters["heap_bytes_per_string"] = heapPerString;
  state.counters["text_bytes_per_string"] = textPerString;
}

BENCHMARK(BM_SaxEmptyHandlers)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadPublishedFile)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HeapPerLoadedString)->Arg(100000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kolvane::bench
