// The database: reading it against a parse of the same bytes, saving one model against writing the file once,
// and selecting another model.

#include "support/database.h"
#include "support/ratios.h"
#include "support/studio.h"

#include <benchmark/benchmark.h>
#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <fcntl.h>
#include <unistd.h>
#include <pugixml.hpp>

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace {

using bench::Studio;
using Tal::KsDestructiblesHelper;

constexpr int kSmall = 1000;
constexpr int kMedium = 10000;
constexpr int kLarge = 100000;
constexpr std::array<int, 3> kModelCounts = {kSmall, kMedium, kLarge};
constexpr std::array<int, 2> kModuleCounts = {1, 14};

int countOf(const benchmark::State& state) {
  return static_cast<int>(state.range(0));
}

void firstLoad(benchmark::State& state) {
  const Studio studio(countOf(state));
  KsDestructiblesHelper helper;
  for (auto _ : state) {
    state.PauseTiming();
    studio.forget(helper);
    state.ResumeTiming();
    if (!helper.loadConfig(true)) state.SkipWithError("the database was not loaded");
  }
}

void reload(benchmark::State& state) {
  const Studio studio(countOf(state));
  KsDestructiblesHelper helper;
  helper.loadConfig(true);
  for (auto _ : state) {
    if (!helper.loadConfig(true)) state.SkipWithError("the database was not loaded");
  }
}

void parse(benchmark::State& state) {
  const std::string text = bench::makeDatabase(countOf(state));
  for (auto _ : state) {
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) state.SkipWithError("the text was not parsed");
    benchmark::DoNotOptimize(document.first_child());
  }
}

void selectModel(benchmark::State& state) {
  Studio studio(countOf(state));
  auto helper =
      std::make_unique<KsDestructiblesHelper>(studio.model(), bench::modelName(0), studio.disabler());
  int selected = 0;
  for (auto _ : state) {
    selected = (selected + 10) % countOf(state);
    KsDestructiblesHelper::reinit(helper, studio.model(), bench::modelName(selected), studio.disabler(),
                                  false);
  }
}

// Between two saves, also of their floor, passes a moment: a file that has just been written has a time of
// change that does not tell one write from the next, and every open would read it.
void pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(25));
}

// What an editor does after a save, when the monitor tells of it.
void hearOfTheSave(KsDestructiblesHelper& helper) {
  pause();
  helper.loadConfig(true);
}

void saveModel(benchmark::State& state) {
  Studio studio(countOf(state));
  KsDestructiblesHelper helper(studio.model(), bench::modelName(10), studio.disabler());
  Tal::KsDestructibleModuleDesc desc;
  for (auto _ : state) {
    state.PauseTiming();
    hearOfTheSave(helper);
    state.ResumeTiming();
    desc.health = desc.health % 1000 + 1;
    helper.updateDestructibleModule("n_wall_3", desc, false);
    if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
  }
}

// A save up to its closing reload, for a structure of one module and of as many as there can be.
void saveModelOnly(benchmark::State& state) {
  const auto moduleCount = static_cast<unsigned>(state.range(1));
  Studio studio(countOf(state), moduleCount);
  KsDestructiblesHelper helper(studio.model(), bench::modelName(10), studio.disabler());
  Tal::KsDestructibleModuleDesc desc;
  for (unsigned part = 0; part < moduleCount; ++part)
    helper.updateDestructibleModule("n_wall_" + std::to_string(part), desc, true);
  if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
  using Clock = std::chrono::steady_clock;
  Clock::time_point end;
  const auto previous = Tal::StackTracker::setRecorder([&end](const Tal::StackTracker::Event& event) {
    const bool isPush = event.kind == Tal::StackTracker::Event::Kind::push;
    if (isPush && std::string_view(event.entry.function) == "Tal::KsDestructiblesHelper::loadConfig")
      end = Clock::now();
  });
  for (auto _ : state) {
    hearOfTheSave(helper);
    desc.health = desc.health % 1000 + 1;
    helper.updateDestructibleModule("n_wall_0", desc, false);
    const Clock::time_point begin = Clock::now();
    if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
    state.SetIterationTime(std::chrono::duration<double>(end - begin).count());
  }
  Tal::StackTracker::setRecorder(previous);
}

// The floor of a save: the same bytes written to a file beside, flushed, and renamed over the old file.
void writeOnce(benchmark::State& state) {
  const Studio studio(countOf(state));
  const std::string target = studio.file();
  const std::string temporary = target + ".new";
  for (auto _ : state) {
    state.PauseTiming();
    pause();
    state.ResumeTiming();
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::size_t written = 0;
    while (written < studio.text().size()) {
      const ssize_t count = write(file, studio.text().data() + written, studio.text().size() - written);
      if (count <= 0) break;
      written += static_cast<std::size_t>(count);
    }
    const bool isWhole = written == studio.text().size() && fsync(file) == 0;
    close(file);
    if (!isWhole || rename(temporary.c_str(), target.c_str()) != 0)
      state.SkipWithError("the file was not written");
  }
}

void registerAll(const char* name, void (*measure)(benchmark::State&)) {
  auto* const benchmark =
      benchmark::RegisterBenchmark(name, measure)->Unit(benchmark::kMillisecond)->UseRealTime();
  for (const int count : kModelCounts) benchmark->Arg(count);
}

std::string nameOf(const char* measure, int count) {
  return std::string(measure) + "/" + std::to_string(count) + "/real_time";
}

std::string saveOnlyName(int count, int modules) {
  return "saveModelOnly/" + std::to_string(count) + "/" + std::to_string(modules) + "/manual_time";
}

std::vector<bench::Ratio> ratios() {
  std::vector<bench::Ratio> ratios;
  for (const int count : kModelCounts) {
    const std::string models = std::to_string(count) + " models: ";
    ratios.push_back(
        {models + "first loadConfig / parse", nameOf("firstLoad", count), nameOf("parse", count), 3.0});
    ratios.push_back({models + "loadConfig, file unchanged / parse", nameOf("reload", count),
                      nameOf("parse", count), 0.25});
    ratios.push_back(
        {models + "another model / parse", nameOf("selectModel", count), nameOf("parse", count), 0.25});
    for (const int modules : kModuleCounts) {
      ratios.push_back({models + "saveConfig of " + std::to_string(modules) +
                            " modules without its reload / writing the file",
                        saveOnlyName(count, modules), nameOf("writeOnce", count), 1.5});
    }
    ratios.push_back({models + "saveConfig / (1.5 writing the file + first loadConfig)",
                      nameOf("saveModel", count),
                      {{{1.5, nameOf("writeOnce", count)}, {1.0, nameOf("firstLoad", count)}}},
                      1.0});
  }
  // Linear growth: ten times the models, ten times the work and a margin for what no longer fits the caches.
  for (const char* const measure : {"firstLoad", "reload", "selectModel", "saveModel"}) {
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
  registerAll("selectModel", selectModel);
  registerAll("saveModel", saveModel);
  registerAll("writeOnce", writeOnce);
  for (const int count : kModelCounts) {
    for (const int modules : kModuleCounts) {
      benchmark::RegisterBenchmark("saveModelOnly", saveModelOnly)
          ->Unit(benchmark::kMillisecond)
          ->UseManualTime()
          ->Args({count, modules});
    }
  }
  return bench::run(argc, argv, ratios());
}
