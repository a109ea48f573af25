#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <destructibles/look_rules.h>
#include <model/ks_material_disabler.h>
#include <model/material_kinds.h>

#include <algorithm>

namespace Tal {
namespace {

using database_format::kDestroyedState;
using database_format::kUndamagedState;
using material_kinds::kToDestroyed;

}  // namespace

bool KsDestructiblesHelper::addDestructibleState(const std::string& state) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::addDestructibleState", kSource, 2070);
  rememberLoadedEntries();
  return s_destrStateMap[modelName_].states.try_emplace(state).second;
}

bool KsDestructiblesHelper::delDestructibleState(const std::string& state) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::delDestructibleState", kSource, 2094);
  const auto record = s_destrStateMap.find(modelName_);
  if (record == s_destrStateMap.end()) return false;
  rememberLoadedEntries();
  return record->second.states.erase(state) != 0;
}

bool KsDestructiblesHelper::addMaterialToDestrState(const std::string& state, const std::string& material) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::addMaterialToDestrState", kSource, 2117);
  std::vector<std::string>* const materials = materialsOfNamedState(state);
  if (materials == nullptr || std::find(materials->begin(), materials->end(), material) != materials->end()) {
    return false;
  }
  rememberLoadedEntries();
  materials->push_back(material);
  return true;
}

bool KsDestructiblesHelper::delMaterialFromDestrState(const std::string& state, const std::string& material) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::delMaterialFromDestrState", kSource, 2149);
  std::vector<std::string>* const materials = materialsOfNamedState(state);
  if (materials == nullptr) return false;
  const auto found = std::find(materials->begin(), materials->end(), material);
  if (found == materials->end()) return false;
  rememberLoadedEntries();
  materials->erase(found);
  return true;
}

// Null when the model has no such state.
std::vector<std::string>* KsDestructiblesHelper::materialsOfNamedState(const std::string& state) {
  const auto record = s_destrStateMap.find(modelName_);
  if (record == s_destrStateMap.end()) return nullptr;
  const auto found = record->second.states.find(state);
  return found != record->second.states.end() ? &found->second : nullptr;
}

std::vector<std::string> KsDestructiblesHelper::getStateNames() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getStateNames", kSource, 2181);
  loadConfig(false);
  std::vector<std::string> names = {kUndamagedState};
  if (const auto record = s_destrStateMap.find(modelName_); record != s_destrStateMap.end()) {
    for (const auto& [name, materials] : record->second.states) names.push_back(name);
  }
  names.emplace_back(kDestroyedState);
  return names;
}

std::vector<std::string> KsDestructiblesHelper::getMaterialsForState(const std::string& state) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getMaterialsForState", kSource, 2209);
  loadConfig(false);
  const bool wantsUndamaged = state == kUndamagedState;
  if (!wantsUndamaged && state != kDestroyedState) {
    const std::vector<std::string>* const materials = materialsOfNamedState(state);
    return materials != nullptr ? *materials : std::vector<std::string>();
  }
  return look_rules::materialsOf(materialNames_,
                                 wantsUndamaged ? look_rules::Look::undamaged : look_rules::Look::destroyed,
                                 destructibleType_);
}

std::vector<unsigned int> KsDestructiblesHelper::getMatKindsForState(const std::string& state) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getMatKindsForState", kSource, 2258);
  std::vector<unsigned int> kinds;
  for (const std::string& name : getMaterialsForState(state)) {
    const unsigned kind = getMaterialKind(name);
    if (kind != material_kinds::kUnknown) kinds.push_back(kind);
  }
  const std::size_t ownCount = kinds.size();
  for (std::size_t i = 0; i < ownCount; ++i) {
    const std::vector<unsigned>& dependencies = getMaterialDependencies(kinds[i]);
    kinds.insert(kinds.end(), dependencies.begin(), dependencies.end());
  }
  return kinds;
}

bool KsDestructiblesHelper::setDestructibleState(const std::string& state) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setDestructibleState", kSource, 2291);
  // The current state's own name may be given, and the disabler may come back to show another one.
  const std::string wanted = state;  // NOLINT(performance-unnecessary-copy-initialization)
  loadConfig(false);
  destructibleState_ = wanted;
  if (materialDisabler_ != nullptr) materialDisabler_->setIsDestroyed(false);
  if (wanted == kUndamagedState) return true;
  std::vector<unsigned> hide;
  std::vector<unsigned> show;
  if (wanted == kDestroyedState) {
    for (const auto& [name, kind] : materialNames_) {
      if (material_kinds::isUndamaged(kind)) {
        hide.push_back(kind);
        show.push_back(kind + kToDestroyed);
      } else if (material_kinds::isDestroyed(kind)) {
        show.push_back(kind);
        hide.push_back(kind - kToDestroyed);
      }
    }
  } else {
    const std::vector<std::string>* const materials = materialsOfNamedState(wanted);
    if (materials == nullptr) return false;
    for (const std::string& name : *materials) {
      const auto material = materialNames_.find(name);
      if (material == materialNames_.end()) continue;
      // Whatever the kind: a named state takes its materials as they are.
      hide.push_back(material->second);
      show.push_back(material->second + kToDestroyed);
    }
  }
  applyKinds(hide, show);
  return true;
}

void KsDestructiblesHelper::applyKinds(const std::vector<unsigned int>& hide,
                                       const std::vector<unsigned int>& show) {
  if (materialDisabler_ == nullptr) return;
  for (const unsigned kind : hide) materialDisabler_->setMaterialKindVisible(kind, false);
  for (const unsigned kind : show) materialDisabler_->setMaterialKindVisible(kind, true);
  for (const unsigned kind : hide) {
    for (const unsigned dependency : getMaterialDependencies(kind)) {
      materialDisabler_->setMaterialKindVisible(dependency, false);
      materialDisabler_->setMaterialKindVisible(dependency + kToDestroyed, false);
    }
  }
}

void KsDestructiblesHelper::setMaterialDestroyed(unsigned int kind, bool destroyed) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMaterialDestroyed", kSource, 2364);
  loadConfig(false);
  // Without a disabler one of no model answers, and shows nothing.
  KsMaterialDisabler unbound;
  KsMaterialDisabler& disabler = materialDisabler_ != nullptr ? *materialDisabler_ : unbound;
  const bool isVisible = disabler.getMaterialKindVisible(kind);
  if (!material_kinds::isUndamaged(kind) || isVisible != destroyed) return;
  // Also when the part is restored: after a change by hand the model is in no other state.
  destructibleState_ = kDestroyedState;
  disabler.setMaterialKindVisible(kind, !destroyed);
  disabler.setMaterialKindVisible(kind + kToDestroyed, destroyed);
  for (const unsigned dependency : getMaterialDependencies(kind)) {
    // Both looks alike, on purpose: what depends on a broken part is gone, and all of it returns with the
    // part.
    disabler.setMaterialKindVisible(dependency, !destroyed);
    disabler.setMaterialKindVisible(dependency + kToDestroyed, !destroyed);
  }
}

const std::string& KsDestructiblesHelper::getDestructibleState() const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getDestructibleState", kSource, 2411);
  return destructibleState_;
}

}  // namespace Tal
