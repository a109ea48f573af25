// The database: reading it against a parse of the same bytes, saving one model against writing the file once,
// and selecting another model.

#include "support/database.h"
#include "support/measures.h"
#include "support/ratios.h"
#include "support/studio.h"

#include <benchmark/benchmark.h>
#include <destructibles/ks_destructibles_helper.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

using bench::makeDatabase;
using bench::Studio;
using Tal::KsDestructiblesHelper;

constexpr int kSmall = 1000;
constexpr int kMedium = 10000;
constexpr int kLarge = 100000;
constexpr std::array<int, 3> kModelCounts = {kSmall, kMedium, kLarge};
constexpr unsigned kFewModules = 1;
constexpr unsigned kManyModules = 14;
constexpr std::array<unsigned, 2> kModuleCounts = {kFewModules, kManyModules};

int countOf(const benchmark::State& state) {
  return static_cast<int>(state.range(0));
}

void parse(benchmark::State& state) {
  bench::measureParse(state, makeDatabase(countOf(state)));
}

void firstLoad(benchmark::State& state) {
  bench::measureFirstLoad(state, makeDatabase(countOf(state)));
}

void writeOnce(benchmark::State& state) {
  bench::measureWriteOnce(state, makeDatabase(countOf(state)));
}

void saveModelOnly(benchmark::State& state) {
  bench::measureSaveWithoutReload(state, makeDatabase(countOf(state)), static_cast<unsigned>(state.range(1)));
}

void reload(benchmark::State& state) {
  const Studio studio(makeDatabase(countOf(state)));
  KsDestructiblesHelper helper;
  helper.loadConfig(true);
  for (auto _ : state) {
    if (!helper.loadConfig(true)) state.SkipWithError("the database was not loaded");
  }
}

// Gives the file another time of modification.
bool touch(const Studio& studio) {
  static std::time_t seconds = 1'500'000'000;
  const std::array<timespec, 2> times = {{{0, UTIME_OMIT}, {++seconds, 0}}};
  return utimensat(AT_FDCWD, studio.file().c_str(), times.data(), 0) == 0;
}

// Puts another file of the same bytes in the file's place.
bool replace(const Studio& studio) {
  const std::filesystem::path other = studio.file().string() + ".other";
  std::ofstream stream(other, std::ios::binary);
  stream << studio.text();
  stream.close();
  if (!stream) return false;
  std::error_code error;
  std::filesystem::rename(other, studio.file(), error);
  return !error;
}

// Another load when the file is another version of the same bytes.
void reloadAfter(benchmark::State& state, bool (*change)(const Studio&)) {
  const Studio studio(makeDatabase(countOf(state)));
  KsDestructiblesHelper helper;
  helper.loadConfig(true);
  for (auto _ : state) {
    state.PauseTiming();
    const bool isChanged = change(studio);
    state.ResumeTiming();
    if (!isChanged || !helper.loadConfig(true))
      state.SkipWithError("the database was not changed and loaded");
  }
}

// Models of one kind of a generated database, of which every tenth from the first on is visited.
struct Visit {
  const char* benchmark;
  const char* what;  // what a person reads
  int first;
  Tal::KsDestructibleType type;
};
constexpr std::array<Visit, 3> kVisits = {
    {{"selectModel/structure", "another structure", 0, Tal::DT_STRUCTURE},
     {"selectModel/fallingAtom", "another falling atom", 1, Tal::DT_FALLING_ATOMS},
     {"selectModel/fragile", "another fragile", 4, Tal::DT_FRAGILE}}};
constexpr int kVisitStep = 10;

void selectModel(benchmark::State& state, const Visit& visit) {
  Studio studio(makeDatabase(countOf(state)));
  int selected = visit.first;
  auto helper =
      std::make_unique<KsDestructiblesHelper>(studio.model(), bench::modelName(selected), studio.disabler());
  for (auto _ : state) {
    selected = (selected + kVisitStep) % countOf(state);
    KsDestructiblesHelper::reinit(helper, studio.model(), bench::modelName(selected), studio.disabler(),
                                  false);
    if (helper->destructibleType() != visit.type) state.SkipWithError("the model is of another category");
  }
}

