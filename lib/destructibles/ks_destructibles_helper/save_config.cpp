#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/loaded_tables.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>
#include <resources/save_group.h>

namespace Tal {
namespace {

using database_format::kDatabaseFile;
namespace keys = database_format::keys;
namespace tags = database_format::tags;

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
      DataSectionCache::discard(kDatabaseFile);
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
  // Whatever the flag says from here on, entries that no save has brought to the file go with this helper.
  if (isMissingInDestructiblesXml_) s_lastLoad.stillMissing.insert_or_assign(this, destructibleType_);
  isMissingInDestructiblesXml_ = false;
  if (!writeToFile()) return false;
  s_lastLoad.stillMissing.erase(this);
  if (getCategoryName().empty()) return false;
  DataSectionCache::purge(kDatabaseFile, false);
  loadConfig(true);
  return true;
}

// Holds no section any more when it returns.
bool KsDestructiblesHelper::writeToFile() {
  UnwrittenDocument unwritten;
  // The many saves below reach the disk as one.
  SaveGroup saves;
  SmartPointer<DataSection> root = FS::Utils::openSection(kDatabaseFile, false, nullptr);
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
  if (!saves.commitOrReport()) return false;
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
    if (child->tag() == database_format::kTreesSection) continue;
    const int count = child->childCount();
    int firstDuplicate = 0;
    if (child->tag() == category) {
      const int found = child->findChildWith(keys::kFileName, modelName_);
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
  if (!entry) entry = category.appendChild(tags::kEntry);
  if (destructibleType_ == DT_STRUCTURE) return writeStructure(entry);
  if (destructibleType_ == DT_FRAGILE) {
    makeFragileXmlTag(s_destrFragileMap.at(modelName_), entry);
  } else {
    makeFallingAtomXmlTag(s_destrFallingAtomMap.at(modelName_), entry);
  }
  entry->save("");
}

void KsDestructiblesHelper::writeStructure(SmartPointer<DataSection>& entry) {
  entry->writeString(keys::kFileName, modelName_);
  writeOrRemove(*entry, keys::kAchievementTag, structureAchievementTag_,
                checkTagForEmpty(structureAchievementTag_));
  entry->save("");
  if (const auto record = s_destrStateMap.find(modelName_); record != s_destrStateMap.end()) {
    SmartPointer<DataSection> states = entry->openSection(tags::kStates, true, nullptr);
    states->deleteSections(tags::kState);
    entry->save("");
    makeStatesXmlTag(record->second, states);
  }
  if (const auto table = s_destrModuleMap.find(modelName_); table != s_destrModuleMap.end()) {
    SmartPointer<DataSection> modules = entry->openSection(tags::kModules, true, nullptr);
    makeModulesXmlTag(table->second, modules);
    entry->save("");
  }
}

void KsDestructiblesHelper::makeFragileXmlTag(const KsDestructibleFragileDesc& desc,
                                              SmartPointer<DataSection>& entry) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeFragileXmlTag", kSource, 622);
  entry->writeString(keys::kFileName, modelName_);
  entry->writeInt(keys::kHealth, desc.health);
  entry->writeString(keys::kDecayEffect, desc.decayEffect);
  entry->writeString(keys::kEffect, desc.effect);
  writeOrRemove(*entry, keys::kHitEffect, desc.hitEffect, !desc.hitEffect.empty());
  entry->writeString(keys::kEffectHardPoint, desc.effectHP);
  entry->writeFloat(keys::kEffectScale, desc.effectScale);
  writeOrRemove(*entry, keys::kMaterialName, desc.matName, !desc.matName.empty());
  entry->writeString(keys::kLifetimeEffect, desc.lifetimeEffect);
  writeOrRemove(*entry, keys::kAchievementTag, desc.achievementTag, checkTagForEmpty(desc.achievementTag));
  entry->save("");
}

void KsDestructiblesHelper::makeFallingAtomXmlTag(const KsDestructibleFallingAtomDesc& desc,
                                                  SmartPointer<DataSection>& entry) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeFallingAtomXmlTag", kSource, 661);
  entry->writeString(keys::kFileName, modelName_);
  entry->writeInt(keys::kHealth, desc.health);
  entry->writeString(keys::kPhysicParams, desc.physicParams);
  entry->writeString(keys::kLifetimeEffect, desc.lifetimeEffect);
  entry->writeString(keys::kFractureEffect, desc.fractureEffect);
  entry->writeString(keys::kTouchdownEffect, desc.touchdownEffect);
  entry->writeString(keys::kTouchdownBreakEffect, desc.touchdownBreakEffect);
  entry->writeFloat(keys::kEffectScale, desc.effectScale);
  writeOrRemove(*entry, keys::kAchievementTag, desc.achievementTag, checkTagForEmpty(desc.achievementTag));
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
    const SmartPointer<DataSection> module = modulesSection->appendChild(tags::kModule);
    module->writeString(keys::kMaterialName, name);
    module->writeInt(keys::kHealth, desc.health);
    module->writeString(keys::kDecayEffect, desc.decayEffect);
    module->writeString(keys::kRamEffect, desc.ramEffect);
    writeOrRemove(*module, keys::kHitEffect, desc.hitEffect, !desc.hitEffect.empty());
    module->writeString(keys::kEffectHardPoint, desc.effectHP);
    module->writeFloat(keys::kEffectScale, desc.effectScale);
    module->save("");
  }
}

void KsDestructiblesHelper::makeStatesXmlTag(const DestrStates_t& states,
                                             SmartPointer<DataSection>& statesSection) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeStatesXmlTag", kSource, 764);
  for (const auto& [name, materials] : states.states) {
    // In the format of the file every name is followed by a space, the last one too.
    std::string destroyedMaterials;
    for (const std::string& material : materials) destroyedMaterials += material + ' ';
    const SmartPointer<DataSection> state = statesSection->appendChild(tags::kState);
    state->writeString(keys::kStateName, name);
    state->writeString(keys::kDestroyedMaterials, destroyedMaterials);
    state->save("");
  }
}

void KsDestructiblesHelper::deleteDuplicate(SmartPointer<DataSection>& section, int firstIndex) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::deleteDuplicate", kSource, 815);
  for (int index = firstIndex; (index = section->findChildWith(keys::kFileName, modelName_, index)) != -1;) {
    section->removeChild(section->child(index));
    section->save("");
  }
}

// Mind the name: true means that the tag is to be written.
bool KsDestructiblesHelper::checkTagForEmpty(const std::string& tag) {
  return !tag.empty() && tag != UNDEFINED_EFFECT;
}

}  // namespace Tal
