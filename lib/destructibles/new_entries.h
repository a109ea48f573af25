#pragma once

#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

/// The content of entries that are made for a model that lacks them, so that an author's values can be told
/// from them. Functions without shared state; usable on any thread; nothing here is exported by the module's
/// shared library.
namespace Tal::new_entries {

inline constexpr char DEFAULT_FRACTURE_EFFECT[] = "inf_streetlamp_fracture";
inline constexpr char DEFAULT_TOUCHDOWN_EFFECT[] = "inf_streetlamp_touchdown";
inline constexpr char DEFAULT_FRAGILE_EFFECT[] = "hd_bld_SU_206_Cellar";
inline constexpr char DEFAULT_MODULE_EFFECT[] = "inf_bld_UNI_000_Base_02";

inline KsDestructibleFallingAtomDesc fallingAtom(int health) {
  KsDestructibleFallingAtomDesc desc;
  desc.fractureEffect = DEFAULT_FRACTURE_EFFECT;
  desc.touchdownEffect = DEFAULT_TOUCHDOWN_EFFECT;
  desc.health = health;
  return desc;
}

inline KsDestructibleFragileDesc fragile(int health, const std::vector<std::string>& hardPoints,
                                         const std::string& intactMaterial) {
  KsDestructibleFragileDesc desc;
  desc.effect = DEFAULT_FRAGILE_EFFECT;
  desc.hitEffect = DEFAULT_FRAGILE_EFFECT;
  desc.health = health;
  if (!hardPoints.empty()) desc.effectHP = hardPoints.front();
  desc.matName = intactMaterial;
  return desc;
}

/// The hard points of modules are assigned afterwards.
inline KsDestructibleModuleDesc module(int health) {
  KsDestructibleModuleDesc desc;
  desc.health = health;
  desc.ramEffect = DEFAULT_MODULE_EFFECT;
  desc.hitEffect = DEFAULT_MODULE_EFFECT;
  return desc;
}

/// The material that shows a fragile intact: the first undamaged one of the collision materials, even if
/// another undamaged name sorts earlier, else of all; empty when there is none.
template <class IsUndamaged>
std::string intactMaterial(const std::set<std::string>& collisionMaterials,
                           const std::map<std::string, unsigned int>& materials, IsUndamaged isUndamaged) {
  const auto collision = std::ranges::find_if(collisionMaterials, isUndamaged);
  if (collision != collisionMaterials.end()) return *collision;
  const auto any = std::ranges::find_if(
      materials, [&isUndamaged](const auto& material) { return isUndamaged(material.first); });
  return any != materials.end() ? any->first : std::string();
}

/// All digits of a name as one number; it wraps at 32 bits.
constexpr std::uint32_t numberIn(BasicStringRef name) noexcept {
  std::uint32_t number = 0;
  for (const char character : name) {
    if (character >= '0' && character <= '9')
      number = number * 10 + static_cast<std::uint32_t>(character - '0');
  }
  return number;
}

/// The first digit of a module's name belongs to its material and does not count.
constexpr std::uint32_t moduleNumber(BasicStringRef name) noexcept {
  const auto firstDigit = name.find_first_of("0123456789");
  return firstDigit == BasicStringRef::npos ? 0 : numberIn(name.substr(firstDigit + 1));
}

/// Gives every module the first hard point with the number in its name, else the first of all, also in place
/// of one that somebody chose: so a renamed part follows its hard point. Has no effect without hard points.
inline void assignHardPoints(std::map<std::string, KsDestructibleModuleDesc>& modules,
                             const std::vector<std::string>& hardPoints) {
  if (hardPoints.empty()) return;
  std::map<std::uint32_t, const std::string*> firstOfNumber;
  for (const std::string& hardPoint : hardPoints) firstOfNumber.try_emplace(numberIn(hardPoint), &hardPoint);
  for (auto& [name, desc] : modules) {
    const auto matching = firstOfNumber.find(moduleNumber(name));
    desc.effectHP = matching != firstOfNumber.end() ? *matching->second : hardPoints.front();
  }
}

}  // namespace Tal::new_entries