constexpr char kSelectAbsent[] = "selectModel/absent";

void makeEntries(KsDestructiblesHelper& helper, int category) {
  if (category == Tal::DT_STRUCTURE) return helper.setAsStructure();
  if (category == Tal::DT_FRAGILE) return helper.setAsFragile();
  helper.setAsFallingAtoms();
}

// A model that the file lacks, made one of each category in turn; the entries go when the next is selected.
void selectAbsentModel(benchmark::State& state) {
  const int count = countOf(state);
  Studio studio(makeDatabase(count));
  auto helper =
      std::make_unique<KsDestructiblesHelper>(studio.model(), bench::modelName(count), studio.disabler());
  int selected = 0;
  for (auto _ : state) {
    selected = (selected + 1) % count;
    KsDestructiblesHelper::reinit(helper, studio.model(), bench::modelName(count + selected),
                                  studio.disabler(), false);
    makeEntries(*helper, selected % 3);
    if (!helper->isMissingInDestructiblesXml()) state.SkipWithError("no entries were made");
  }
}

void saveModel(benchmark::State& state) {
  Studio studio(makeDatabase(countOf(state)));
  KsDestructiblesHelper helper(studio.model(), bench::modelName(10), studio.disabler());
  Tal::KsDestructibleModuleDesc desc;
  for (auto _ : state) {
    state.PauseTiming();
    bench::hearOfTheSave(helper);
    state.ResumeTiming();
    desc.health = desc.health % 1000 + 1;
    helper.updateDestructibleModule("n_wall_3", desc, false);
    if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
  }
}

// A measure at every number of models.
template <class Measure>
benchmark::internal::Benchmark* registerAll(const char* name, Measure measure) {
  auto* const benchmark =
      benchmark::RegisterBenchmark(name, measure)->Unit(benchmark::kMillisecond)->UseRealTime();
  for (const int count : kModelCounts) benchmark->Arg(count);
  return benchmark;
}

std::string nameOf(const char* measure, int count) {
  return std::string(measure) + "/" + std::to_string(count) + "/real_time";
}

std::string saveOnlyName(int count, unsigned modules) {
  return "saveModelOnly/" + std::to_string(count) + "/" + std::to_string(modules) + "/manual_time";
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
  const auto add = [&](const std::string& what, const char* benchmark) {
    const std::string name = nameOf(benchmark, count);
    ratios.push_back({models + what + " / parse", name, nameOf("parse", count), 0.25});
    if (count == kMedium)
      ratios.push_back({models + what + " / 1 ms", name, std::chrono::milliseconds(1), 10.0});
  };
  for (const Visit& visit : kVisits) add(visit.what, visit.benchmark);
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
  for (const Visit& visit : kVisits) growing.push_back(visit.benchmark);
  for (const char* const measure : growing) {
    ratios.push_back({std::string(measure) + ": 100000 / 10000 models", nameOf(measure, kLarge),
                      nameOf(measure, kMedium), 20.0});
  }
  return ratios;
}

}  // namespace

int main(int argc, char** argv) {
  registerAll("parse", parse);
  registerAll("firstLoad", firstLoad);
  registerAll("reload", reload);
  registerAll("reloadTouched", [](benchmark::State& state) { reloadAfter(state, touch); });
  registerAll("reloadReplaced", [](benchmark::State& state) { reloadAfter(state, replace); });
  for (const Visit& visit : kVisits)
    registerAll(visit.benchmark, [&visit](benchmark::State& state) { selectModel(state, visit); });
  registerAll(kSelectAbsent, selectAbsentModel);
  registerAll("saveModel", saveModel);
  registerAll("writeOnce", writeOnce);
  for (const int count : kModelCounts) {
    for (const unsigned modules : kModuleCounts) {
      benchmark::RegisterBenchmark("saveModelOnly", saveModelOnly)
          ->Unit(benchmark::kMillisecond)
          ->UseManualTime()
          ->Args({count, modules});
    }
  }
  return bench::run(argc, argv, ratios());
}
