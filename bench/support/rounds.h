#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "ratio_table.h"

namespace bench {

/// One of the things that are compared. `run` does it once and returns how long the part took that counts; it
/// throws std::runtime_error when it fails.
struct Side {
  std::string name;
  std::function<std::chrono::nanoseconds()> run;
};

/// Runs every side once a round, one directly after the other, forwards and backwards in turn, so that what
/// else the machine does touches all of them alike. The first round only warms the caches and the heap; the
/// times of the others are appended to `samples`, under the sides' names.
void runRounds(const std::vector<Side>& sides, int rounds, Samples& samples);

/// How long a call takes.
template <class Call>
std::chrono::nanoseconds timeOf(const Call& call) {
  const auto begin = std::chrono::steady_clock::now();
  call();
  return std::chrono::steady_clock::now() - begin;
}

/// Lets freed memory stay with the process, so that no side pays for getting it back.
void keepFreedMemory();

/// The body of a program's main: calls `measure` with samples to fill, prints the table of the ratios. Its
/// result is the exit status: 0, or 1 when a promise is broken, a ratio was not measured, or `measure` threw,
/// which it reports.
int runComparison(const std::function<void(Samples&)>& measure, const std::vector<Ratio>& ratios);

}  // namespace bench
