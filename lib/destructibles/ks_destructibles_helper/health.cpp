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
  const health_rules::Estimate estimate = health_rules::estimate({
      .path = health_rules::normalisedPath(modelName_),
      .category = destructibleType_,
      .volume = [this] { return volumeOf(modelName_); },
      .undamaged = [this] { return getMaterialsForState(database_format::kUndamagedState); },
      .isCollision = [this](const std::string& name) { return bspMaterialNames_.contains(name); },
      // Asked last: naming the materials may have loaded the database, and so dropped the table that is
      // filled.
      .hasModules = [&] { return isFillingModules || s_destrModuleMap.contains(modelName_); },
  });
  if (estimate.rule == health_rules::Rule::gatesAndFences &&
      estimate.health == health_rules::kUnknownHealth) {
    logMessage(kWarningPriority,
               formatString("[Wrn.122] Model %s has no stone, wood and metal materials - cannot "
                            "calculate health of destructible.",
                            health_rules::normalisedPath(modelName_).c_str()));
  }
  return estimate.health;
}

}  // namespace Tal
