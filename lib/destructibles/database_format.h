#pragma once

#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <algorithm>
#include <array>

/// The fixed names of the database and of the effects file, for everything that reads or writes one of them.
/// Usable on any thread; nothing here is exported by the module's shared library.
namespace Tal::database_format {

/// The resource names of the two files.
inline constexpr char kDatabaseFile[] = "scripts/destructibles.xml";
inline constexpr char kEffectsFile[] = "scripts/destructibles_effects.xml";

/// The tags of the sections for the models of a category in the database, and for its effects in the effects
/// file. "trees" is in the database only, and nothing reads it.
inline constexpr char kTreesSection[] = "trees";
inline constexpr char kFragilesSection[] = "fragiles";
inline constexpr char kFallingAtomsSection[] = "fallingAtoms";
inline constexpr char kStructuresSection[] = "structures";

/// The category of the models in a section of the database, by its tag: an unknown one holds structures.
/// DT_NON_DESTRUCTIBLE for a section that is not read.
constexpr KsDestructibleType categoryOfSection(BasicStringRef tag) noexcept {
  if (tag == kTreesSection) return DT_NON_DESTRUCTIBLE;
  if (tag == kFragilesSection) return DT_FRAGILE;
  return tag == kFallingAtomsSection ? DT_FALLING_ATOMS : DT_STRUCTURE;
}

/// The tag of the section that the models of a category are saved in; empty for DT_NON_DESTRUCTIBLE and for
/// any other number.
constexpr BasicStringRef sectionOfCategory(KsDestructibleType category) noexcept {
  switch (category) {
    case DT_STRUCTURE:
      return kStructuresSection;
    case DT_FRAGILE:
      return kFragilesSection;
    case DT_FALLING_ATOMS:
      return kFallingAtomsSection;
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return {};
}

/// The tags within a category's section: an entry is one model; a structure's entry has modules and states.
namespace tags {
inline constexpr char kEntry[] = "entry";
inline constexpr char kModules[] = "modules";
inline constexpr char kModule[] = "module";
inline constexpr char kStates[] = "states";
inline constexpr char kState[] = "state";
}  // namespace tags

/// The keys of entries, modules and states. A key is the name of the record's field that it is read into,
/// where there is one.
namespace keys {
inline constexpr char kFileName[] = "filename";  ///< of an entry: the model's resource name
inline constexpr char kMaterialName[] = "matName";
inline constexpr char kAchievementTag[] = "achievementTag";
inline constexpr char kHealth[] = "health";
inline constexpr char kEffectScale[] = "effectScale";
inline constexpr char kEffectHardPoint[] = "effectHP";
inline constexpr char kPhysicParams[] = "physicParams";
inline constexpr char kEffect[] = "effect";
inline constexpr char kHitEffect[] = "hitEffect";
inline constexpr char kRamEffect[] = "ramEffect";
inline constexpr char kDecayEffect[] = "decayEffect";
inline constexpr char kLifetimeEffect[] = "lifetimeEffect";
inline constexpr char kFractureEffect[] = "fractureEffect";
inline constexpr char kTouchdownEffect[] = "touchdownEffect";
inline constexpr char kTouchdownBreakEffect[] = "touchdownBreakEffect";
inline constexpr char kStateName[] = "name";
inline constexpr char kDestroyedMaterials[] = "destroyedMaterials";  ///< of a state: separated by spaces
}  // namespace keys

/// The states that every model has; no entry holds them.
inline constexpr char kUndamagedState[] = "undamaged";
inline constexpr char kDestroyedState[] = "destroyed";

/// Whether a name is that of a built-in state.
constexpr bool isBuiltInState(BasicStringRef state) noexcept {
  return state == kUndamagedState || state == kDestroyedState;
}

/// The folders of a model's variants, as they occur in resource names.
inline constexpr std::array<BasicStringRef, 4> kVariantFolders = {"/lod1/", "/lod2/", "/crash/", "/merged/"};

/// Whether a model name is that of a variant. Variants have no category of their own, whatever the database
/// holds.
constexpr bool isVariantName(BasicStringRef modelName) noexcept {
  return std::any_of(kVariantFolders.begin(), kVariantFolders.end(), [modelName](BasicStringRef folder) {
    return modelName.find(folder) != BasicStringRef::npos;
  });
}

}  // namespace Tal::database_format
