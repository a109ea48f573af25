#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// So many times the time of a benchmark.
struct Term {
  double times;
  std::string benchmark;  ///< the full name, as its program lists it
};

/// What a time is compared with: another benchmark's time, a sum of such, or a time that is the same on every
/// machine, so that the ratio is in units of it.
struct Floor {
  // Implicit: most floors are one benchmark.
  Floor(const char* benchmark) : terms{{1.0, benchmark}} {}             // NOLINT(google-explicit-constructor)
  Floor(std::string benchmark) : terms{{1.0, std::move(benchmark)}} {}  // NOLINT(google-explicit-constructor)
  Floor(std::vector<Term> sum) : terms(std::move(sum)) {}               // NOLINT(google-explicit-constructor)
  Floor(std::chrono::milliseconds unit) : fixed(unit) {}                // NOLINT(google-explicit-constructor)

  std::vector<Term> terms;
  std::chrono::nanoseconds fixed{0};  ///< added to the terms
};

/// How the times of benchmarks of one run compare.
struct Ratio {
  std::string name;       ///< what a person reads: "raise 16 slots, ours / Boost.Signals2"
  std::string numerator;  ///< the full name of a benchmark, as its program lists it
  Floor denominator;
  std::optional<double> promise;  ///< what the ratio must not exceed; empty when it is only shown
};

/// The times of every repetition of each benchmark in nanoseconds, by its full name. What is compared was
/// measured in the same order: the first repetition of one beside the first of the other.
using Samples = std::map<std::string, std::vector<double>>;

/// The middle value of a list that is not empty; the mean of the two middle ones when their number is even.
double median(std::vector<double> values);

/// A ratio together with what a run showed.
struct RatioResult {
  Ratio ratio;
  std::optional<double>
      value;  ///< the median of the repetitions' ratios; empty when something was not measured

  bool isBroken() const { return value && ratio.promise && *value > *ratio.promise; }
};

/// Every ratio with its value, in the given order.
std::vector<RatioResult> evaluate(const std::vector<Ratio>& ratios, const Samples& samples);

/// One line per ratio: "NAME = 0.72 (promise: at most 1.00)", the equals signs below each other, with BROKEN
/// behind a promise that does not hold and "not measured" where there is no value.
std::string tableOf(const std::vector<RatioResult>& results);

/// Whether no promise is broken and, unless `mayLackSome`, every ratio was measured.
bool areKept(const std::vector<RatioResult>& results, bool mayLackSome);

}  // namespace bench
