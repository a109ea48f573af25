#include <core/assertion.h>
#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/loaded_tables.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <destructibles/load_rules.h>
#include <model/ks_material_disabler.h>
#include <model/material_kinds.h>
#include <model/model_names.h>
#include <model/super_model.h>
#include <render/render_system.h>
#include <resources/file_system.h>
#include <resources/monitor.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace Tal {
namespace {

std::vector<BasicStringRef> tokensOf(BasicStringRef name) {
  constexpr char kSeparator = '_';
  std::vector<BasicStringRef> tokens;
  for (auto begin = name.find_first_not_of(kSeparator); begin != BasicStringRef::npos;) {
    const auto end = std::min(name.find(kSeparator, begin), name.size());
    tokens.push_back(name.substr(begin, end - begin));
    begin = name.find_first_not_of(kSeparator, end);
  }
  return tokens;
}

// The number that a token begins with; nothing when it begins with none that 32 bits hold.
std::optional<unsigned> leadingNumber(BasicStringRef token) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), number);
  if (error != std::errc()) return std::nullopt;
  return number;
}

struct DeclaredDependencies {
  std::map<unsigned, unsigned> kindById;
  std::map<unsigned, std::vector<unsigned>> depsById;

  // A name declares "ANY_ANY_ID_DEP_DEP...": its own number and those of the parts it depends on.
  void declare(BasicStringRef name, unsigned kind) {
    constexpr std::size_t kIdToken = 2;
    const std::vector<BasicStringRef> tokens = tokensOf(name);
    if (tokens.size() <= kIdToken) return;
    const std::optional<unsigned> id = leadingNumber(tokens[kIdToken]);
    if (!id) return;
    kindById[*id] = kind;
    for (std::size_t i = kIdToken + 1; i < tokens.size(); ++i) {
      const std::optional<unsigned> dependency = leadingNumber(tokens[i]);
      if (!dependency) return;
      if (declared_.emplace(*id, *dependency).second) depsById[*id].push_back(*dependency);
    }
  }

 private:
  std::set<std::pair<unsigned, unsigned>> declared_;
};

}  // namespace

KsDestructiblesHelper::KsDestructiblesHelper(SuperModel* superModel, const std::string& modelName,
                                             KsMaterialDisabler* materialDisabler)
    : materialDisabler_(materialDisabler),
      modelName_(modelName),
      destructibleState_(database_format::kUndamagedState) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::KsDestructiblesHelper", kSource, 166);
  if (materialDisabler_ == nullptr) reportAssertion("materialDisabler_", kSource, 167);
  if (superModel == nullptr) return;
  collectBspMaterialNames(*superModel);
  resetMatKindsByName(superModel);
  collectHardpointNames(*superModel);
  loadConfig(false);
  classify();
  makeMissingEntries();
  collectMaterialDependencies();
  setDestructibleState(destructibleState_);
  if (FS::MultiFileSystem* files = FS::fileSystem(); files != nullptr) {
    files->getFilesystemMonitor()->addModificationListener(this);
  }
}

KsDestructiblesHelper::~KsDestructiblesHelper() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::~KsDestructiblesHelper", kSource, 327);
  s_hasLoadedDestrXml = false;
  if (isMissingInDestructiblesXml_) eraseEntriesOf(destructibleType_);
  if (const auto failed = s_lastLoad.stillMissing.extract(this)) eraseEntriesOf(failed.mapped());
  if (FS::MultiFileSystem* files = FS::fileSystem(); files != nullptr) {
    files->getFilesystemMonitor()->removeModificationListener(this);
  }
}

void KsDestructiblesHelper::eraseEntriesOf(KsDestructibleType type) const {
  rememberLoadedEntries();
  switch (type) {
    case DT_STRUCTURE:
      s_destrModuleMap.erase(modelName_);
      s_destrStateMap.erase(modelName_);
      return;
    case DT_FRAGILE:
      s_destrFragileMap.erase(modelName_);
      return;
    case DT_FALLING_ATOMS:
      s_destrFallingAtomMap.erase(modelName_);
      return;
    case DT_NON_DESTRUCTIBLE:
      return;
  }
}

void KsDestructiblesHelper::collectBspMaterialNames(const SuperModel& superModel) {
  bspMaterialNames_.clear();
  if (!superModel.ready_) return;
  const SmartPointer<Model> topModel = superModel.topModel();
  if (!topModel) return;
  const SmartPointer<BspData> bsp = topModel->bspData();
  if (!bsp) return;
  bspMaterialNames_.insert(bsp->materialNames_.begin(), bsp->materialNames_.end());
}

