#pragma once

namespace Tal::fixed_names {

/// The source under which every operation of the helper is tracked. The numbers beside it are positions that
/// support tools know the operations by; they do not follow the code.
inline constexpr char kSource[] = "lib/destructibles/ks_destructibles_helper";

inline constexpr char kDestructiblesXml[] = "scripts/destructibles.xml";
inline constexpr char kEffectsXml[] = "scripts/destructibles_effects.xml";

inline constexpr char kTreesSection[] = "trees";
inline constexpr char kStructuresSection[] = "structures";
inline constexpr char kFragilesSection[] = "fragiles";
inline constexpr char kFallingAtomsSection[] = "fallingAtoms";

inline constexpr char kUndamagedState[] = "undamaged";
inline constexpr char kDestroyedState[] = "destroyed";

}  // namespace Tal::fixed_names
