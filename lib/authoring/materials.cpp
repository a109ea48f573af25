#include <authoring/materials.h>
#include <core/nearest_name.h>
#include <destructibles/ks_destructibles_helper/material_kinds.h>

#include <regex>
#include <utility>

namespace Tal::authoring {
namespace {

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
  if (material_kinds::isUndamaged(material.kind)) return material.kind - material_kinds::kFirstUndamaged;
  if (material_kinds::isDestroyed(material.kind)) return material.kind - material_kinds::kFirstDestroyed;
  return helper.getMaterialNumericID(material.name);
}

std::string disorderText(const KsDestructiblesHelper& helper, const std::string& name) {
  return "material " + quotedName(name) + " ends in part number " +
         std::to_string(helper.getMaterialNumericID(name)) + ", but its kind " +
         std::to_string(helper.getMaterialKind(name)) +
         " is not that part; rename it or give it another kind, unless the number is that of another part";
}

std::string defaultText(const std::string& name) {
  return "material " + quotedName(name) + " is named as a part but has no kind (0); give it one of 73 to 100";
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
  return code == MaterialWarning::Code::defaultKind ? "default-kind" : "disordered-kind";
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
  return warnings;
}

}  // namespace Tal::authoring
