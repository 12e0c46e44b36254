// Runs the benchmarks (five repetitions, medians reported) and then prints each measurement
// against its baseline from the same run, so the ratios hold on a noisy machine.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

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

void printRatio(const MedianCollector& collected, const std::string& name,
                const std::string& baseline, int size, const char* target) {
  std::string suffix = "/";
  suffix += std::to_string(size);
  const auto measured = collected.medians.find(name + suffix);
  const auto base = collected.medians.find(baseline + suffix);
  if (measured == collected.medians.end() || base == collected.medians.end()) return;
  std::printf("%-28s %7d  vs %-28s %6.2fx   (target %s)\n", name.c_str(), size, baseline.c_str(),
              measured->second / base->second, target);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> args(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=5";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  args.push_back(repetitions.data());
  args.push_back(aggregates.data());
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  MedianCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  std::printf("\nRatios of medians, same run:\n");
  for (int size : {10000, 100000}) {
    printRatio(collector, "BM_HookedLookupShownLocale", "BM_BareMapLookup", size, "<= 2");
    printRatio(collector, "BM_HookedLookupShownLocale", "BM_Dgettext", size, "<= 1");
    printRatio(collector, "BM_HookedLookupBase", "BM_BareMapLookup", size, "-");
    printRatio(collector, "BM_HookedLookupBundleTable", "BM_BareMapLookup", size, "-");
    printRatio(collector, "BM_ReverseLookup", "BM_HookedLookupShownLocale", size, "<= 3");
    printRatio(collector, "BM_LoadPublishedFile", "BM_SaxEmptyHandlers", size, "<= 3");
  }
  benchmark::Shutdown();
  return 0;
}
