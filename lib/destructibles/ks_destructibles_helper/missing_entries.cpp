#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/logging.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <destructibles/new_entries.h>

namespace Tal {

void KsDestructiblesHelper::setMissingFallingAtom() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMissingFallingAtom", kSource, 1038);
  if (s_destrFallingAtomMap.contains(modelName_)) {
    isMissingInDestructiblesXml_ = false;
    return;
  }
  const KsDestructibleFallingAtomDesc desc = new_entries::fallingAtom(calculateDestructibleHealth());
  rememberLoadedEntries();
  s_destrFallingAtomMap.insert_or_assign(modelName_, desc);
  isMissingInDestructiblesXml_ = true;
}

void KsDestructiblesHelper::setMissingFragile() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMissingFragile", kSource, 1066);
  if (s_destrFragileMap.contains(modelName_)) {
    isMissingInDestructiblesXml_ = false;
    return;
  }
  const int health = calculateDestructibleHealth();
  const KsDestructibleFragileDesc desc = new_entries::fragile(health, hardpointNames_, intactMaterial());
  if (desc.matName.empty())
    logMessage(kRefusedPriority, "Model doesn't have an undamaged matkind material!\n");
  rememberLoadedEntries();
  s_destrFragileMap.insert_or_assign(modelName_, desc);
  isMissingInDestructiblesXml_ = true;
}

std::string KsDestructiblesHelper::intactMaterial() const {
  return new_entries::intactMaterial(bspMaterialNames_, materialNames_, [this](const std::string& name) {
    return isMaterialKindUndamaged(name);
  });
}

void KsDestructiblesHelper::setMissingModules() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMissingModules", kSource, 1118);
  rememberLoadedEntries();
  // An existing table leaves the flag as it is, unlike an existing fragile or falling atom.
  if (s_destrModuleMap.try_emplace(modelName_).second) isMissingInDestructiblesXml_ = true;
  const int health = estimateHealth(true);
  rememberLoadedEntries();
  // Only now, and made anew where it is gone: the estimate loads the database when another helper's end has
  // marked it as not loaded.
  const auto [model, isMadeAnew] = s_destrModuleMap.try_emplace(modelName_);
  if (isMadeAnew) isMissingInDestructiblesXml_ = true;
  ModuleTable& modules = model->second;
  for (const auto& [name, kind] : materialNames_) {
    if (!isMaterialKindUndamaged(name) || modules.contains(name)) continue;
    modules.emplace(name, new_entries::module(health));
  }
  new_entries::assignHardPoints(modules, hardpointNames_);
}

}  // namespace Tal
