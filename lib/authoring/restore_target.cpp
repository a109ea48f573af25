#include <authoring/catalogue.h>
#include <authoring/health_explanation.h>
#include <authoring/materials.h>
#include <authoring/restore_target.h>
#include <authoring/save_losses.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <destructibles/new_entries.h>
#include <model/gltf_import.h>
#include <model/material_kinds.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;

/// The estimates for new entries of each category.
struct NewHealth {
  int structure = health_rules::kUnknownHealth;
  int fragile = health_rules::kUnknownHealth;
  int fallingAtom = health_rules::kUnknownHealth;
  bool isUncertain = false;
};

NewHealth newHealth(KsDestructiblesHelper& helper) {
  NewHealth health;
  const auto estimateAs = [&](KsDestructibleType category) {
    const HealthExplanation explanation = explainHealth(helper, category);
    health.isUncertain = health.isUncertain || explanation.isSizeUncertain;
    return explanation.health;
  };
  health.structure = estimateAs(DT_STRUCTURE);
  health.fragile = estimateAs(DT_FRAGILE);
  health.fallingAtom = estimateAs(DT_FALLING_ATOMS);
  return health;
}

Description newEntries(KsDestructiblesHelper& helper, const NewHealth& health) {
  const std::vector<std::string>& hardPoints = helper.getHardpointNames();
  const auto isUndamaged = [&helper](const std::string& name) {
    return helper.isMaterialKindUndamaged(name);
  };
  Description entries;
  for (const auto& [name, kind] : helper.getMaterialNames()) {
    if (isUndamaged(name)) entries.modules.emplace(name, new_entries::module(health.structure));
  }
  new_entries::assignHardPoints(entries.modules, hardPoints);
  entries.fragile = new_entries::fragile(
      health.fragile, hardPoints,
      new_entries::intactMaterial(helper.bspMaterialNames(), helper.getMaterialNames(), isUndamaged));
  entries.fallingAtom = new_entries::fallingAtom(health.fallingAtom);
  return entries;
}

std::string verdictOn(const std::string& modelName) {
  return database_format::isVariantName(modelName) ? "a variant cannot have it" : "";
}

}  // namespace

RestoreTarget targetOf(KsDestructiblesHelper& helper) {
  RestoreTarget target;
  target.modelName = helper.modelName();
  const NewHealth health = newHealth(helper);
  target.newEntries = newEntries(helper, health);
  target.isHealthUncertain = health.isUncertain;
  target.namedMaterials = helper.bspMaterialNames();
  for (const auto& [name, kind] : helper.getMaterialNames()) {
    target.namedMaterials.insert(name);
    target.materials.emplace(name, material_kinds::isUndamaged(kind) && !takesMissingPart(helper, name) &&
                                       !takesOwnPart(helper, name));
  }
  const std::map<std::string, std::string> dropped = droppedModules(helper, target.newEntries.modules);
  for (const auto& [name, module] : target.newEntries.modules) {
    if (!dropped.contains(name)) target.modules.insert(name);
  }
  target.verdict = verdictOn(target.modelName);
  return target;
}

RestoreTarget targetOfGone(const std::string& modelName, const Description& entries) {
  RestoreTarget target;
  target.modelName = modelName;
  target.newEntries.fragile = new_entries::fragile(health_rules::kUnknownHealth, {}, "");
  target.newEntries.fallingAtom = new_entries::fallingAtom(health_rules::kUnknownHealth);
  for (const auto& [name, module] : entries.modules)
    target.newEntries.modules.emplace(name, new_entries::module(health_rules::kUnknownHealth));
  target.unknownKeys = {keys::kHealth, keys::kEffectHardPoint, keys::kMaterialName};
  target.isThere = false;
  const bool canImport = canNameModel(modelName) && checkImportedName(modelName);
  target.need = canImport ? "import it" : "import it under another name";
  target.verdict = verdictOn(modelName);
  return target;
}

}  // namespace Tal::authoring
