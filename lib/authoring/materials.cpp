#include <authoring/materials.h>
#include <core/contains.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <core/shell_word.h>
#include <model/material_kinds.h>

#include <algorithm>
#include <regex>
#include <utility>

namespace Tal::authoring {
namespace {

constexpr unsigned kLastDigit = 9;             // the greatest number that a name gives
constexpr std::size_t kLongestExample = 1024;  // longer names cannot be imported

// The names that the helper takes for those of undamaged and destroyed parts.
constexpr const char* kPartNames = R"((?:[nd]|part[ND][\s\S])[\s\S]*)";

MaterialClass classOf(const KsDestructiblesHelper& helper, const std::string& name) {
  if (helper.isStaticMaterialName(name)) return MaterialClass::fixed;
  if (helper.isMaterialKindDestroyed(name)) return MaterialClass::destroyed;
  return helper.isMaterialKindUndamaged(name) ? MaterialClass::undamaged : MaterialClass::other;
}

std::optional<unsigned> partOf(const KsDestructiblesHelper& helper, const Material& material) {
  if (material.materialClass != MaterialClass::undamaged &&
      material.materialClass != MaterialClass::destroyed)
    return std::nullopt;
  const std::optional<unsigned> part = material_kinds::partOf(material.kind);
  return part ? *part : helper.getMaterialNumericID(material.name);
}

// The kind that a name of a part asks for by the number that it ends in; none for every other name.
std::optional<unsigned> kindByName(const KsDestructiblesHelper& helper, const std::string& name) {
  const unsigned number = helper.getMaterialNumericID(name);
  if (helper.isDestroyedMaterialName(name)) return material_kinds::kFirstDestroyed + number;
  if (helper.isUndamagedMaterialName(name)) return material_kinds::kFirstUndamaged + number;
  return std::nullopt;
}

std::string disorderAdvice(const KsDestructiblesHelper& helper, const std::string& name) {
  const unsigned kind = helper.getMaterialKind(name);
  if (takesMissingPart(helper, name)) return "its name takes along a part that is missing";
  if (!helper.getMaterialDependencies(kind).empty())
    return "that is in order if it ends in the number of a part that it depends on";
  const std::optional<unsigned> wanted = kindByName(helper, name);
  if (!wanted) return "rename it: only names of parts (n..., d...) end in a number";
  if (material_kinds::partOf(kind).value_or(0) > kLastDigit)
    return "of a number above 9 only the last digit counts, so it cannot agree";
  return "rename it or give it kind " + std::to_string(*wanted);
}

std::string disorderText(const KsDestructiblesHelper& helper, const std::string& name) {
  const bool hasNumber = name.find_last_of("0123456789") == name.size() - 1;
  return "material " + quotedName(name) +
         (hasNumber ? " ends in part number " + std::to_string(helper.getMaterialNumericID(name))
                    : " ends in no part number, which stands for 0") +
         ", but its kind " + std::to_string(helper.getMaterialKind(name)) + " is not of that part; " +
         disorderAdvice(helper, name);
}

std::string defaultText(const std::string& name) {
  return "material " + quotedName(name) + " is named as a part but has no kind (0); give it one of 73 to 100";
}

std::string missingText(const KsDestructiblesHelper& helper) {
  const std::vector<std::string> ofNoKind = helper.getMaterialNames(material_kinds::kNone);
  return " takes along a part that no undamaged material has" +
         (ofNoKind.empty()
              ? std::string()
              : ", so where it breaks every material without a kind vanishes: " + someNames(ofNoKind)) +
         "; rename it, or give the model that part";
}

// What a model without an undamaged part has that comes near to one.
struct NearParts {
  std::vector<std::string> names;    // all
  std::vector<std::string> statics;  // of a part's kind, but static by their names
  std::vector<std::string> destroyed;
  std::vector<std::string> others;  // neither static nor destroyed
};

NearParts nearPartsOf(const KsDestructiblesHelper& helper) {
  NearParts found;
  for (const auto& [name, kind] : helper.getMaterialNames()) {
    found.names.push_back(name);
    if (helper.isStaticMaterialName(name)) {
      if (material_kinds::isUndamaged(kind)) found.statics.push_back(name);
    } else {
      (helper.isMaterialKindDestroyed(name) ? found.destroyed : found.others).push_back(name);
    }
  }
  return found;
}

std::string renaming(const std::string& example) {
  const std::string name = example.size() <= kLongestExample ? example : "MATERIAL";
  return "import it again with --material " + shellWord(name + "=n_" + name) + " --force";
}

}  // namespace

BasicStringRef materialClassName(MaterialClass materialClass) noexcept {
  switch (materialClass) {
    case MaterialClass::fixed:
      return "static";
    case MaterialClass::undamaged:
      return "undamaged";
    case MaterialClass::destroyed:
      return "destroyed";
    case MaterialClass::other:
      break;
  }
  return "other";
}

BasicStringRef materialWarningName(MaterialWarning::Code code) noexcept {
  switch (code) {
    case MaterialWarning::Code::defaultKind:
      return "default-kind";
    case MaterialWarning::Code::disorderedKind:
      return "disordered-kind";
    case MaterialWarning::Code::noPartKind:
      return "no-part-kind";
    case MaterialWarning::Code::staticPart:
      return "static-part";
    case MaterialWarning::Code::missingPart:
      return "missing-part";
    case MaterialWarning::Code::ownPart:
      break;
  }
  return "own-part";
}

std::vector<Material> materialsOf(const KsDestructiblesHelper& helper) {
  std::vector<Material> materials;
  for (const auto& [name, kind] : helper.getMaterialNames()) {
    Material material;
    material.name = name;
    material.kind = kind;
    material.materialClass = classOf(helper, name);
    material.part = partOf(helper, material);
    material.isVisible = helper.isMaterialKindVisible(kind);
    material.dependencies = helper.getMaterialDependencies(kind);
    materials.push_back(std::move(material));
  }
  return materials;
}

std::vector<MaterialWarning> materialWarningsOf(const KsDestructiblesHelper& helper) {
  static const std::regex partNames(kPartNames);
  std::vector<MaterialWarning> warnings;
  std::vector<std::string> names;
  helper.hasDefaultMaterialKinds(partNames, &names);
  for (std::string& name : names) {
    std::string text = defaultText(name);
    warnings.push_back({MaterialWarning::Code::defaultKind, std::move(name), std::move(text)});
  }
  names.clear();
  helper.hasDisorderedMaterialKinds(&names);
  for (std::string& name : names) {
    std::string text = disorderText(helper, name);
    warnings.push_back({MaterialWarning::Code::disorderedKind, std::move(name), std::move(text)});
  }
  for (const auto& [name, kind] : helper.getMaterialNames()) {
    const std::string subject = "material " + quotedName(name);
    if (material_kinds::isOfNoPart(kind)) {
      warnings.push_back(
          {MaterialWarning::Code::noPartKind, name, subject + material_kinds::noPartText(kind)});
    } else if (helper.isStaticMaterialName(name) && material_kinds::partOf(kind)) {
      warnings.push_back(
          {MaterialWarning::Code::staticPart, name, subject + material_kinds::staticPartText(kind)});
    }
    if (takesMissingPart(helper, name))
      warnings.push_back({MaterialWarning::Code::missingPart, name, subject + missingText(helper)});
    if (takesOwnPart(helper, name)) {
      warnings.push_back({MaterialWarning::Code::ownPart, name,
                          subject + " takes along its own part, so where it breaks the part vanishes: its "
                                    "destroyed look is hidden, too; rename it"});
    }
  }
  return warnings;
}

std::string missingPartText(const KsDestructiblesHelper& helper) {
  const NearParts found = nearPartsOf(helper);
  if (found.names.empty()) return "the model has no materials; import it again from a file that has some";
  const std::string lack = "none is an undamaged part (kinds " + material_kinds::undamagedKinds() + ")";
  if (!found.statics.empty()) {
    return lack + ", since a name that begins with \"s\" is static whatever its kind, as that of " +
           someNames(found.statics) + ": " + renaming(found.statics.front());
  }
  if (!found.others.empty()) {
    const std::string& example = found.others.front();
    const std::string name = example.size() <= kLongestExample ? example : "MATERIAL";
    return lack + "; it has " + someNames(found.names) + ": import it again with --kind " +
           shellWord(name + "=73") + " --force";
  }
  if (found.destroyed.empty())
    return lack + "; it has " + someNames(found.names) + ": " + renaming(found.names.front());
  return lack + ", only the destroyed look is there (" + someNames(found.destroyed) +
         "): import it again from a file that has the undamaged look too, as a material \"n...\"";
}

bool takesMissingPart(const KsDestructiblesHelper& helper, const std::string& material) {
  return contains(helper.getMaterialDependencies(helper.getMaterialKind(material)), material_kinds::kNone);
}

bool takesOwnPart(const KsDestructiblesHelper& helper, const std::string& material) {
  const unsigned kind = helper.getMaterialKind(material);
  return material_kinds::isUndamaged(kind) && contains(helper.getMaterialDependencies(kind), kind);
}

}  // namespace Tal::authoring
