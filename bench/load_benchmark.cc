// Loading a published file into a store (parse, cue marking, records, index) against the same
// bytes through libxml2's SAX parser with empty handlers; and the heap a loaded string takes.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>

#include <cstring>
#include <filesystem>

#include "catalogue_fixture.h"
#include "core/locale_strings.h"
#include "core/published.h"
#include "core/table_images.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"

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

// A store loaded from its file with no image: parsed, and its table built.
void BM_LoadPublishedFile(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  startKolvaneOn(c);
  const std::string image = kv_tableImagePath(c.publishedFile);
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(image);
    auto store = std::make_unique<KVLocaleStrings>(Locale("fr_FR"));
    state.ResumeTiming();
    store->setLoadedTable(readPublishedTable(c).table);
    // Freeing the store is not part of loading it.
    state.PauseTiming();
    store.reset();
    state.ResumeTiming();
  }
}

// The same store from the image the first load left.
void BM_LoadFromImage(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  startKolvaneOn(c);
  kv_writeTableImage(c.publishedFile, *readPublishedTable(c).table);
  for (auto _ : state) {
    auto store = std::make_unique<KVLocaleStrings>(Locale("fr_FR"));
    const KVFileTable read = readPublishedTable(c);
    if (!read.fromImage) return state.SkipWithError("the image was not used");
    store->setLoadedTable(read.table);
    state.PauseTiming();
    store.reset();
    state.ResumeTiming();
  }
}

// From the start call to the first answer, with every file on the device seen once before
// (their images made): the shown locale's published file and the base table.
void BM_StartToFirstAnswer(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  startKolvaneOn(c);
  for (auto _ : state) {
    startKolvaneOn(c);
    auto answer = Platform::current().mainBundle().localizedStringForKey(c.shownKeys[0], u"", "");
    benchmark::DoNotOptimize(answer);
  }
}

// The heap a store loaded from its file keeps, against the UTF-16 text of its strings.
void BM_HeapPerLoadedString(benchmark::State& state) {
  const Catalogue& c = catalogue(static_cast<int>(state.range(0)));
  startKolvaneOn(c);
  double heapPerString = 0;
  double textPerString = 0;
  for (auto _ : state) {
    reclaimRetired();
    malloc_trim(0);
    std::filesystem::remove(kv_tableImagePath(c.publishedFile));
    const std::size_t before = mallinfo2().uordblks;
    auto store = std::make_unique<KVLocaleStrings>(Locale("fr_FR"));
    store->setLoadedTable(readPublishedTable(c).table);
    const std::size_t after = mallinfo2().uordblks;
    std::size_t textBytes = 0;
    for (const auto& text : c.shownTexts) textBytes += text.size() * sizeof(char16_t);
    heapPerString = static_cast<double>(after - before) / c.size;
    textPerString = static_cast<double>(textBytes) / c.size;
  }
  state.counters["heap_bytes_per_string"] = heapPerString;
  state.counters["text_bytes_per_string"] = textPerString;
  state.counters["heap_per_text"] = heapPerString / textPerString;
}

BENCHMARK(BM_SaxEmptyHandlers)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadPublishedFile)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadFromImage)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StartToFirstAnswer)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HeapPerLoadedString)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kolvane::bench
