#pragma once

#include <vector>

#include "ratio_table.h"

namespace bench {

/// Runs every registered benchmark and prints their medians and then the ratios; the body of a program's
/// main. Its result is the exit status: 0, or 1 when a promise is broken, a benchmark failed, or a ratio was
/// not measured (which is accepted when --benchmark_filter left benchmarks out).
///
/// Every benchmark is repeated, the repetitions of all of them in random order, so that what else the machine
/// does touches them alike. Times are CPU times; real times for a benchmark that asks
/// for that with UseRealTime or UseManualTime (its name then ends in "/real_time" or "/manual_time", here
/// too). The heap is kept warm: freed memory stays with the process. Google Benchmark's own options change
/// all this.
int run(int argc, char** argv, const std::vector<Ratio>& ratios);

}  // namespace bench
