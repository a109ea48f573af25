#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/logging.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>

#include <utility>

namespace Tal {

KsDestructibleType KsDestructiblesHelper::destructibleType() const {
  return destructibleType_;
}

KsDestructibleType KsDestructiblesHelper::calculateType() const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::calculateType", kSource, 851);
  std::int32_t undamaged = 0;
  std::int32_t destroyed = 0;
  for (const auto& [name, kind] : materialNames_) {
    if (isMaterialKindUndamaged(name)) {
      ++undamaged;
    } else if (isMaterialKindDestroyed(name)) {
      ++destroyed;
    }
  }
  if (undamaged >= 2 || destroyed >= 2) return DT_STRUCTURE;
  return undamaged == 1 ? DT_FRAGILE : DT_NON_DESTRUCTIBLE;
}

// Mind the name: true means that no table holds the model.
bool KsDestructiblesHelper::checkForExistence() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::checkForExistence", kSource, 886);
  return !s_destrStateMap.contains(modelName_) && !s_destrModuleMap.contains(modelName_) &&
         !s_destrFragileMap.contains(modelName_) && !s_destrFallingAtomMap.contains(modelName_);
}

std::string KsDestructiblesHelper::getCategoryName() {
  return std::string(database_format::sectionOfCategory(destructibleType_));
}

void KsDestructiblesHelper::setAsStructure() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setAsStructure", kSource, 912);
  setAs(DT_STRUCTURE, &KsDestructiblesHelper::setMissingModules,
        "Model is already destructible as structure.\n", "Model is set as structure.");
}

void KsDestructiblesHelper::setAsFragile() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setAsFragile", kSource, 930);
  setAs(DT_FRAGILE, &KsDestructiblesHelper::setMissingFragile, "Model is already destructible as fragile.\n",
        "Model is set as fragile.");
}

void KsDestructiblesHelper::setAsFallingAtoms() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setAsFallingAtoms", kSource, 948);
  setAs(DT_FALLING_ATOMS, &KsDestructiblesHelper::setMissingFallingAtom,
        "Model is already destructible as falling atom.\n", "Model is set as falling atom.");
}

void KsDestructiblesHelper::setAs(KsDestructibleType type, void (KsDestructiblesHelper::*fill)(),
                                  const char* refusal, const char* success) {
  if (destructibleType_ == type) {
    logMessage(kRefusedPriority, refusal);
    return;
  }
  destructibleType_ = type;
  (this->*fill)();
  logMessage(kCompletedPriority, success);
  destructibleTypeChanged_();
}

void KsDestructiblesHelper::setAsNonDestructible(bool force) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setAsNonDestructible", kSource, 966);
  if (!force && destructibleType_ == DT_NON_DESTRUCTIBLE) return;
  destructibleType_ = DT_NON_DESTRUCTIBLE;
  rememberLoadedEntries();
  const auto eraseFrom = [this](auto& table) {
    if (table.erase(modelName_) != 0) isMissingInDestructiblesXml_ = true;
  };
  eraseFrom(s_destrStateMap);
  eraseFrom(s_destrModuleMap);
  eraseFrom(s_destrFragileMap);
  eraseFrom(s_destrFallingAtomMap);
  destructibleTypeChanged_();
}

ks::Connection KsDestructiblesHelper::connectDestructibleTypeChanged(std::function<void()> callback) const {
  return destructibleTypeChanged_.connect(std::move(callback));
}

}  // namespace Tal
