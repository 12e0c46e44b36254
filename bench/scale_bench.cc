// How the costs grow with the number of strings, from 1,000 to 1,000,000: loading a published
// file (parsed, and from its image), starting up with the files on the device, the memory a
// store holds, a hit, a miss and a reverse lookup, each beside its baseline (an empty SAX pass,
// the UTF-16 text, a bare hash map). Medians of a few runs; writes a CSV file and an SVG plot.
//
//   kolvane_scale_bench OUTPUT_FOLDER [LARGEST]
#include <libxml/parser.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/utf.h"
#include "catalogue_fixture.h"
#include "core/main_controller.h"
#include "core/table_images.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "scale_plot.h"

namespace kolvane::bench {
namespace {

using Clock = std::chrono::steady_clock;

double medianMilliseconds(int runs, const std::function<void()>& run,
                          const std::function<void()>& before = {}) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    if (before) before();
    const auto start = Clock::now();
    run();
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

// Nanoseconds per lookup over the catalogue's shuffled order, the median of three passes.
template <typename Lookup>
double nanosecondsPerLookup(const Catalogue& c, Lookup lookup) {
  const std::size_t count = std::max<std::size_t>(200'000, c.order.size());
  std::size_t sink = 0;
  const double ms = medianMilliseconds(3, [&] {
    for (std::size_t i = 0; i < count; ++i) sink += lookup(c.order[i % c.order.size()]);
  });
  if (sink == 1) std::puts("");
  return ms * 1e6 / static_cast<double>(count);
}

struct Row {
  int size = 0;
  double saxMs = 0, coldMs = 0, imageMs = 0, startMs = 0;
  double storeBytes = 0, textBytes = 0;
  double hitNs = 0, missNs = 0, reverseNs = 0, mapHitNs = 0, mapMissNs = 0;
};

void measureLoads(const Catalogue& c, Row& row) {
  const int runs = c.size >= 1'000'000 ? 3 : 5;
  row.saxMs = medianMilliseconds(runs, [&c] {
    xmlSAXHandler handler;
    std::memset(&handler, 0, sizeof handler);
    handler.initialized = XML_SAX2_MAGIC;
    xmlSAXUserParseMemory(&handler, nullptr, c.publishedBytes.data(),
                          static_cast<int>(c.publishedBytes.size()));
  });
  startKolvaneOn(c);
  const std::string image = kv_tableImagePath(c.publishedFile);
  std::shared_ptr<const KVStringTable> kept;
  row.coldMs = medianMilliseconds(
      runs, [&] { kept = readPublishedTable(c).table; }, [&] { std::filesystem::remove(image); });
  kv_writeTableImage(c.publishedFile, *kept);
  row.storeBytes = static_cast<double>(kept->imageBytes().size()) / c.size;
  row.textBytes = static_cast<double>(kept->formatBytes()) / c.size;
  kept.reset();
  row.imageMs = medianMilliseconds(runs, [&] {
    if (!readPublishedTable(c).fromImage) std::fprintf(stderr, "image not used\n");
  });
  // From the start call to the first answer, every file already seen once (images made).
  row.startMs = medianMilliseconds(runs, [&c] {
    startKolvaneOn(c);
    Platform::current().mainBundle().localizedStringForKey(c.shownKeys[0], u"", "");
  });
}

void measureLookups(const Catalogue& c, Row& row) {
  startKolvaneOn(c);
  const Bundle& bundle = Platform::current().mainBundle();
  row.hitNs = nanosecondsPerLookup(
      c, [&](int i) { return bundle.localizedStringForKey(c.shownKeys[i], u"", "").size(); });
  row.missNs = nanosecondsPerLookup(c, [&](int i) {
    return bundle.localizedStringForKey(c.bundleKeys[i], u"", "Bundle").size();
  });
  const KVMainController& controller = KVMainController::sharedInstance();
  controller.kolvaneStringForLocalizedString(c.shownHashes[0]);  // builds the index
  row.reverseNs = nanosecondsPerLookup(c, [&](int i) {
    return controller.kolvaneStringForLocalizedString(c.shownHashes[i]) ? 1u : 0u;
  });
  std::unordered_map<std::u16string, std::u16string> map;
  std::vector<std::u16string> keys;
  std::vector<std::u16string> missing;
  for (int i = 0; i < c.size; ++i) {
    keys.push_back(toUtf16(c.shownKeys[i]));
    missing.push_back(toUtf16(c.bundleKeys[i]));
    map.emplace(keys.back(), c.shownTexts[i]);
  }
  row.mapHitNs = nanosecondsPerLookup(
      c, [&](int i) { return std::u16string(map.find(keys[i])->second).size(); });
  row.mapMissNs = nanosecondsPerLookup(c, [&](int i) { return map.count(missing[i]); });
}

void writeCsv(const std::string& path, const std::vector<Row>& rows) {
  std::ofstream csv(path);
  csv << "strings,sax_ms,load_parsed_ms,load_image_ms,start_to_first_answer_ms,"
         "store_bytes_per_string,utf16_text_bytes_per_string,hit_ns,miss_ns,reverse_ns,"
         "bare_map_hit_ns,bare_map_miss_ns\n";
  for (const Row& r : rows) {
    csv << r.size << ',' << r.saxMs << ',' << r.coldMs << ',' << r.imageMs << ',' << r.startMs
        << ',' << r.storeBytes << ',' << r.textBytes << ',' << r.hitNs << ',' << r.missNs << ','
        << r.reverseNs << ',' << r.mapHitNs << ',' << r.mapMissNs << '\n';
  }
}

void writePlot(const std::string& path, const std::vector<Row>& rows) {
  std::vector<double> sizes;
  const auto column = [&rows](double Row::*field, double scale = 1) {
    std::vector<double> values;
    for (const Row& r : rows) values.push_back(r.*field * scale);
    return values;
  };
  for (const Row& r : rows) sizes.push_back(r.size);
  std::vector<double> storeMb;
  std::vector<double> textMb;
  for (const Row& r : rows) {
    storeMb.push_back(r.storeBytes * r.size / 1e6);
    textMb.push_back(r.textBytes * r.size / 1e6);
  }
  std::vector<double> twiceText = textMb;
  for (double& value : twiceText) value *= 2;
  writeLogLogPlot(
      path, sizes,
      {{"Loading",
        "ms",
        {{"parsed (no image)", column(&Row::coldMs)},
         {"from the image", column(&Row::imageMs)},
         {"start to first answer", column(&Row::startMs)},
         {"empty SAX pass", column(&Row::saxMs), true}}},
       {"Memory",
        "MB",
        {{"store", storeMb}, {"UTF-16 text", textMb, true}, {"2 x UTF-16 text", twiceText, true}}},
       {"Lookups",
        "ns",
        {{"hit", column(&Row::hitNs)},
         {"miss (to the bundle)", column(&Row::missNs)},
         {"reverse", column(&Row::reverseNs)},
         {"bare map hit", column(&Row::mapHitNs), true},
         {"bare map miss", column(&Row::mapMissNs), true}}}});
}

}  // namespace
}  // namespace kolvane::bench

int main(int argc, char** argv) {
  using namespace kolvane::bench;
  if (argc < 2) {
    std::fprintf(stderr, "usage: kolvane_scale_bench OUTPUT_FOLDER [LARGEST]\n");
    return 2;
  }
  const std::string folder = argv[1];
  const int largest = argc > 2 ? std::atoi(argv[2]) : 1'000'000;
  std::filesystem::create_directories(folder);
  std::vector<Row> rows;
  std::printf("%9s %8s %8s %8s %8s %7s %7s %7s %7s %7s %7s %7s\n", "strings", "sax ms", "parse",
              "image", "start", "B/str", "text", "hit ns", "miss", "reverse", "map hit",
              "map miss");
  for (int size = 1'000; size <= largest; size *= 10) {
    Row row;
    row.size = size;
    const Catalogue& c = catalogue(size);
    measureLoads(c, row);
    measureLookups(c, row);
    std::printf("%9d %8.2f %8.2f %8.2f %8.2f %7.0f %7.0f %7.0f %7.0f %7.0f %7.0f %7.0f\n", size,
                row.saxMs, row.coldMs, row.imageMs, row.startMs, row.storeBytes, row.textBytes,
                row.hitNs, row.missNs, row.reverseNs, row.mapHitNs, row.mapMissNs);
    std::fflush(stdout);
    rows.push_back(row);
  }
  writeCsv(folder + "/scale.csv", rows);
  writePlot(folder + "/scale.svg", rows);
  std::printf("Wrote %s/scale.csv and %s/scale.svg\n", folder.c_str(), folder.c_str());
  return 0;
}
