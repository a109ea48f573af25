// What a loaded database takes of the heap, its tables and its document, against the size of its file.

#include "support/database.h"
#include "support/ratio_table.h"
#include "support/studio.h"

#include <destructibles/ks_destructibles_helper.h>
#include <malloc.h>

#include <array>
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr std::array<int, 3> kModelCounts = {1000, 10000, 100000};
constexpr double kPromise = 4.0;

/// Bytes that were asked of the heap and not given back, with what the heap adds to each piece.
std::size_t bytesInUse() {
  const struct mallinfo2 heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

/// The bytes that loading the database takes, as many times its file; empty when it cannot be loaded.
std::optional<double> timesTheFile(const bench::Studio& studio) {
  Tal::KsDestructiblesHelper helper;
  studio.forget(helper);
  const std::size_t before = bytesInUse();
  if (!helper.loadConfig(true)) return std::nullopt;
  const std::size_t after = bytesInUse();
  studio.forget(helper);
  return static_cast<double>(after - before) / static_cast<double>(studio.text().size());
}

}  // namespace

// Takes no options: what the other programs repeat because times vary is the same in every run here.
int main() {
  std::vector<bench::RatioResult> results;
  for (const int count : kModelCounts) {
    const std::string models = std::to_string(count) + " models";
    const bench::Studio studio(bench::makeDatabase(count));
    results.push_back(
        {{models + ": tables and document / file", models, "file", kPromise}, timesTheFile(studio)});
  }
  std::cout << bench::tableOf(results);
  return bench::areKept(results, false) ? 0 : 1;
}
