#include <model/ks_material_disabler.h>
#include <model/material_kinds.h>
#include <model/super_model.h>

#include <cstddef>
#include <utility>

namespace Tal {
namespace {

/// A slot of the model's materials; null when the slot is empty or the materials were exchanged for fewer.
MaterialInstance* materialAt(const SuperModel& superModel, unsigned int slot) {
  const auto first = superModel.materials_.begin();
  if (std::cmp_greater_equal(slot, superModel.materials_.end() - first)) return nullptr;
  return (first + static_cast<std::ptrdiff_t>(slot))->get();
}

}  // namespace

KsMaterialDisabler::KsMaterialDisabler(SuperModel* superModel) {
  bind(superModel);
}

void KsMaterialDisabler::attachSuperModel(SuperModel* superModel) {
  if (superModel != superModel_) detachSuperModel(superModel_);
  letGo_ = nullptr;
  bind(superModel);
}

bool KsMaterialDisabler::detachSuperModel(SuperModel* superModel) {
  if (superModel == nullptr || superModel != superModel_) return false;
  for (const auto& material : superModel->materials_) {
    if (material != nullptr) material->isVisible_ = true;
  }
  letGo_ = superModel;
  letGoLifetime_ = superModel->lifetime();
  superModel_ = nullptr;
  slotsByKind_.clear();
  return true;
}

void KsMaterialDisabler::createMaterialBindings() {
  const bool isBackToLast = superModel_ == nullptr && !letGoLifetime_.expired();
  bind(isBackToLast ? letGo_ : superModel_);
}

void KsMaterialDisabler::setIsDestroyed(bool isDestroyed) {
  isDestroyed_ = isDestroyed;
  explicitVisibility_.clear();
  applyVisibilities();
}

void KsMaterialDisabler::setMaterialKindVisible(unsigned int kind, bool isVisible) {
  explicitVisibility_[kind] = isVisible;
  if (superModel_ == nullptr) return;
  const auto [first, last] = slotsByKind_.equal_range(kind);
  for (auto binding = first; binding != last; ++binding) {
    MaterialInstance* material = materialAt(*superModel_, binding->second);
    if (material != nullptr) material->isVisible_ = isVisible;
  }
}

bool KsMaterialDisabler::getMaterialKindVisible(unsigned int kind) const {
  return isKindVisible(kind);
}

void KsMaterialDisabler::getMaterialKindVisibles(std::map<unsigned int, bool>& visibles) const {
  for (const auto& [kind, slot] : slotsByKind_) visibles[kind] = isKindVisible(kind);
  for (const auto& [kind, isVisible] : explicitVisibility_) visibles[kind] = isVisible;
}

void KsMaterialDisabler::bind(SuperModel* superModel) {
  superModel_ = superModel;
  slotsByKind_.clear();
  if (superModel == nullptr || !superModel->ready_) return;
  unsigned int slot = 0;
  for (const auto& material : superModel->materials_) {
    if (material != nullptr) slotsByKind_.emplace(material->materialKind_, slot);
    ++slot;
  }
  applyVisibilities();
}

void KsMaterialDisabler::applyVisibilities() {
  if (superModel_ == nullptr) return;
  for (const auto& [kind, slot] : slotsByKind_) {
    MaterialInstance* material = materialAt(*superModel_, slot);
    if (material != nullptr) material->isVisible_ = isKindVisible(kind);
  }
}

bool KsMaterialDisabler::isKindVisible(unsigned int kind) const {
  const auto found = explicitVisibility_.find(kind);
  if (found != explicitVisibility_.end()) return found->second;
  return isDestroyed_ ? !material_kinds::isUndamaged(kind) : !material_kinds::isDestroyed(kind);
}

}  // namespace Tal
