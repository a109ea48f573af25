#pragma once

#include <core/ascii_case.h>
#include <core/string_ref.h>
#include <core/vector3.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

/// What the estimate of a model's hit points looks at, so that it can be explained by the rules that made it.
/// Pure; usable on any thread; nothing here is exported by the module's shared library.
namespace Tal::health_rules {

/// The estimate where none is possible.
inline constexpr int kUnknownHealth = -1;

/// A model with a bounding box of at least this volume, in cubic units, is big.
inline constexpr float kBigVolume = 3.0F;

/// What a big model has by its category: a fragile or falling atom, and a structure.
inline constexpr int kObjectHealth = 20;
inline constexpr int kStructureHealth = 50;
inline constexpr int kTwoPartStructureHealth = 35;

/// The folders that decide, as they stand in a normalised path.
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

}  // namespace Tal::health_rules
