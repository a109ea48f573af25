// The database in other dresses than the usual one, all of which take another way through the reader: reading
// it against a parse of the same bytes, saving one model against writing the same bytes once.

#include "support/database.h"
#include "support/dresses.h"
#include "support/measures.h"
#include "support/ratios.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using bench::Dress;

constexpr int kModelCount = 10000;
constexpr unsigned kModuleCount = 1;

// The dress must live as long as there are benchmarks to run.
void registerDress(const Dress& dress) {
  const auto registerOne = [&dress](const std::string& measure, const auto& run) {
    return benchmark::RegisterBenchmark((measure + "/" + dress.name).c_str(), run)
        ->Unit(benchmark::kMillisecond);
  };
  registerOne("parse", [&dress](auto& state) { bench::measureParse(state, dress.bytes); })->UseRealTime();
  registerOne("firstLoad", [&dress](auto& state) {
    bench::measureFirstLoad(state, dress.bytes);
  })->UseRealTime();
  registerOne("writeOnce", [&dress](auto& state) {
    bench::measureWriteOnce(state, dress.bytes);
  })->UseRealTime();
  registerOne("saveModelOnly", [&dress](auto& state) {
    bench::measureSaveWithoutReload(state, dress.bytes, kModuleCount);
  })->UseManualTime();
}

std::vector<bench::Ratio> ratiosOf(const std::vector<Dress>& dresses) {
  std::vector<bench::Ratio> ratios;
  for (const Dress& dress : dresses) {
    ratios.push_back({dress.name + ": first loadConfig / parse", "firstLoad/" + dress.name + "/real_time",
                      "parse/" + dress.name + "/real_time", 3.0});
  }
  for (const Dress& dress : dresses) {
    ratios.push_back({dress.name + ": saveConfig without its reload / writing the file",
                      "saveModelOnly/" + dress.name + "/manual_time",
                      "writeOnce/" + dress.name + "/real_time", dress.isConverted ? 2.0 : 1.5});
  }
  return ratios;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<Dress> dresses = bench::dressesOf(bench::makeDatabase(kModelCount));
  for (const Dress& dress : dresses) registerDress(dress);
  return bench::run(argc, argv, ratiosOf(dresses));
}
