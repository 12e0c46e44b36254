// Runs the benchmarks (five repetitions, medians reported) and then prints each measurement
// against its baseline from the same run, so the ratios hold on a noisy machine.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

void printRatio(const std::map<std::string, double>& medians, const std::string& name,
                const std::string& baseline, int size, const char* target) {
  std::string suffix = "/";
  suffix += std::to_string(size);
  const auto measured = medians.find(name + suffix);
  const auto base = medians.find(baseline + suffix);
  if (measured == medians.end() || base == medians.end()) return;
  std::printf("%-28s %7d  vs %-28s %6.2fx   (target %s)\n", name.c_str(), size, baseline.c_str(),
              measured->second / base->second, target);
}

}  // namespace

int main(int argc, char** argv) {
  const auto medians = kolvane::bench::runMedians(argc, argv);
  std::printf("\nRatios of medians, same run:\n");
  for (int size : {10000, 100000}) {
    printRatio(medians, "BM_HookedLookupShownLocale", "BM_BareMapLookup", size, "<= 1.2");
    printRatio(medians, "BM_HookedLookupShownLocale", "BM_Dgettext", size, "<= 1");
    printRatio(medians, "BM_HookedLookupBase", "BM_BareMapLookup", size, "<= 1.2");
    printRatio(medians, "BM_HookedLookupBundleTable", "BM_BareMapLookup", size, "<= 2");
    printRatio(medians, "BM_ReverseLookup", "BM_HookedLookupShownLocale", size, "<= 2");
    printRatio(medians, "BM_LoadPublishedFile", "BM_SaxEmptyHandlers", size, "<= 2");
    printRatio(medians, "BM_LoadFromImage", "BM_SaxEmptyHandlers", size, "<= 0.2");
    printRatio(medians, "BM_StartToFirstAnswer", "BM_SaxEmptyHandlers", size, "<= 0.2");
    const auto memory = medians.find("BM_HeapPerLoadedString/" + std::to_string(size) +
                                     "/iterations:1:heap_per_text");
    if (memory != medians.end()) {
      std::printf("%-28s %7d  vs %-28s %6.2fx   (target <= 2)\n", "store memory", size,
                  "its UTF-16 text", memory->second);
    }
  }
  return 0;
}
