#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/logging.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>

#include <algorithm>

namespace Tal {
namespace {

const std::string DEFAULT_FRACTURE_EFFECT = "inf_streetlamp_fracture";
const std::string DEFAULT_TOUCHDOWN_EFFECT = "inf_streetlamp_touchdown";
const std::string DEFAULT_FRAGILE_EFFECT = "hd_bld_SU_206_Cellar";
const std::string DEFAULT_MODULE_EFFECT = "inf_bld_UNI_000_Base_02";

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

// All digits of a name as one number; it wraps at 32 bits.
std::uint32_t numberIn(BasicStringRef name) {
  std::uint32_t number = 0;
  for (const char character : name) {
    if (isDigit(character)) number = number * 10 + static_cast<std::uint32_t>(character - '0');
  }
  return number;
}

// The first digit of a module's name belongs to its material and does not count.
std::uint32_t moduleNumber(BasicStringRef name) {
  const auto firstDigit = name.find_first_of("0123456789");
  return firstDigit == BasicStringRef::npos ? 0 : numberIn(name.substr(firstDigit + 1));
}

}  // namespace

void KsDestructiblesHelper::setMissingFallingAtom() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMissingFallingAtom", kSource, 1038);
  if (s_destrFallingAtomMap.contains(modelName_)) {
    isMissingInDestructiblesXml_ = false;
    return;
  }
  KsDestructibleFallingAtomDesc desc;
  desc.fractureEffect = DEFAULT_FRACTURE_EFFECT;
  desc.touchdownEffect = DEFAULT_TOUCHDOWN_EFFECT;
  desc.health = calculateDestructibleHealth();
  rememberLoadedEntries();
  s_destrFallingAtomMap.insert_or_assign(modelName_, desc);
  isMissingInDestructiblesXml_ = true;
}

void KsDestructiblesHelper::setMissingFragile() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMissingFragile", kSource, 1066);
  if (s_destrFragileMap.contains(modelName_)) {
    isMissingInDestructiblesXml_ = false;
    return;
  }
  KsDestructibleFragileDesc desc;
  desc.effect = DEFAULT_FRAGILE_EFFECT;
  desc.hitEffect = DEFAULT_FRAGILE_EFFECT;
  desc.health = calculateDestructibleHealth();
  if (!hardpointNames_.empty()) desc.effectHP = hardpointNames_.front();
  desc.matName = intactMaterial();
  if (desc.matName.empty())
    logMessage(kRefusedPriority, "Model doesn't have an undamaged matkind material!\n");
  rememberLoadedEntries();
  s_destrFragileMap.insert_or_assign(modelName_, desc);
  isMissingInDestructiblesXml_ = true;
}

// The collision materials come first, even if another undamaged name sorts earlier.
std::string KsDestructiblesHelper::intactMaterial() const {
  const auto isUndamaged = [this](const std::string& name) { return isMaterialKindUndamaged(name); };
  const auto bsp = std::find_if(bspMaterialNames_.begin(), bspMaterialNames_.end(), isUndamaged);
  if (bsp != bspMaterialNames_.end()) return *bsp;
  const auto any = std::find_if(materialNames_.begin(), materialNames_.end(),
                                [&isUndamaged](const auto& material) { return isUndamaged(material.first); });
  return any != materialNames_.end() ? any->first : std::string();
}

void KsDestructiblesHelper::setMissingModules() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::setMissingModules", kSource, 1118);
  rememberLoadedEntries();
  // An existing table leaves the flag as it is, unlike an existing fragile or falling atom.
  if (s_destrModuleMap.try_emplace(modelName_).second) isMissingInDestructiblesXml_ = true;
  const int health = estimateHealth(true);
  rememberLoadedEntries();
  // Only now, and made anew where it is gone: the estimate loads the database when another helper's end has
  // marked it as not loaded.
  const auto [model, isMadeAnew] = s_destrModuleMap.try_emplace(modelName_);
  if (isMadeAnew) isMissingInDestructiblesXml_ = true;
  ModuleTable& modules = model->second;
  for (const auto& [name, kind] : materialNames_) {
    if (!isMaterialKindUndamaged(name) || modules.contains(name)) continue;
    KsDestructibleModuleDesc& desc = modules[name];
    desc.health = health;
    desc.ramEffect = DEFAULT_MODULE_EFFECT;
    desc.hitEffect = DEFAULT_MODULE_EFFECT;
  }
  if (!hardpointNames_.empty()) assignHardPoints(modules);
}

// Every module, also one whose hard point somebody chose: the numbers in the names decide, so that a part
// that was renamed follows its hard point.
void KsDestructiblesHelper::assignHardPoints(ModuleTable& modules) const {
  std::map<std::uint32_t, const std::string*> firstOfNumber;
  for (const std::string& hardPoint : hardpointNames_)
    firstOfNumber.try_emplace(numberIn(hardPoint), &hardPoint);
  for (auto& [name, desc] : modules) {
    const auto matching = firstOfNumber.find(moduleNumber(name));
    desc.effectHP = matching != firstOfNumber.end() ? *matching->second : hardpointNames_.front();
  }
}

}  // namespace Tal
