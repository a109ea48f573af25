#include "rounds.h"

#include <malloc.h>

#include <cstddef>
#include <exception>
#include <iostream>

namespace bench {

void runRounds(const std::vector<Side>& sides, int rounds, Samples& samples) {
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
      const Side& side = sides[round % 2 == 0 ? i : sides.size() - 1 - i];
      const std::chrono::nanoseconds time = side.run();
      if (round > 0) samples[side.name].push_back(static_cast<double>(time.count()));
    }
  }
}

void keepFreedMemory() {
  constexpr int kKeptBytes = 1 << 30;
  ::mallopt(M_TRIM_THRESHOLD, kKeptBytes);
  ::mallopt(M_MMAP_THRESHOLD, kKeptBytes);
}

int runComparison(const std::function<void(Samples&)>& measure, const std::vector<Ratio>& ratios) {
  keepFreedMemory();
  Samples samples;
  try {
    measure(samples);
  } catch (const std::exception& failure) {
    std::cerr << "not measured: " << failure.what() << '\n';
    return 1;
  }
  const std::vector<RatioResult> results = evaluate(ratios, samples);
  std::cout << tableOf(results) << std::flush;
  return areKept(results, false) ? 0 : 1;
}

}  // namespace bench
