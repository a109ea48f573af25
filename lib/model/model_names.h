#pragma once

#include <core/string_ref.h>

/// The extensions of a model's resources and the prefixes of its nodes; case-sensitive.
namespace Tal::model_names {

inline constexpr BasicStringRef kModelExtension = ".model";
inline constexpr BasicStringRef kVisualExtension = ".visual";
inline constexpr BasicStringRef kGeometryExtension = ".glb";

/// A node where something can be attached to the model.
inline constexpr BasicStringRef kHardPointPrefix = "HP_";
/// A node of a glTF file whose meshes, and those of the nodes below it, only collide and are not shown.
inline constexpr BasicStringRef kCollisionPrefix = "BSP_";

}  // namespace Tal::model_names
