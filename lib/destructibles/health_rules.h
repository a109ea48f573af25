#pragma once

#include <core/ascii_case.h>
#include <core/string_ref.h>
#include <core/vector3.h>
#include <destructibles/ks_destructibles_helper.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The estimate of a model's hit points and what decided it. Functions without shared state; usable on any
/// thread; nothing here is exported by the module's shared library.
namespace Tal::health_rules {

/// The estimate where none is possible.
inline constexpr int kUnknownHealth = -1;

/// A model with a bounding box of at least this volume, in cubic units, is big.
inline constexpr float kBigVolume = 3.0F;

/// What a small model of the environment and a gate of weak material have, and the others.
inline constexpr int kWeakHealth = 1;
inline constexpr int kSturdyHealth = 10;

/// What a big model has by its category: a fragile or falling atom, and a structure.
inline constexpr int kObjectHealth = 20;
inline constexpr int kStructureHealth = 50;
inline constexpr int kTwoPartStructureHealth = 35;

/// The folders that decide, as they occur in a normalised path.
inline constexpr BasicStringRef kGateFolder = "/gatesandfences/";
inline constexpr std::array<BasicStringRef, 3> kEnvironmentFolders = {"/environment/",
                                                                      "/militaryenvironment/", "/railway/"};

/// What the materials of a gate or fence are named after.
inline constexpr BasicStringRef kStone = "stone";
inline constexpr BasicStringRef kWood = "wood";
inline constexpr BasicStringRef kMetal = "metal";
inline constexpr std::array<BasicStringRef, 3> kMaterialWords = {kStone, kWood, kMetal};

/// A model's path with its ASCII letters in lower case and slashes instead of backslashes.
inline std::string normalisedPath(BasicStringRef path) {
  std::string result = lowerAscii(path);
  std::replace(result.begin(), result.end(), '\\', '/');
  return result;
}

constexpr bool isGateOrFence(BasicStringRef normalisedPath) noexcept {
  return normalisedPath.find(kGateFolder) != BasicStringRef::npos;
}

constexpr bool isOfEnvironment(BasicStringRef normalisedPath) noexcept {
  return std::any_of(kEnvironmentFolders.begin(), kEnvironmentFolders.end(),
                     [normalisedPath](BasicStringRef folder) {
                       return normalisedPath.find(folder) != BasicStringRef::npos;
                     });
}

/// Whether one of the material names holds the word, in this case.
inline bool isAnyNamedAfter(const std::vector<std::string>& materials, BasicStringRef word) noexcept {
  return std::any_of(materials.begin(), materials.end(),
                     [word](const std::string& name) { return name.find(word) != std::string::npos; });
}

/// The volume of a bounding box; sizes below zero count as they are.
constexpr float volumeOf(const Vector3& min, const Vector3& max) noexcept {
  const Vector3 size = max - min;
  return (size.y * size.x) * size.z;
}

/// A volume that is not a number counts as small.
constexpr bool isSmall(float volume) noexcept {
  return !(volume >= kBigVolume);
}

/// What a big structure with modules has, by the number of its undamaged materials that are collision
/// materials.
constexpr int structureHealth(std::ptrdiff_t parts) noexcept {
  return parts == 2 ? kTwoPartStructureHealth : kStructureHealth;
}

/// The rule that decided an estimate.
enum class Rule {
  gatesAndFences,  ///< the path is that of a gate or fence: what the undamaged materials are made of decides
  environment,     ///< the path is that of the environment: the size decides
  small,           ///< any other model of less than 3 cubic units
  category,        ///< a big model (or one of unknown size) that is no structure
  structure,       ///< a big structure: the number of its undamaged collision materials decides
};

/// The input of the rules. Each function is called at most once, in this order, and only when a rule needs
/// it.
struct Facts {
  std::string path;  ///< the normalised path of the model
  KsDestructibleType category;
  std::function<std::optional<float>()>
      volume;  ///< of the bounding box; empty when the visual cannot be read
  std::function<std::vector<std::string>()> undamaged;  ///< the materials that the undamaged look shows
  std::function<bool(const std::string&)> isCollision;  ///< called for each of those
  std::function<bool()> hasModules;                     ///< whether the structure has a table of modules
};

/// An estimate and what decided it. What the rule did not look at is absent.
struct Estimate {
  int health = kUnknownHealth;
  Rule rule = Rule::category;
  std::optional<std::vector<std::string>> materials = {};  ///< the undamaged ones
  std::ptrdiff_t collisionCount = 0;                       ///< the number of collision materials among them
};

inline Estimate estimateOfGate(const Facts& facts) {
  Estimate estimate{kUnknownHealth, Rule::gatesAndFences, facts.undamaged()};
  const auto has = [&estimate](BasicStringRef word) { return isAnyNamedAfter(*estimate.materials, word); };
  if (has(kStone)) {
    estimate.health = kSturdyHealth;
  } else if (has(kWood) || has(kMetal)) {
    estimate.health = kWeakHealth;
  }
  return estimate;
}

inline Estimate estimateByCategory(const Facts& facts) {
  if (facts.category == DT_FRAGILE || facts.category == DT_FALLING_ATOMS) return {kObjectHealth};
  if (facts.category != DT_STRUCTURE) return {};
  Estimate estimate{kStructureHealth, Rule::structure, facts.undamaged()};
  estimate.collisionCount = std::ranges::count_if(*estimate.materials, facts.isCollision);
  if (facts.hasModules()) estimate.health = structureHealth(estimate.collisionCount);
  return estimate;
}

/// The estimate for a model, which new entries get.
inline Estimate estimate(const Facts& facts) {
  if (isGateOrFence(facts.path)) return estimateOfGate(facts);
  const std::optional<float> volume = facts.volume();
  if (isOfEnvironment(facts.path)) {
    if (!volume) return {kUnknownHealth, Rule::environment};
    return {isSmall(*volume) ? kWeakHealth : kSturdyHealth, Rule::environment};
  }
  if (volume && isSmall(*volume)) return {kWeakHealth, Rule::small};
  return estimateByCategory(facts);
}

}  // namespace Tal::health_rules
