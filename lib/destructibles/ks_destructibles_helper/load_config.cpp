#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/loaded_tables.h>
#include <destructibles/ks_destructibles_helper/tracked_source.h>
#include <destructibles/load_rules.h>
#include <render/render_system.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <optional>
#include <utility>

namespace Tal {
namespace {

using database_format::kDatabaseFile;
namespace keys = database_format::keys;

// The frame of the last reload that a change of the file caused; shared by all helpers.
std::uint32_t lastReloadStamp = 0;

}  // namespace

bool KsDestructiblesHelper::loadConfig(bool force) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::loadConfig", kSource, 356);
  if (s_hasLoadedDestrXml && !force) return false;
  // Before the file is opened, so that later helpers do not try a missing file again.
  s_hasLoadedDestrXml = true;
  Tables_t last = takeTables();
  try {
    const SmartPointer<DataSection> root = FS::Utils::openSection(kDatabaseFile, false, nullptr);
    if (!root) return false;
    fillTables(*root, std::move(last));
  } catch (...) {
    // A part of the database would be taken for the whole.
    static_cast<void>(takeTables());
    s_hasLoadedDestrXml = false;
    throw;
  }
  if (s_lastLoad.lastAchievementTag) structureAchievementTag_ = *s_lastLoad.lastAchievementTag;
  loadedConfigSignal_();
  return true;
}

// From the last load's tables, if they were of this content or of what a save has made of it; else anew.
void KsDestructiblesHelper::fillTables(DataSection& root, Tables_t last) {
  const std::uint64_t contentStamp = root.contentStamp();
  if (contentStamp != 0 && contentStamp == last.lastLoad.contentStamp) return restoreLoaded(std::move(last));
  if (contentStamp != 0 && contentStamp == last.lastLoad.savedStamp) {
    restoreLoaded(std::move(last));
    return readSaved(root);
  }
  last = {};
  readAll(root);
  s_lastLoad.contentStamp = contentStamp;
}

void KsDestructiblesHelper::readAll(DataSection& root) {
  load_rules::forEachSection(root,
                             [this](KsDestructibleType type, const SmartPointer<DataSection>& category, int) {
                               for (const SmartPointer<DataSection>& entry : *category)
                                 readEntry(type, entry->readString(keys::kFileName, "", 0), *entry);
                               if (type == DT_STRUCTURE && category->childCount() > 0)
                                 s_lastLoad.lastAchievementTag = structureAchievementTag_;
                             });
}

// Every structure of the file sets the tag, on purpose: the one that stays is that of the last.
void KsDestructiblesHelper::readEntry(KsDestructibleType type, std::string model, DataSection& entry) {
  struct Places {
    KsDestructiblesHelper& helper;
    std::string model;

    auto& fragile() { return load_rules::recordOf(s_destrFragileMap, std::move(model)); }
    auto& fallingAtom() { return load_rules::recordOf(s_destrFallingAtomMap, std::move(model)); }
    auto& achievementTag() { return helper.structureAchievementTag_; }
    auto& modules() { return load_rules::recordOf(s_destrModuleMap, model); }
    auto& states() { return load_rules::recordOf(s_destrStateMap, model).states; }
  };
  load_rules::readEntry(type, entry, Places{*this, std::move(model)});
}

// After the tables were restored to what the last load made of them, with some models saved since: the
// entries of those, and the tag that a load leaves.
void KsDestructiblesHelper::readSaved(DataSection& root) {
  const std::vector<std::string> models = std::exchange(s_lastLoad.savedModels, {});
  const std::uint64_t contentStamp = std::exchange(s_lastLoad.savedStamp, 0);
  s_lastLoad.contentStamp = 0;  // until the tables are of one content again
  for (const std::string& model : models) {
    s_destrStateMap.erase(model);
    s_destrModuleMap.erase(model);
    s_destrFragileMap.erase(model);
    s_destrFallingAtomMap.erase(model);
    for (const load_rules::Entry& entry : load_rules::findEntries(root, model))
      readEntry(entry.category, model, *entry.entry);
  }
  s_lastLoad.lastAchievementTag = std::nullopt;
  load_rules::forEachSection(root, [](KsDestructibleType type, const SmartPointer<DataSection>& category,
                                      int) {
    const int count = category->childCount();
    if (type == DT_STRUCTURE && count > 0)
      s_lastLoad.lastAchievementTag = category->child(count - 1)->readString(keys::kAchievementTag, "", 0);
  });
  s_lastLoad.contentStamp = contentStamp;
}

void KsDestructiblesHelper::onResourceModified(const BasicStringRef& /*basePath*/,
                                               const BasicStringRef& resourceName, Action /*action*/) {
  const TrackedScope tracked("Tal::KsDestructiblesHelper::onResourceModified", kSource, 2048);
  if (resourceName.find(kDatabaseFile) == BasicStringRef::npos) return;
  const std::uint32_t stamp = rs().frameStamp();
  if (stamp == lastReloadStamp) return;
  lastReloadStamp = stamp;
  loadConfig(true);
}

ks::Connection KsDestructiblesHelper::connectLoadedConfigSignal(std::function<void()> slot) const {
  return loadedConfigSignal_.connect(std::move(slot));
}

}  // namespace Tal
