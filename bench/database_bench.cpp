// The database: reading it against a parse of the same bytes, saving one model against writing the file once,
// and selecting another model.

#include "support/database.h"
#include "support/ratios.h"

#include <benchmark/benchmark.h>
#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper.h>
#include <fcntl.h>
#include <model/ks_material_disabler.h>
#include <model/super_model.h>
#include <resources/file_system.h>
#include <unistd.h>
#include <pugixml.hpp>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

using Tal::KsDestructiblesHelper;

constexpr int kSmall = 1000;
constexpr int kMedium = 10000;
constexpr int kLarge = 100000;
constexpr std::array<int, 3> kModelCounts = {kSmall, kMedium, kLarge};

// A resource root of its own with a database of so many models, and what one of its structures is bound to.
class Studio {
 public:
  explicit Studio(int modelCount)
      : root_(std::filesystem::temp_directory_path() / ("destructibles_bench_" + std::to_string(getpid()))),
        text_(bench::makeDatabase(modelCount)) {
    std::filesystem::create_directories(root_ / "scripts");
    std::filesystem::create_directories(root_ / "elsewhere");
    std::ofstream(file(), std::ios::binary) << text_;
    Tal::DebugMessageHelper::setSink([](const Tal::DebugMessage&) {});
    mount();
    auto bsp = Tal::makeSmart<Tal::BspData>();
    Tal::ModelMaterials::Slots slots;
    for (unsigned part = 0; part < 9; ++part) {
      const std::string name = "n_wall_" + std::to_string(part);
      bsp->materialNames_.push_back(name);
      slots.push_back(std::make_shared<Tal::MaterialInstance>(name, 73 + part));
    }
    model_ = std::make_unique<Tal::SuperModel>(Tal::makeSmart<Tal::Model>(bsp),
                                               Tal::Skeleton::SkeletonInstance(), Tal::ModelMaterials(slots));
    disabler_ = std::make_unique<Tal::KsMaterialDisabler>(model_.get());
  }

  /// Makes the process forget what it read: the tables are empty and the next load is the first.
  void forget(KsDestructiblesHelper& helper) const {
    Tal::FS::setFileSystem(
        std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{root_ / "elsewhere"}));
    helper.loadConfig(true);
    mount();
  }

  ~Studio() {
    Tal::FS::setFileSystem(nullptr);
    std::filesystem::remove_all(root_);
  }

  Studio(const Studio&) = delete;
  Studio& operator=(const Studio&) = delete;

  std::filesystem::path file() const { return root_ / "scripts" / "destructibles.xml"; }
  const std::string& text() const { return text_; }
  Tal::SuperModel* model() { return model_.get(); }
  Tal::KsMaterialDisabler* disabler() { return disabler_.get(); }

 private:
  void mount() const {
    Tal::FS::setFileSystem(
        std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{root_}));
  }

  std::filesystem::path root_;
  std::string text_;
  std::unique_ptr<Tal::SuperModel> model_;
  std::unique_ptr<Tal::KsMaterialDisabler> disabler_;
};

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

void saveModel(benchmark::State& state) {
  Studio studio(countOf(state));
  KsDestructiblesHelper helper(studio.model(), bench::modelName(10), studio.disabler());
  Tal::KsDestructibleModuleDesc desc;
  for (auto _ : state) {
    desc.health = desc.health % 1000 + 1;
    helper.updateDestructibleModule("n_wall_3", desc, false);
    if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
  }
}

// The floor of a save: the same bytes written to a file beside, flushed, and renamed over the old file.
void writeOnce(benchmark::State& state) {
  const Studio studio(countOf(state));
  const std::string target = studio.file();
  const std::string temporary = target + ".new";
  for (auto _ : state) {
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

std::vector<bench::Ratio> ratios() {
  std::vector<bench::Ratio> ratios;
  for (const int count : kModelCounts) {
    const std::string models = std::to_string(count) + " models: ";
    ratios.push_back(
        {models + "first loadConfig / parse", nameOf("firstLoad", count), nameOf("parse", count), 4.0});
    ratios.push_back(
        {models + "loadConfig, file unchanged / parse", nameOf("reload", count), nameOf("parse", count), {}});
    ratios.push_back(
        {models + "another model / parse", nameOf("selectModel", count), nameOf("parse", count), {}});
    ratios.push_back({models + "saveConfig / writing the file",
                      nameOf("saveModel", count),
                      nameOf("writeOnce", count),
                      {}});
  }
  // Linear growth: ten times the models, ten times the work and a margin for what no longer fits the caches.
  // Selecting a model reloads the tables and does little beside.
  for (const int count : kModelCounts) {
    ratios.push_back({std::to_string(count) + " models: another model / loadConfig, file unchanged",
                      nameOf("selectModel", count), nameOf("reload", count), 2.0});
  }
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
  return bench::run(argc, argv, ratios());
}
