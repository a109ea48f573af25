#pragma once

#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// What a material shows, by its kind, or by its name when it has no kind.
enum class MaterialClass { fixed, undamaged, destroyed, other };

/// "static", "undamaged", "destroyed" or "other".
BasicStringRef materialClassName(MaterialClass materialClass) noexcept;

/// One material of a model.
struct Material {
  std::string name;
  unsigned kind = 0;
  MaterialClass materialClass = MaterialClass::other;
  std::optional<unsigned> part;        ///< the part's number, 0 to 13; nothing for what is no part
  bool isVisible = false;              ///< in the state that the model shows
  std::vector<unsigned> dependencies;  ///< the kinds that vanish with it; 0 stands for one that is missing
};

/// Something about a material's kind that is probably not meant.
struct MaterialWarning {
  enum class Code {
    defaultKind,     ///< the name is that of a part, but the material has no kind
    disorderedKind,  ///< the kind is not that of the part number in the name
    noPartKind,      ///< the kind is none that a part has
  };
  Code code;
  std::string material;
  std::string text;  ///< one line for a person
};

/// "default-kind", "disordered-kind" or "no-part-kind".
BasicStringRef materialWarningName(MaterialWarning::Code code) noexcept;

/// The materials of a helper's model, in ascending order of name.
std::vector<Material> materialsOf(const KsDestructiblesHelper& helper);

/// The warnings: first the default kinds, then the disordered ones, then those of no part, each in ascending
/// order of name.
std::vector<MaterialWarning> materialWarningsOf(const KsDestructiblesHelper& helper);

/// Which material a helper's model lacks to be suggested a category, and how to give it one: for a person,
/// without an end, which is left to the caller.
std::string missingPartText(const KsDestructiblesHelper& helper);

}  // namespace Tal::authoring
