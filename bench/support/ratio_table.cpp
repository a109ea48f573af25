#include "ratio_table.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <sstream>
#include <utility>

namespace bench {
namespace {

// Empty when the repetition was not measured.
std::optional<double> timeOf(const Samples& samples, const std::string& benchmark, std::size_t repetition) {
  const auto found = samples.find(benchmark);
  if (found == samples.end() || repetition >= found->second.size()) return std::nullopt;
  return found->second[repetition];
}

std::optional<double> valueOf(const Ratio& ratio, const Samples& samples, std::size_t repetition) {
  const std::optional<double> numerator = timeOf(samples, ratio.numerator, repetition);
  auto denominator = static_cast<double>(ratio.denominator.fixed.count());
  for (const Term& term : ratio.denominator.terms) {
    const std::optional<double> time = timeOf(samples, term.benchmark, repetition);
    if (!time) return std::nullopt;
    denominator += term.times * *time;
  }
  if (!numerator || denominator <= 0.0) return std::nullopt;
  return *numerator / denominator;
}

std::optional<double> valueOf(const Ratio& ratio, const Samples& samples) {
  std::vector<double> values;
  while (const std::optional<double> value = valueOf(ratio, samples, values.size())) values.push_back(*value);
  if (values.empty()) return std::nullopt;
  return median(std::move(values));
}

}  // namespace

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

std::vector<RatioResult> evaluate(const std::vector<Ratio>& ratios, const Samples& samples) {
  std::vector<RatioResult> results;
  results.reserve(ratios.size());
  for (const Ratio& ratio : ratios) results.push_back({ratio, valueOf(ratio, samples)});
  return results;
}

std::string tableOf(const std::vector<RatioResult>& results) {
  std::size_t width = 0;
  for (const RatioResult& result : results) width = std::max(width, result.ratio.name.size());
  std::ostringstream table;
  table << std::fixed << std::setprecision(2);
  for (const RatioResult& result : results) {
    table << std::left << std::setw(static_cast<int>(width)) << result.ratio.name << " = ";
    if (result.value) {
      table << std::right << std::setw(5) << *result.value;
    } else {
      table << "not measured";
    }
    if (result.ratio.promise) table << " (promise: at most " << *result.ratio.promise << ")";
    if (result.isBroken()) table << " BROKEN";
    table << '\n';
  }
  return table.str();
}

bool areKept(const std::vector<RatioResult>& results, bool mayLackSome) {
  return std::none_of(results.begin(), results.end(), [mayLackSome](const RatioResult& result) {
    return result.isBroken() || (!result.value && !mayLackSome);
  });
}

}  // namespace bench
