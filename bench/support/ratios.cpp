#include "ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <string>
#include <utility>

#include "rounds.h"

namespace bench {
namespace {

using Run = benchmark::BenchmarkReporter::Run;

/// What a run is repeated by unless the caller's own options, which come later, say otherwise.
constexpr std::array<const char*, 3> kDefaultOptions = {
    "--benchmark_repetitions=11", "--benchmark_min_time=0.05", "--benchmark_enable_random_interleaving=true"};

double nanosecondsOf(const Run& run) {
  const bool isRealTime = run.run_name.time_type.find("real_time") != std::string::npos ||
                          run.run_name.time_type.find("manual_time") != std::string::npos;
  const double time = isRealTime ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
  return time / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
}

/// Keeps the repetitions of every benchmark, and shows what summarises them when all are done.
class Collector : public benchmark::ConsoleReporter {
 public:
  Collector() : ConsoleReporter(OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) {
        hasFailure_ = true;
      } else if (run.run_type == Run::RT_Iteration) {
        samples_[run.run_name.str()].push_back(nanosecondsOf(run));
      }
      if (run.error_occurred || run.repetitions == 1 || run.aggregate_name == "median") shown_.push_back(run);
    }
  }

  void Finalize() override {
    // The random order in which they ended says nothing; the order in which the program names them does.
    std::stable_sort(shown_.begin(), shown_.end(), [](const Run& a, const Run& b) {
      return std::pair(a.family_index, a.per_family_instance_index) <
             std::pair(b.family_index, b.per_family_instance_index);
    });
    if (!shown_.empty()) ConsoleReporter::ReportRuns(shown_);
    ConsoleReporter::Finalize();
  }

  const Samples& samples() const { return samples_; }
  bool hasFailure() const { return hasFailure_; }

 private:
  Samples samples_;
  std::vector<Run> shown_;
  bool hasFailure_ = false;
};

bool isFiltered() {
  const std::string filter = benchmark::GetBenchmarkFilter();
  return !filter.empty() && filter != "." && filter != "all";
}

/// The program's arguments with the default options in front of the caller's.
std::vector<std::string> withDefaultOptions(int argc, char** argv) {
  std::vector<std::string> arguments(argv, argv + argc);
  arguments.insert(arguments.begin() + std::min(argc, 1), kDefaultOptions.begin(), kDefaultOptions.end());
  return arguments;
}

/// False when an argument is no option of Google Benchmark; it says which.
bool initialize(std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, pointers.data());
  return !benchmark::ReportUnrecognizedArguments(count, pointers.data());
}

}  // namespace

int run(int argc, char** argv, const std::vector<Ratio>& ratios) {
  keepFreedMemory();
  std::vector<std::string> arguments = withDefaultOptions(argc, argv);
  if (!initialize(arguments)) return 1;

  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();
  const std::vector<RatioResult> results = evaluate(ratios, collector.samples());
  std::cout << '\n' << tableOf(results) << std::flush;

  return areKept(results, isFiltered()) && !collector.hasFailure() ? 0 : 1;
}

}  // namespace bench
