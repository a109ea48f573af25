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
    staticPart,      ///< the kind is a part's, but the name makes the material static
    missingPart,     ///< it takes along a part that no undamaged material has, which counts as kind 0
    ownPart,         ///< it takes along its own part, whose destroyed look is hidden then, too
  };
  Code code;
  std::string material;
  std::string text;  ///< one line for a person
};

/// "default-kind", "disordered-kind", "no-part-kind", "static-part", "missing-part" or "own-part".
BasicStringRef materialWarningName(MaterialWarning::Code code) noexcept;

/// The materials of a helper's model, in ascending order of name.
std::vector<Material> materialsOf(const KsDestructiblesHelper& helper);

/// The warnings: first the default kinds, then the disordered ones, then all others, each in ascending order
/// of name.
std::vector<MaterialWarning> materialWarningsOf(const KsDestructiblesHelper& helper);

/// Explains to a person why the model has no undamaged part and how to add one. The caller completes the
/// sentence.
std::string missingPartText(const KsDestructiblesHelper& helper);

/// Whether the parts that break with a material include one that no undamaged material has.
bool takesMissingPart(const KsDestructiblesHelper& helper, const std::string& material);

/// Whether the parts that break with an undamaged part include that part itself.
bool takesOwnPart(const KsDestructiblesHelper& helper, const std::string& material);

}  // namespace Tal::authoring
