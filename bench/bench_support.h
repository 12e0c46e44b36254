// What the benchmark programs share: the visiting order of keys, and running every benchmark
// five times to keep the medians.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "catalogue_fixture.h"

namespace kolvane::bench {

// Visits the keys in the catalogue's shuffled order, so the caches see an app's spread of keys.
template <typename Lookup>
void visitKeys(benchmark::State& state, const Catalogue& c, Lookup lookup) {
  std::size_t next = 0;
  for (auto _ : state) {
    const int index = c.order[next];
    next = next + 1 == c.order.size() ? 0 : next + 1;
    auto result = lookup(index);
    benchmark::DoNotOptimize(result);
  }
}

// The median of each benchmark, by name (arguments included), as the console shows them; and
// of each of its counters, as "name:counter".
class MedianCollector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        medians[run.run_name.str()] = run.GetAdjustedRealTime();
        for (const auto& [counter, value] : run.counters) {
          medians[run.run_name.str() + ":" + counter] = value.value;
        }
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> medians;
};

// Runs the benchmarks named on the command line, five times each; the medians.
inline std::map<std::string, double> runMedians(int argc, char** argv) {
  std::vector<char*> args(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=5";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  args.push_back(repetitions.data());
  args.push_back(aggregates.data());
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  MedianCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();
  return collector.medians;
}

}  // namespace kolvane::bench
