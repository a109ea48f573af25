#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/loaded_tables.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <destructibles/model_saving.h>
#include <destructibles/save_rules.h>
#include <destructibles/unwritten_database.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>
#include <resources/save_group.h>

namespace Tal {
namespace {

using database_format::kDatabaseFile;
namespace keys = database_format::keys;

// Null when there is none.
template <class Record>
const Record* recordIn(const std::map<std::string, Record>& table, const std::string& model) {
  const auto record = table.find(model);
  return record != table.end() ? &record->second : nullptr;
}

}  // namespace

bool KsDestructiblesHelper::saveConfig() {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::saveConfig", kSource, 488);
  // Whatever the flag says from here on, entries that no save has brought to the file go with this helper.
  if (isMissingInDestructiblesXml_) s_lastLoad.stillMissing.insert_or_assign(this, destructibleType_);
  isMissingInDestructiblesXml_ = false;
  if (!writeToFile()) return false;
  if (getCategoryName().empty()) return false;
  DataSectionCache::purge(kDatabaseFile, false);
  loadConfig(true);
  return true;
}

// Holds no section any more when it returns.
bool KsDestructiblesHelper::writeToFile() {
  UnwrittenDatabase unwritten;
  // The many saves below reach the disk as one.
  SaveGroup saves;
  SmartPointer<DataSection> root = FS::Utils::openSection(kDatabaseFile, false, nullptr);
  if (!root) return false;
  unwritten.setEdited(true);
  const std::uint64_t contentStamp = root->contentStamp();
  const bool isOfModelAlone =
      save_rules::write(root, ModelSaving::contentOf(*this), ModelSaving::stepsOf(*this));
  if (!saves.commitOrReport()) return false;
  unwritten.setEdited(false);
  ModelSaving::note({this}, isOfModelAlone ? contentStamp : 0, root->contentStamp());
  return true;
}

save_rules::Content ModelSaving::contentOf(const KsDestructiblesHelper& helper) {
  using Helper = KsDestructiblesHelper;
  save_rules::Content content;
  content.model = helper.modelName_;
  content.category = helper.destructibleType_;
  content.achievementTag = helper.structureAchievementTag_;
  const auto* const states = recordIn(Helper::s_destrStateMap, content.model);
  if (states != nullptr) content.states = &states->states;
  content.modules = recordIn(Helper::s_destrModuleMap, content.model);
  content.fragile = recordIn(Helper::s_destrFragileMap, content.model);
  content.fallingAtom = recordIn(Helper::s_destrFallingAtomMap, content.model);
  content.bspMaterials = &helper.bspMaterialNames_;
  content.kinds = &helper.materialNames_;
  return content;
}

save_rules::Steps ModelSaving::stepsOf(KsDestructiblesHelper& helper) {
  using Helper = KsDestructiblesHelper;
  const std::string& model = helper.modelName_;
  return {
      .removeSections =
          [&helper](auto& root) {
            const int count = root->childCount();
            helper.deleteDuplicate(root, 0);
            return root->childCount() != count;
          },
      .removeEntries =
          [&](auto& section, int, bool keepsFirst) {
            const int found = keepsFirst ? section->findChildWith(keys::kFileName, model) : -1;
            SmartPointer<DataSection> kept = section->child(found);
            const int behindKept = kept ? found + 1 : section->childCount();
            helper.deleteDuplicate(section, keepsFirst ? behindKept : 0);
            return kept;
          },
      .writeFragile =
          [&](auto& entry) { helper.makeFragileXmlTag(Helper::s_destrFragileMap.at(model), entry); },
      .writeFallingAtom =
          [&](auto& entry) { helper.makeFallingAtomXmlTag(Helper::s_destrFallingAtomMap.at(model), entry); },
      .writeModules =
          [&](auto& modules) { helper.makeModulesXmlTag(Helper::s_destrModuleMap.at(model), modules); },
      .writeStates =
          [&](auto& states) { helper.makeStatesXmlTag(Helper::s_destrStateMap.at(model), states); }};
}

void KsDestructiblesHelper::makeFragileXmlTag(const KsDestructibleFragileDesc& desc,
                                              SmartPointer<DataSection>& entry) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeFragileXmlTag", kSource, 622);
  save_rules::writeFragile(modelName_, desc, *entry);
}

void KsDestructiblesHelper::makeFallingAtomXmlTag(const KsDestructibleFallingAtomDesc& desc,
                                                  SmartPointer<DataSection>& entry) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeFallingAtomXmlTag", kSource, 661);
  save_rules::writeFallingAtom(modelName_, desc, *entry);
}

void KsDestructiblesHelper::makeModulesXmlTag(const ModuleTable& modules,
                                              SmartPointer<DataSection>& modulesSection) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeModulesXmlTag", kSource, 698);
  save_rules::writeModules(modules, bspMaterialNames_, materialNames_, *modulesSection);
}

void KsDestructiblesHelper::makeStatesXmlTag(const DestrStates_t& states,
                                             SmartPointer<DataSection>& statesSection) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::makeStatesXmlTag", kSource, 764);
  save_rules::writeStates(states.states, *statesSection);
}

void KsDestructiblesHelper::deleteDuplicate(SmartPointer<DataSection>& section, int firstIndex) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::deleteDuplicate", kSource, 815);
  save_rules::removeEntries(modelName_, *section, firstIndex);
}

// Mind the name: true means that the tag is to be written.
bool KsDestructiblesHelper::checkTagForEmpty(const std::string& tag) {
  return save_rules::isTagWritten(tag);
}

}  // namespace Tal
