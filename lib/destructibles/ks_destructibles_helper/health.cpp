#include <core/ascii_case.h>
#include <core/format.h>
#include <core/stack_tracker.h>
#include <core/vector3.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/fixed_names.h>
#include <destructibles/ks_destructibles_helper/logging.h>
#include <model/utilities.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <algorithm>
#include <array>
#include <optional>

namespace Tal {
namespace {

constexpr BasicStringRef kGateFolder = "/gatesandfences/";
constexpr std::array<BasicStringRef, 3> kEnvironmentFolders = {"/environment/", "/militaryenvironment/",
                                                               "/railway/"};

constexpr float kBigVolume = 3.0F;

constexpr int kUnknownHealth = -1;
constexpr int kWeakHealth = 1;
constexpr int kSturdyHealth = 10;
constexpr int kObjectHealth = 20;
constexpr int kTwoPartStructureHealth = 35;
constexpr int kStructureHealth = 50;
constexpr int kTwoParts = 2;

// Lower case, ASCII only, with slashes; for looking at folders and for the message.
std::string normalised(BasicStringRef path) {
  std::string result = lowerAscii(path);
  std::replace(result.begin(), result.end(), '\\', '/');
  return result;
}

bool contains(BasicStringRef text, BasicStringRef part) {
  return text.find(part) != BasicStringRef::npos;
}

// The volume of the bounding box; nothing when the visual cannot be opened.
std::optional<float> volumeOf(const std::string& modelName) {
  const auto visual = FS::Utils::openSection(Utilities::getVisualPath(modelName), false, nullptr);
  if (!visual) return std::nullopt;
  const Vector3 min = visual->readVector3("boundingBox/min", Vector3::zero());
  const Vector3 max = visual->readVector3("boundingBox/max", Vector3::zero());
  const Vector3 size = max - min;
  return (size.y * size.x) * size.z;
}

}  // namespace

int KsDestructiblesHelper::calculateDestructibleHealth() {
  return estimateHealth(false);
}

int KsDestructiblesHelper::estimateHealth(bool isFillingModules) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::calculateDestructibleHealth", fixed_names::kSource,
                             1204);
  const std::string path = normalised(modelName_);
  if (contains(path, kGateFolder)) return gateHealth(path);
  const bool isEnvironment = std::any_of(kEnvironmentFolders.begin(), kEnvironmentFolders.end(),
                                         [&path](BasicStringRef folder) { return contains(path, folder); });
  const std::optional<float> volume = volumeOf(modelName_);
  if (isEnvironment) {
    if (!volume) return kUnknownHealth;
    return *volume >= kBigVolume ? kSturdyHealth : kWeakHealth;
  }
  // Written so that a volume that is not a number counts as small.
  if (volume && !(*volume >= kBigVolume)) return kWeakHealth;
  return healthByCategory(isFillingModules);
}

int KsDestructiblesHelper::gateHealth(const std::string& normalisedPath) {
  bool hasStone = false;
  bool hasWood = false;
  bool hasMetal = false;
  for (const std::string& name : getMaterialsForState(fixed_names::kUndamagedState)) {
    hasStone = hasStone || contains(name, "stone");
    hasWood = hasWood || contains(name, "wood");
    hasMetal = hasMetal || contains(name, "metal");
  }
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
  if (destructibleType_ == DT_FRAGILE || destructibleType_ == DT_FALLING_ATOMS) return kObjectHealth;
  if (destructibleType_ != DT_STRUCTURE) return kUnknownHealth;
  const std::vector<std::string> undamaged = getMaterialsForState(fixed_names::kUndamagedState);
  const auto parts = std::count_if(undamaged.begin(), undamaged.end(), [this](const std::string& name) {
    return bspMaterialNames_.contains(name);
  });
  // Naming the materials may have loaded the database, and so dropped the table that is being filled.
  const bool hasModules = isFillingModules || s_destrModuleMap.contains(modelName_);
  return hasModules && parts == kTwoParts ? kTwoPartStructureHealth : kStructureHealth;
}

}  // namespace Tal
