#include <core/format.h>
#include <core/stack_tracker.h>
#include <core/vector3.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/logging.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <model/utilities.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <algorithm>
#include <optional>

namespace Tal {
namespace {

using health_rules::kUnknownHealth;

constexpr int kWeakHealth = 1;
constexpr int kSturdyHealth = 10;

// The volume of the bounding box; nothing when the visual cannot be opened.
std::optional<float> volumeOf(const std::string& modelName) {
  const std::string path = Utilities::getVisualPath(modelName);
  if (!FS::MultiFileSystem::checkName(path)) return std::nullopt;  // asked for, it would be reported
  const auto visual = FS::Utils::openSection(path, false, nullptr);
  if (!visual) return std::nullopt;
  const Vector3 min = visual->readVector3("boundingBox/min", Vector3::zero());
  const Vector3 max = visual->readVector3("boundingBox/max", Vector3::zero());
  return health_rules::volumeOf(min, max);
}

}  // namespace

int KsDestructiblesHelper::calculateDestructibleHealth() {
  return estimateHealth(false);
}

int KsDestructiblesHelper::estimateHealth(bool isFillingModules) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::calculateDestructibleHealth", kSource, 1204);
  const std::string path = health_rules::normalisedPath(modelName_);
  if (health_rules::isGateOrFence(path)) return gateHealth(path);
  const std::optional<float> volume = volumeOf(modelName_);
  if (health_rules::isOfEnvironment(path)) {
    if (!volume) return kUnknownHealth;
    return health_rules::isSmall(*volume) ? kWeakHealth : kSturdyHealth;
  }
  if (volume && health_rules::isSmall(*volume)) return kWeakHealth;
  return healthByCategory(isFillingModules);
}

int KsDestructiblesHelper::gateHealth(const std::string& normalisedPath) {
  const std::vector<std::string> materials = getMaterialsForState(database_format::kUndamagedState);
  const bool hasStone = health_rules::isAnyNamedAfter(materials, health_rules::kStone);
  const bool hasWood = health_rules::isAnyNamedAfter(materials, health_rules::kWood);
  const bool hasMetal = health_rules::isAnyNamedAfter(materials, health_rules::kMetal);
  if (!hasStone && !hasWood && !hasMetal) {
    logMessage(kWarningPriority,
               formatString("[Wrn.122] Model %s has no stone, wood and metal materials - cannot "
                            "calculate health of destructible.",
                            normalisedPath.c_str()));
    return kUnknownHealth;
  }
  return hasStone ? kSturdyHealth : kWeakHealth;
}

int KsDestructiblesHelper::healthByCategory(bool isFillingModules) {
  if (destructibleType_ == DT_FRAGILE || destructibleType_ == DT_FALLING_ATOMS)
    return health_rules::kObjectHealth;
  if (destructibleType_ != DT_STRUCTURE) return kUnknownHealth;
  const std::vector<std::string> undamaged = getMaterialsForState(database_format::kUndamagedState);
  const auto parts = std::count_if(undamaged.begin(), undamaged.end(), [this](const std::string& name) {
    return bspMaterialNames_.contains(name);
  });
  // Naming the materials may have loaded the database, and so dropped the table that is being filled.
  const bool hasModules = isFillingModules || s_destrModuleMap.contains(modelName_);
  return hasModules ? health_rules::structureHealth(parts) : health_rules::kStructureHealth;
}

}  // namespace Tal
