#pragma once

#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>
#include <model/material_kinds.h>

#include <map>
#include <string>
#include <vector>

/// The materials that the built-in states show. Functions without shared state; usable on any thread; nothing
/// here is exported by the module's shared library.
namespace Tal::look_rules {

/// Only falling atoms show a material whose name contains this.
inline constexpr BasicStringRef kStaticMark = "s_";

enum class Look { undamaged, destroyed };

/// The names of the materials that a look shows of a model of a category; `materials` are all with their
/// kinds.
inline std::vector<std::string> materialsOf(const std::map<std::string, unsigned>& materials, Look look,
                                            KsDestructibleType category) {
  const bool takesStatic = category == DT_FALLING_ATOMS;
  std::vector<std::string> names;
  for (const auto& [name, kind] : materials) {
    const bool isOfLook =
        look == Look::undamaged ? material_kinds::isUndamaged(kind) : material_kinds::isDestroyed(kind);
    if (isOfLook && (takesStatic || name.find(kStaticMark) == std::string::npos)) names.push_back(name);
  }
  return names;
}

}  // namespace Tal::look_rules
