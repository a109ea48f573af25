// The database as other editors store it, all of which takes another way through the reader: reading it
// against a parse of the same bytes, saving one model against writing the same bytes once.

#include <string>
#include <vector>

#include "support/database.h"
#include "support/file_variants.h"
#include "support/measures.h"
#include "support/rounds.h"
#include "support/studio.h"

namespace {

using bench::FileVariant;

constexpr int kModelCount = 10000;
constexpr int kRounds = 41;
constexpr int kStructure = 10;
constexpr unsigned kModuleCount = 1;

void measure(const FileVariant& variant, bench::Samples& samples) {
  const bench::Studio studio(variant.bytes);
  bench::runRounds({bench::parseSide(studio, "parse/" + variant.name),
                    bench::firstLoadSide(studio, "firstLoad/" + variant.name),
                    bench::writeSide(studio, "writeOnce/" + variant.name),
                    bench::saveSide("saveModelOnly/" + variant.name, kStructure, kModuleCount, false)},
                   kRounds, samples);
}

std::vector<bench::Ratio> ratiosOf(const std::vector<FileVariant>& variants) {
  std::vector<bench::Ratio> ratios;
  for (const FileVariant& variant : variants) {
    ratios.push_back({variant.name + ": first loadConfig / parse", "firstLoad/" + variant.name,
                      "parse/" + variant.name, 3.0});
  }
  for (const FileVariant& variant : variants) {
    ratios.push_back({variant.name + ": saveConfig without its reload / writing the file",
                      "saveModelOnly/" + variant.name, "writeOnce/" + variant.name,
                      variant.isConverted ? 2.0 : 1.5});
  }
  return ratios;
}

}  // namespace

int main() {
  const std::vector<FileVariant> variants = bench::fileVariantsOf(bench::makeDatabase(kModelCount));
  return bench::runComparison(
      [&variants](bench::Samples& samples) {
        for (const FileVariant& variant : variants) measure(variant, samples);
      },
      ratiosOf(variants));
}
