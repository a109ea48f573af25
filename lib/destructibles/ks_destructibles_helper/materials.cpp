#include <core/assertion.h>
#include <core/large_stack.h>
#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <model/ks_material_disabler.h>
#include <model/material_kinds.h>
#include <model/super_model.h>

namespace Tal {
namespace {

// std::regex_match recurses several times per character, the more often the more groups the pattern has. What
// the caller's stack may not bear is matched on one that is made for it; that is address space only until it
// is used. Counted repetitions are copies of what is repeated: they make the recursion deeper by a constant.
bool matchesWhole(const std::string& name, const std::regex& pattern) {
  constexpr std::size_t kSafeLength = 64;
  constexpr std::size_t kStackPerCharacter = 16384;
  constexpr std::size_t kStackPerGroup = 4096;
  constexpr std::size_t kStackForRepetitions = std::size_t{64} << 20U;
  if (name.size() <= kSafeLength) return std::regex_match(name, pattern);
  const std::size_t perCharacter = kStackPerCharacter + kStackPerGroup * pattern.mark_count();
  bool matches = false;
  runOnLargeStack(name.size() * perCharacter + kStackForRepetitions,
                  [&] { matches = std::regex_match(name, pattern); });
  return matches;
}

}  // namespace

void KsDestructiblesHelper::resetMatKindsByName(SuperModel* superModel) {
  materialNames_.clear();
  if (!superModel->ready_) return;
  for (const std::shared_ptr<MaterialInstance>& material : superModel->materials_) {
    if (material != nullptr) materialNames_[material->identifier()] = material->materialKind_;
  }
}

unsigned int KsDestructiblesHelper::getMaterialKind(const std::string& name) const {
  const auto material = materialNames_.find(name);
  return material != materialNames_.end() ? material->second : material_kinds::kUnknown;
}

std::vector<std::string> KsDestructiblesHelper::getMaterialNames(unsigned int kind) const {
  std::vector<std::string> names;
  for (const auto& [name, materialKind] : materialNames_) {
    if (materialKind == kind) names.push_back(name);
  }
  return names;
}

const std::map<std::string, unsigned int>& KsDestructiblesHelper::getMaterialNames() const {
  return materialNames_;
}

unsigned int KsDestructiblesHelper::getMaterialNumericID(const std::string& name) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getMaterialNumericID", kSource, 1867);
  // The greedy ".*" leaves the group just the last digit: "partN12" is part 2, on purpose.
  static const std::regex pattern(".*(\\d+)$");
  // What "." cannot match is a line break; beyond that only the end of the name counts, so that the match
  // recurses no deeper than that, however long the name is.
  constexpr std::size_t kTail = 64;
  const std::size_t skipped = name.size() > kTail ? name.size() - kTail : 0;
  if (name.find_first_of("\r\n") < skipped) return 0;
  std::smatch match;
  const bool isNumbered =
      std::regex_match(name.begin() + static_cast<std::ptrdiff_t>(skipped), name.end(), match, pattern);
  return isNumbered ? static_cast<unsigned>(std::stoul(match[1].str())) : 0;
}

bool KsDestructiblesHelper::isStaticMaterialName(const std::string& name) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::isStaticMaterialName", kSource, 1828);
  return material_kinds::isStaticName(name);
}

bool KsDestructiblesHelper::isDestroyedMaterialName(const std::string& name) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::isDestroyedMaterialName", kSource, 1835);
  return material_kinds::isDestroyedName(name);
}

bool KsDestructiblesHelper::isUndamagedMaterialName(const std::string& name) const {
  return material_kinds::isUndamagedName(name);
}

bool KsDestructiblesHelper::isMaterialKindDestroyed(const std::string& name) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::isMaterialKindDestroyed", kSource, 1806);
  if (isStaticMaterialName(name)) return false;
  const auto material = materialNames_.find(name);
  const bool hasKind = material != materialNames_.end() && material->second != material_kinds::kNone;
  return hasKind ? material_kinds::isDestroyed(material->second) : isDestroyedMaterialName(name);
}

bool KsDestructiblesHelper::isMaterialKindUndamaged(const std::string& name) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::isMaterialKindUndamaged", kSource, 1619);
  if (isStaticMaterialName(name)) return false;
  const auto material = materialNames_.find(name);
  const bool hasKind = material != materialNames_.end() && material->second != material_kinds::kNone;
  return hasKind ? material_kinds::isUndamaged(material->second) : isUndamagedMaterialName(name);
}

bool KsDestructiblesHelper::isMaterialKindVisible(unsigned int kind) const {
  if (materialDisabler_ != nullptr) return materialDisabler_->getMaterialKindVisible(kind);
  reportAssertion("materialDisabler_", kSource, 1689);
  // The question is still put, to a disabler of no model.
  const KsMaterialDisabler unbound;
  return unbound.getMaterialKindVisible(kind);
}

bool KsDestructiblesHelper::hasDefaultMaterialKinds(const std::regex& pattern,
                                                    std::vector<std::string>* names) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::hasDefaultMaterialKinds", kSource, 1722);
  bool isAnyDefault = false;
  for (const auto& [name, kind] : materialNames_) {
    if (kind != material_kinds::kNone || !matchesWhole(name, pattern)) continue;
    if (names == nullptr) return true;
    isAnyDefault = true;
    names->push_back(name);
  }
  return isAnyDefault;
}

bool KsDestructiblesHelper::hasDisorderedMaterialKinds(std::vector<std::string>* names) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::hasDisorderedMaterialKinds", kSource, 1754);
  bool isAnyDisordered = false;
  for (const auto& [name, kind] : materialNames_) {
    if (isStaticMaterialName(name)) continue;
    const unsigned number = getMaterialNumericID(name);
    unsigned expected = 0;
    if (isDestroyedMaterialName(name)) {
      if (material_kinds::isDestroyed(kind)) expected = kind - material_kinds::kFirstDestroyed;
    } else if (isUndamagedMaterialName(name)) {
      if (material_kinds::isUndamaged(kind)) expected = kind - material_kinds::kFirstUndamaged;
    }
    if (expected == number) continue;
    if (names == nullptr) return true;
    isAnyDisordered = true;
    names->push_back(name);
  }
  return isAnyDisordered;
}

const std::vector<unsigned int>& KsDestructiblesHelper::getMaterialDependencies(unsigned int kind) const {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::getMaterialDependencies", kSource, 1675);
  static const std::vector<unsigned int> none;
  const auto dependencies = materialDependencies_.find(kind);
  return dependencies != materialDependencies_.end() ? dependencies->second : none;
}

}  // namespace Tal
