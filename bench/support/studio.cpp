#include "studio.h"

#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper.h>
#include <resources/file_system.h>
#include <unistd.h>

#include <fstream>
#include <utility>
#include <vector>

namespace bench {
namespace {

constexpr unsigned kFirstUndamagedKind = 73;

void mountOnly(const std::filesystem::path& root) {
  Tal::FS::setFileSystem(
      std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{root}));
}

Tal::SuperModel modelOf(unsigned moduleCount) {
  auto bsp = Tal::makeSmart<Tal::BspData>();
  Tal::ModelMaterials::Slots slots;
  for (unsigned part = 0; part < moduleCount; ++part) {
    const std::string name = "n_wall_" + std::to_string(part);
    bsp->materialNames_.push_back(name);
    slots.push_back(std::make_shared<Tal::MaterialInstance>(name, kFirstUndamagedKind + part));
  }
  return {Tal::makeSmart<Tal::Model>(bsp), Tal::Skeleton::SkeletonInstance(), Tal::ModelMaterials(slots)};
}

}  // namespace

Studio::Studio(std::string databaseText)
    : root_(std::filesystem::temp_directory_path() / ("destructibles_bench_" + std::to_string(getpid()))),
      text_(std::move(databaseText)) {
  std::filesystem::create_directories(root_ / "scripts");
  std::filesystem::create_directories(root_ / "elsewhere");
  std::ofstream(file(), std::ios::binary) << text_;
  Tal::DebugMessageHelper::setSink([](const Tal::DebugMessage&) {});
  mount();
}

Studio::~Studio() {
  Tal::FS::setFileSystem(nullptr);
  std::filesystem::remove_all(root_);
}

void Studio::mount() const {
  mountOnly(root_);
}

void Studio::forget(Tal::KsDestructiblesHelper& helper) const {
  mountOnly(root_ / "elsewhere");
  helper.loadConfig(true);
  mount();
}

StructureModel::StructureModel(unsigned moduleCount) : model_(modelOf(moduleCount)), disabler_(&model_) {}

}  // namespace bench
