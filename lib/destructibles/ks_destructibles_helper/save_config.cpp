#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/fixed_names.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>
#include <resources/save_group.h>

namespace Tal {
namespace {

using fixed_names::kDestructiblesXml;
using fixed_names::kSource;

void writeOrRemove(DataSection& section, BasicStringRef key, const std::string& value, bool isWorthWriting) {
  if (isWorthWriting) {
    section.writeString(key, value);
  } else {
    section.deleteSection(key);
  }
}

// Drops the document at the end of a scope in which it was edited and not written: the tables hold the edits,
// and the document must not bring them into another model's save or a reload.
class UnwrittenDocument {
 public:
  UnwrittenDocument() = default;
  ~UnwrittenDocument() {
    if (!isEdited_) return;
    try {
      DataSectionCache::discard(kDestructiblesXml);
    } catch (...) {  // There is nothing left that could be done.
    }
  }
  UnwrittenDocument(const UnwrittenDocument&) = delete;
  UnwrittenDocument& operator=(const UnwrittenDocument&) = delete;

  void setEdited(bool isEdited) noexcept { isEdited_ = isEdited; }

 private:
  bool isEdited_ = false;
};

}  // namespace

bool KsDestructiblesHelper::saveConfig() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::saveConfig", kSource, 488);
  isMissingInDestructiblesXml_ = false;
  if (!writeToFile() || getCategoryName().empty()) return false;
  DataSectionCache::purge(kDestructiblesXml, false);
  loadConfig(true);
  return true;
}

// Holds no section any more when it returns.
bool KsDestructiblesHelper::writeToFile() {
  UnwrittenDocument unwritten;
  // The many saves below reach the disk as one.
  SaveGroup saves;
  SmartPointer<DataSection> root = FS::Utils::openSection(kDestructiblesXml, false, nullptr);
  if (!root) return false;
  unwritten.setEdited(true);
  deleteDuplicate(root, 0);
  // Only now: what was removed above may have been a section with the entries of other models.
  const std::uint64_t contentStamp = root->contentStamp();
  const std::string category = getCategoryName();
  const bool isNewCategory = !root->openSection(category);
  const SmartPointer<DataSection> categorySection = root->openSection(category, true, nullptr);
  bool hasRemoved = false;
  SmartPointer<DataSection> entry = keepOneEntry(root, category, hasRemoved);
  if (!isRecordThere()) {
    // Only with the removals does a new section reach the file.
    if (isNewCategory && !hasRemoved) root->removeChild(categorySection);
  } else if (!category.empty()) {
    writeEntry(*categorySection, entry);
  }
  if (!saves.commit()) return false;
  unwritten.setEdited(false);
  noteSaved(contentStamp, root->contentStamp());
  return true;
}

// Removes the model's entries from every category but its own, and from each section of that all but the
// first; the one that is left in the last of them is returned, null when there is none.
SmartPointer<DataSection> KsDestructiblesHelper::keepOneEntry(const SmartPointer<DataSection>& root,
                                                              const std::string& category, bool& hasRemoved) {
  SmartPointer<DataSection> kept;
  for (SmartPointer<DataSection> child : *root) {
    if (child->tag() == fixed_names::kTreesSection) continue;
    const int count = child->childCount();
    int firstDuplicate = 0;
    if (child->tag() == category) {
      const int found = child->findChildWith("filename", modelName_);
      if (found != -1) kept = child->child(found);
      firstDuplicate = found != -1 ? found + 1 : count;
    }
    deleteDuplicate(child, firstDuplicate);
    hasRemoved = hasRemoved || child->childCount() != count;
  }
  return kept;
}

