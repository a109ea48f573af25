// The database: reading it against a parse of the same bytes, saving one model against writing the file once,
// and selecting another model.

#include <destructibles/ks_destructibles_helper.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/database.h"
#include "support/measures.h"
#include "support/rounds.h"
#include "support/studio.h"

namespace {

using bench::makeDatabase;
using bench::Side;
using bench::Studio;
using Tal::KsDestructiblesHelper;

constexpr int kSmall = 1000;
constexpr int kMedium = 10000;
constexpr int kLarge = 100000;
constexpr std::array<int, 3> kModelCounts = {kSmall, kMedium, kLarge};
// How many rounds at a number of models; short ones are disturbed more.
constexpr std::array<std::pair<int, int>, 3> kRounds = {{{kSmall, 101}, {kMedium, 51}, {kLarge, 21}}};
constexpr unsigned kFewModules = 1;
constexpr unsigned kManyModules = 14;
constexpr std::array<unsigned, 2> kModuleCounts = {kFewModules, kManyModules};

void loadAgain(KsDestructiblesHelper& helper) {
  if (!helper.loadConfig(true)) throw std::runtime_error("the database was not loaded");
}

// Another load of a file that is as it was.
Side reloadSide(std::string name) {
  return {std::move(name), [] {
            KsDestructiblesHelper helper;
            bench::pause();
            loadAgain(helper);
            return bench::timeOf([&helper] { loadAgain(helper); });
          }};
}

// Gives the file another time of modification.
void touch(const Studio& studio) {
  static std::time_t seconds = 1'500'000'000;
  const std::array<timespec, 2> times = {{{0, UTIME_OMIT}, {++seconds, 0}}};
  if (utimensat(AT_FDCWD, studio.file().c_str(), times.data(), 0) != 0)
    throw std::runtime_error("the file was not touched");
}

// Puts another file of the same bytes in the file's place.
void replace(const Studio& studio) {
  const std::filesystem::path other = studio.file().string() + ".other";
  std::filesystem::copy_file(studio.file(), other, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::rename(other, studio.file());
}

// Another load when the file is another version of the same bytes.
Side reloadAfterSide(std::string name, const Studio& studio, void (*change)(const Studio&)) {
  return {std::move(name), [&studio, change] {
            KsDestructiblesHelper helper;
            loadAgain(helper);
            change(studio);
            return bench::timeOf([&helper] { loadAgain(helper); });
          }};
}

// Models of one kind of a generated database, of which every tenth from the first on is visited.
struct Visit {
  const char* side;
  const char* what;  // what a person reads
  int first;
  Tal::KsDestructibleType type;
};
constexpr std::array<Visit, 3> kVisits = {
    {{"selectModel/structure", "another structure", 0, Tal::DT_STRUCTURE},
     {"selectModel/fallingAtom", "another falling atom", 1, Tal::DT_FALLING_ATOMS},
     {"selectModel/fragile", "another fragile", 4, Tal::DT_FRAGILE}}};
constexpr int kVisitStep = 10;
constexpr int kVisitsPerRound = 50;  // of which one is reported, on average

// A helper that goes from model to model.
class Visitor {
 public:
  explicit Visitor(int model)
      : helper_(std::make_unique<KsDestructiblesHelper>(model_.model(), bench::modelName(model),
                                                        model_.disabler())) {}

  KsDestructiblesHelper& select(int model) {
    KsDestructiblesHelper::reinit(helper_, model_.model(), bench::modelName(model), model_.disabler(), false);
    return *helper_;
  }

  // How long each of many visits takes; the first, which loads the tables again if need be, does not count.
  template <class VisitOne>
  std::chrono::nanoseconds timeOfVisits(const VisitOne& visitOne) {
    visitOne();
    return bench::timeOf([&] {
             for (int i = 0; i < kVisitsPerRound; ++i) visitOne();
           }) /
           kVisitsPerRound;
  }

 private:
  bench::StructureModel model_{9};
  std::unique_ptr<KsDestructiblesHelper> helper_;
};

Side selectSide(std::string name, const Visit& visit, int count) {
  const auto visitor = std::make_shared<Visitor>(visit.first);
  return {std::move(name), [visitor, visit, count, selected = visit.first]() mutable {
            return visitor->timeOfVisits([&] {
              selected = (selected + kVisitStep) % count;
              if (visitor->select(selected).destructibleType() != visit.type)
                throw std::runtime_error("the model is of another category");
            });
          }};
}

constexpr char kSelectAbsent[] = "selectModel/absent";

void makeEntries(KsDestructiblesHelper& helper, int category) {
  if (category == Tal::DT_STRUCTURE) return helper.setAsStructure();
  if (category == Tal::DT_FRAGILE) return helper.setAsFragile();
  helper.setAsFallingAtoms();
}

// A model that the file lacks, made one of each category in turn; the entries go when the next is selected.
Side selectAbsentSide(std::string name, int count) {
  const auto visitor = std::make_shared<Visitor>(count);
  return {std::move(name), [visitor, count, selected = 0]() mutable {
            const auto time = visitor->timeOfVisits([&] {
              selected = (selected + 1) % count;
              KsDestructiblesHelper& helper = visitor->select(count + selected);
              makeEntries(helper, selected % 3);
              if (!helper.isMissingInDestructiblesXml()) throw std::runtime_error("no entries were made");
            });
            visitor->select(0);
            return time;
          }};
}

std::string nameOf(const char* side, int count) {
  return std::string(side) + "/" + std::to_string(count);
}

std::string saveOnlyName(int count, unsigned modules) {
  return nameOf("saveModelOnly", count) + "/" + std::to_string(modules);
}

std::vector<Side> sidesOf(const Studio& studio, int count) {
  std::vector<Side> sides = {bench::parseSide(studio, nameOf("parse", count)),
                             bench::firstLoadSide(studio, nameOf("firstLoad", count)),
                             reloadSide(nameOf("reload", count)),
                             reloadAfterSide(nameOf("reloadTouched", count), studio, touch),
                             reloadAfterSide(nameOf("reloadReplaced", count), studio, replace)};
  for (const Visit& visit : kVisits) sides.push_back(selectSide(nameOf(visit.side, count), visit, count));
  sides.push_back(selectAbsentSide(nameOf(kSelectAbsent, count), count));
  sides.push_back(bench::writeSide(studio, nameOf("writeOnce", count)));
  int structure = 0;
  for (const unsigned modules : kModuleCounts)
    sides.push_back(bench::saveSide(saveOnlyName(count, modules), structure += kVisitStep, modules, false));
  sides.push_back(bench::saveSide(nameOf("saveModel", count), structure += kVisitStep, 9, true));
  return sides;
}

std::vector<bench::Ratio> loadRatios(int count, const std::string& models) {
  const std::string floor = nameOf("parse", count);
  return {{models + "first loadConfig / parse", nameOf("firstLoad", count), floor, 3.0},
          {models + "loadConfig, file unchanged / parse", nameOf("reload", count), floor, 0.25},
          {models + "loadConfig, file touched / parse", nameOf("reloadTouched", count), floor, 0.25},
          {models + "loadConfig, file replaced by its like / parse", nameOf("reloadReplaced", count), floor,
           0.25}};
}

std::vector<bench::Ratio> selectionRatios(int count, const std::string& models) {
  std::vector<bench::Ratio> ratios;
  const auto add = [&](const std::string& what, const char* side) {
    const std::string name = nameOf(side, count);
    ratios.push_back({models + what + " / parse", name, nameOf("parse", count), 0.25});
    if (count == kMedium)
      ratios.push_back({models + what + " / 1 ms", name, std::chrono::milliseconds(1), 10.0});
  };
  for (const Visit& visit : kVisits) add(visit.what, visit.side);
  add("another model that the file lacks", kSelectAbsent);
  return ratios;
}

std::vector<bench::Ratio> saveRatios(int count, const std::string& models) {
  std::vector<bench::Ratio> ratios;
  const auto add = [&](const std::string& what, unsigned modules, const std::string& floor) {
    ratios.push_back({models + what, saveOnlyName(count, modules), floor, 1.5});
  };
  const std::string file = nameOf("writeOnce", count);
  add("saveConfig of 1 module without its reload / writing the file", kFewModules, file);
  add("saveConfig of 14 modules without its reload / writing the file", kManyModules, file);
  add("saveConfig of 14 modules / of 1 module, without their reloads", kManyModules,
      saveOnlyName(count, kFewModules));
  ratios.push_back({models + "saveConfig / (1.5 writing the file + first loadConfig)",
                    nameOf("saveModel", count),
                    {{{1.5, file}, {1.0, nameOf("firstLoad", count)}}},
                    1.0});
  return ratios;
}

std::vector<bench::Ratio> ratios() {
  std::vector<bench::Ratio> ratios;
  for (const int count : kModelCounts) {
    const std::string models = std::to_string(count) + " models: ";
    for (const auto& part :
         {loadRatios(count, models), selectionRatios(count, models), saveRatios(count, models)})
      ratios.insert(ratios.end(), part.begin(), part.end());
  }
  // Linear growth: ten times the models, ten times the work and a margin for what no longer fits the caches.
  std::vector<const char*> growing = {"firstLoad", "reload", kSelectAbsent, "saveModel"};
  for (const Visit& visit : kVisits) growing.push_back(visit.side);
  for (const char* const measure : growing) {
    ratios.push_back({std::string(measure) + ": 100000 / 10000 models", nameOf(measure, kLarge),
                      nameOf(measure, kMedium), 20.0});
  }
  return ratios;
}

}  // namespace

int main() {
  return bench::runComparison(
      [](bench::Samples& samples) {
        for (const auto& [count, rounds] : kRounds) {
          const Studio studio(makeDatabase(count));
          bench::runRounds(sidesOf(studio, count), rounds, samples);
        }
      },
      ratios());
}
