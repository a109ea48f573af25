#include <core/stack_tracker.h>
#include <destructibles/edit_rules.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>

#include <utility>

namespace Tal {
namespace {

using edit_rules::isSameScale;

bool isEqual(const KsDestructibleModuleDesc& a, const KsDestructibleModuleDesc& b) {
  return a.health == b.health && a.effectHP == b.effectHP && isSameScale(a.effectScale, b.effectScale) &&
         a.ramEffect == b.ramEffect && a.hitEffect == b.hitEffect && a.decayEffect == b.decayEffect;
}

bool isEqual(const KsDestructibleFragileDesc& a, const KsDestructibleFragileDesc& b) {
  return a.health == b.health && a.effectHP == b.effectHP && isSameScale(a.effectScale, b.effectScale) &&
         a.effect == b.effect && a.hitEffect == b.hitEffect && a.decayEffect == b.decayEffect &&
         a.matName == b.matName && a.lifetimeEffect == b.lifetimeEffect &&
         a.achievementTag == b.achievementTag;
}

bool isEqual(const KsDestructibleFallingAtomDesc& a, const KsDestructibleFallingAtomDesc& b) {
  return a.health == b.health && a.physicParams == b.physicParams && a.lifetimeEffect == b.lifetimeEffect &&
         a.fractureEffect == b.fractureEffect && a.touchdownEffect == b.touchdownEffect &&
         a.touchdownBreakEffect == b.touchdownBreakEffect && isSameScale(a.effectScale, b.effectScale) &&
         a.achievementTag == b.achievementTag;
}

template <class Desc>
bool isDifferent(const Desc& stored, const Desc& desc) {
  return &stored != &desc && !isEqual(stored, desc);
}

template <class Desc>
bool readFrom(const std::map<std::string, Desc>& table, const std::string& key, Desc& desc) {
  const auto stored = table.find(key);
  if (stored == table.end()) return false;
  desc = stored->second;
  return true;
}

// Wholly or, without memory, not at all.
template <class Desc>
void replace(Desc& stored, Desc desc) {
  stored = std::move(desc);
}

template <class Desc>
bool updateIn(std::map<std::string, Desc>& table, const std::string& key, const Desc& desc) {
  const auto stored = table.find(key);
  if (stored == table.end() || !isDifferent(stored->second, desc)) return false;
  replace(stored->second, desc);
  return true;
}

}  // namespace

bool KsDestructiblesHelper::getDestructibleModule(const std::string& moduleName,
                                                  KsDestructibleModuleDesc& desc) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getDestructibleModule", kSource, 1306);
  const auto modules = s_destrModuleMap.find(modelName_);
  return modules != s_destrModuleMap.end() && readFrom(modules->second, moduleName, desc);
}

bool KsDestructiblesHelper::updateDestructibleModule(const std::string& moduleName,
                                                     const KsDestructibleModuleDesc& desc,
                                                     bool keepExisting) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::updateDestructibleModule", kSource, 1327);
  rememberLoadedEntries();
  const auto [stored, isNew] = s_destrModuleMap[modelName_].try_emplace(moduleName, desc);
  if (isNew) return true;
  if (!isDifferent(stored->second, desc)) return false;
  // True although nothing is written then: the result says that the records differ.
  if (!keepExisting) replace(stored->second, desc);
  return true;
}

bool KsDestructiblesHelper::getFragileParameters(KsDestructibleFragileDesc& desc) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getFragileParameters", kSource, 1362);
  return destructibleType_ == DT_FRAGILE && readFrom(s_destrFragileMap, modelName_, desc);
}

bool KsDestructiblesHelper::updateFragileParameters(const KsDestructibleFragileDesc& desc) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::updateFragileParameters", kSource, 1382);
  if (destructibleType_ != DT_FRAGILE) return false;
  rememberLoadedEntries();
  return updateIn(s_destrFragileMap, modelName_, desc);
}

bool KsDestructiblesHelper::getFallingAtomParameters(KsDestructibleFallingAtomDesc& desc) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getFallingAtomParameters", kSource, 1408);
  return destructibleType_ == DT_FALLING_ATOMS && readFrom(s_destrFallingAtomMap, modelName_, desc);
}

bool KsDestructiblesHelper::updateFallingAtomParameters(const KsDestructibleFallingAtomDesc& desc) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::updateFallingAtomParameters", kSource, 1428);
  if (destructibleType_ != DT_FALLING_ATOMS) return false;
  rememberLoadedEntries();
  return updateIn(s_destrFallingAtomMap, modelName_, desc);
}

bool KsDestructiblesHelper::getStructureAchievementTag(std::string& tag) {
  if (destructibleType_ != DT_STRUCTURE) return false;
  tag = structureAchievementTag_;
  return true;
}

bool KsDestructiblesHelper::updateStructureAchievementTag(const std::string& tag) {
  if (destructibleType_ != DT_STRUCTURE || tag == structureAchievementTag_) return false;
  structureAchievementTag_ = tag;
  return true;
}

}  // namespace Tal