void KsDestructiblesHelper::collectHardpointNames(SuperModel& superModel) {
  Skeleton::SkeletonInstance* const skeleton = superModel.skeleton();
  for (unsigned index = 0; index < skeleton->size(); ++index) {
    const std::string& name = skeleton->nodeName(index).getString();
    if (name.starts_with(model_names::kHardPointPrefix)) hardpointNames_.push_back(name);
  }
}

void KsDestructiblesHelper::classify() {
  destructibleType_ = load_rules::categoryOf(modelName_, s_destrModuleMap.contains(modelName_),
                                             s_destrFragileMap.contains(modelName_),
                                             s_destrFallingAtomMap.contains(modelName_));
}

void KsDestructiblesHelper::makeMissingEntries() {
  switch (destructibleType_) {
    case DT_STRUCTURE:
      return setMissingModules();
    case DT_FRAGILE:
      return setMissingFragile();
    case DT_FALLING_ATOMS:
      return setMissingFallingAtom();
    case DT_NON_DESTRUCTIBLE:
      return;
  }
}

void KsDestructiblesHelper::collectMaterialDependencies() {
  DeclaredDependencies declared;
  for (const auto& [name, kind] : materialNames_) {
    if (material_kinds::isUndamaged(kind)) declared.declare(name, kind);
  }
  materialDependencies_.clear();
  for (const auto& [id, dependencies] : declared.depsById) {
    std::vector<unsigned> kinds;
    // A number that no name declares as its own stands for kind 0.
    for (const unsigned dependency : dependencies) kinds.push_back(declared.kindById[dependency]);
    materialDependencies_[declared.kindById[id]] = std::move(kinds);
  }
}

void KsDestructiblesHelper::reinit(std::unique_ptr<KsDestructiblesHelper>& helper, SuperModel* superModel,
                                   const std::string& modelName, KsMaterialDisabler* materialDisabler,
                                   bool keepVisibility) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::reinit", kSource, 108);
  // The name may be that of the helper that goes.
  const std::string name = modelName;  // NOLINT(performance-unnecessary-copy-initialization)
  std::map<unsigned int, bool> visibles;
  if (helper) {
    if (keepVisibility && helper->materialDisabler_ != nullptr) {
      helper->materialDisabler_->getMaterialKindVisibles(visibles);
    }
    // The new model on purpose: a helper keeps no model, and mostly it is the same one.
    helper->detachSuperModel(superModel);
    helper.reset();
  }
  helper = std::make_unique<KsDestructiblesHelper>(superModel, name, materialDisabler);
  if (!keepVisibility || helper->materialDisabler_ == nullptr) return;
  for (const auto& [kind, isVisible] : visibles)
    helper->materialDisabler_->setMaterialKindVisible(kind, isVisible);
}

bool KsDestructiblesHelper::detachSuperModel(SuperModel* superModel) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::detachSuperModel", kSource, 145);
  if (materialDisabler_ == nullptr || !materialDisabler_->detachSuperModel(superModel)) return false;
  hardpointNames_.clear();
  return true;
}

void KsDestructiblesHelper::resetDescriptions() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::resetDescriptions", kSource, 128);
  const KsDestructibleType type = destructibleType_;
  setAsNonDestructible(true);
  switch (type) {
    case DT_STRUCTURE:
      return setAsStructure();
    case DT_FRAGILE:
      return setAsFragile();
    case DT_FALLING_ATOMS:
      return setAsFallingAtoms();
    case DT_NON_DESTRUCTIBLE:
      return;
  }
}

void KsDestructiblesHelper::createMaterialBindings() {
  materialDisabler_->createMaterialBindings();
}

KsMaterialDisabler* KsDestructiblesHelper::materialDisabler() const {
  return materialDisabler_;
}

const std::string& KsDestructiblesHelper::modelName() const {
  return modelName_;
}

const std::vector<std::string>& KsDestructiblesHelper::getHardpointNames() {
  return hardpointNames_;
}

const std::set<std::string>& KsDestructiblesHelper::bspMaterialNames() const {
  return bspMaterialNames_;
}

bool KsDestructiblesHelper::isMissingInDestructiblesXml() {
  return isMissingInDestructiblesXml_;
}

}  // namespace Tal