// A fragile or falling atom whose record is gone is not written, and gets no new entry either.
bool KsDestructiblesHelper::isRecordThere() const {
  switch (destructibleType_) {
    case DT_FRAGILE:
      return s_destrFragileMap.contains(modelName_);
    case DT_FALLING_ATOMS:
      return s_destrFallingAtomMap.contains(modelName_);
    case DT_STRUCTURE:
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return true;
}

void KsDestructiblesHelper::writeEntry(DataSection& category, SmartPointer<DataSection>& entry) {
  if (!entry) entry = category.appendChild("entry");
  if (destructibleType_ == DT_STRUCTURE) return writeStructure(entry);
  if (destructibleType_ == DT_FRAGILE) {
    makeFragileXmlTag(s_destrFragileMap.at(modelName_), entry);
  } else {
    makeFallingAtomXmlTag(s_destrFallingAtomMap.at(modelName_), entry);
  }
  entry->save("");
}

void KsDestructiblesHelper::writeStructure(SmartPointer<DataSection>& entry) {
  entry->writeString("filename", modelName_);
  writeOrRemove(*entry, "achievementTag", structureAchievementTag_,
                checkTagForEmpty(structureAchievementTag_));
  entry->save("");
  if (const auto record = s_destrStateMap.find(modelName_); record != s_destrStateMap.end()) {
    SmartPointer<DataSection> states = entry->openSection("states", true, nullptr);
    states->deleteSections("state");
    entry->save("");
    makeStatesXmlTag(record->second, states);
  }
  if (const auto table = s_destrModuleMap.find(modelName_); table != s_destrModuleMap.end()) {
    SmartPointer<DataSection> modules = entry->openSection("modules", true, nullptr);
    makeModulesXmlTag(table->second, modules);
    entry->save("");
  }
}

void KsDestructiblesHelper::makeFragileXmlTag(const KsDestructibleFragileDesc& desc,
                                              SmartPointer<DataSection>& entry) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeFragileXmlTag", kSource, 622);
  entry->writeString("filename", modelName_);
  entry->writeInt("health", desc.health);
  entry->writeString("decayEffect", desc.decayEffect);
  entry->writeString("effect", desc.effect);
  writeOrRemove(*entry, "hitEffect", desc.hitEffect, !desc.hitEffect.empty());
  entry->writeString("effectHP", desc.effectHP);
  entry->writeFloat("effectScale", desc.effectScale);
  writeOrRemove(*entry, "matName", desc.matName, !desc.matName.empty());
  entry->writeString("lifetimeEffect", desc.lifetimeEffect);
  writeOrRemove(*entry, "achievementTag", desc.achievementTag, checkTagForEmpty(desc.achievementTag));
  entry->save("");
}

void KsDestructiblesHelper::makeFallingAtomXmlTag(const KsDestructibleFallingAtomDesc& desc,
                                                  SmartPointer<DataSection>& entry) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeFallingAtomXmlTag", kSource, 661);
  entry->writeString("filename", modelName_);
  entry->writeInt("health", desc.health);
  entry->writeString("physicParams", desc.physicParams);
  entry->writeString("lifetimeEffect", desc.lifetimeEffect);
  entry->writeString("fractureEffect", desc.fractureEffect);
  entry->writeString("touchdownEffect", desc.touchdownEffect);
  entry->writeString("touchdownBreakEffect", desc.touchdownBreakEffect);
  entry->writeFloat("effectScale", desc.effectScale);
  writeOrRemove(*entry, "achievementTag", desc.achievementTag, checkTagForEmpty(desc.achievementTag));
  entry->save("");
}

void KsDestructiblesHelper::makeModulesXmlTag(const ModuleTable& modules,
                                              SmartPointer<DataSection>& modulesSection) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeModulesXmlTag", kSource, 698);
  if (modules.empty()) return;
  modulesSection->removeChildren();
  modulesSection->save("");
  std::set<unsigned> writtenKinds;
  for (const auto& [name, desc] : modules) {
    if (!bspMaterialNames_.contains(name)) continue;
    const auto material = materialNames_.find(name);
    if (material != materialNames_.end() && !writtenKinds.insert(material->second).second) continue;
    const SmartPointer<DataSection> module = modulesSection->appendChild("module");
    module->writeString("matName", name);
    module->writeInt("health", desc.health);
    module->writeString("decayEffect", desc.decayEffect);
    module->writeString("ramEffect", desc.ramEffect);
    writeOrRemove(*module, "hitEffect", desc.hitEffect, !desc.hitEffect.empty());
    module->writeString("effectHP", desc.effectHP);
    module->writeFloat("effectScale", desc.effectScale);
    module->save("");
  }
}

void KsDestructiblesHelper::makeStatesXmlTag(const DestrStates_t& states,
                                             SmartPointer<DataSection>& statesSection) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeStatesXmlTag", kSource, 764);
  for (const auto& [name, materials] : states.states) {
    // Every name is followed by a space, the last one too: that is how the file has always been.
    std::string destroyedMaterials;
    for (const std::string& material : materials) destroyedMaterials += material + ' ';
    const SmartPointer<DataSection> state = statesSection->appendChild("state");
    state->writeString("name", name);
    state->writeString("destroyedMaterials", destroyedMaterials);
    state->save("");
  }
}

void KsDestructiblesHelper::deleteDuplicate(SmartPointer<DataSection>& section, int firstIndex) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::deleteDuplicate", kSource, 815);
  for (int index = firstIndex; (index = section->findChildWith("filename", modelName_, index)) != -1;) {
    section->removeChild(section->child(index));
    section->save("");
  }
}

// True means worth writing; the name is kept although it says the opposite.
bool KsDestructiblesHelper::checkTagForEmpty(const std::string& tag) {
  return !tag.empty() && tag != UNDEFINED_EFFECT;
}

}  // namespace Tal
