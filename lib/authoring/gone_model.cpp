#include <authoring/catalogue.h>
#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <authoring/gone_model.h>
#include <authoring/kept_model.h>
#include <authoring/save_losses.h>
#include <authoring/thrown_away.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>
#include <resources/resource_name.h>
#include <resources/save_group.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tal::authoring {
namespace {

using database_format::kDatabaseFile;

// What the resource roots have in its place may be the model, if it cannot be looked at.
bool isGone(const std::string& modelName) {
  const FS::MultiFileSystem* const files = FS::fileSystem();
  if (files == nullptr || modelName.empty()) return false;
  if (!canNameModel(modelName)) return true;
  std::string fault;
  return !files->find(modelName, &fault) && fault.empty();
}

std::string reasonOf(const std::string& modelName) {
  const std::string name = quotedName(modelName);
  const std::string file = kDatabaseFile;
  if (canNameModel(modelName)) {
    return "the resource roots hold no model " + name + ", only " + file +
           " has entries of it; import the model first, or convert it to none, which removes them";
  }
  const std::string refusal = FS::MultiFileSystem::refusalOf(modelName);
  const std::string fault =
      refusal.empty() ? "is spelled " + quotedName(normalisedName(modelName)) + " in the database" : refusal;
  return "the model name " + name + ' ' + fault + ", so the entries that " + file +
         " has under it are no model's; use another name, or convert this one to none, which removes them";
}

// A session has the record of its category alone.
Description ofItsCategory(Description description) {
  if (description.category != DT_FRAGILE) description.fragile.reset();
  if (description.category != DT_FALLING_ATOMS) description.fallingAtom.reset();
  if (description.category != DT_STRUCTURE) {
    description.achievementTag.clear();
    description.modules.clear();
  }
  return description;
}

std::optional<GoneModel> readFrom(const DataSection& database, const std::string& modelName) {
  if (!isGone(modelName)) return std::nullopt;
  FileEntries file = entriesIn(database, modelName);
  if (file.entries.empty()) return std::nullopt;
  GoneModel gone{modelName, reasonOf(modelName), ofItsCategory(std::move(file.description)), {}};
  for (EntryPlace& place : file.entries) gone.sections.push_back(std::move(place.section));
  return gone;
}

void eraseEntries(const DataSection& database, const std::string& modelName) {
  for (const SmartPointer<DataSection> section : database) {
    if (database_format::categoryOfSection(section->tag()) == DT_NON_DESTRUCTIBLE) continue;
    for (int place = 0;
         (place = section->findChildWith(database_format::keys::kFileName, modelName, place)) != -1;)
      section->removeChild(section->child(place));
  }
}

std::vector<std::string> warningsOf(const std::string& modelName) {
  std::vector<std::string> warnings;
  for (const RemovedSection& section : sectionsRemovedBySave(modelName)) {
    warnings.push_back("the section " + quotedName(section.tag) + " has the <filename> " +
                       quotedName(modelName) + " itself and stays as it is; take that <filename> out of " +
                       kDatabaseFile);
  }
  return warnings;
}

Removal refusedRemoval(std::string reason) {
  return {refused(std::move(reason)), {}};
}

// Edits the document and writes it.
Removal removeAndSave(const std::string& modelName) {
  SaveGroup saves;
  const SmartPointer<DataSection> database = openDatabase();
  if (!database) {
    return refusedRemoval(std::string(kDatabaseFile) +
                          " cannot be read, so nothing was removed; restore the file and try again");
  }
  std::optional<GoneModel> gone = readFrom(*database, modelName);
  if (!gone) {
    return refusedRemoval(quotedName(modelName) + " is no model that is gone and has entries in " +
                          kDatabaseFile +
                          ", so nothing was removed; if there is such a model, open and "
                          "convert it");
  }
  Removal removal{{}, *std::move(gone)};
  const Description& description = removal.removed.description;
  if (description.category != DT_NON_DESTRUCTIBLE) {
    removal.outcome.changes.push_back({"category", std::string(categoryName(description.category)),
                                       std::string(categoryName(DT_NON_DESTRUCTIBLE))});
  }
  removal.outcome.warnings = warningsOf(modelName);
  const RestoreTarget target = targetOfGone(modelName, entriesIn(*database, modelName).description);
  std::ranges::move(linesOfSave(*database, DT_NON_DESTRUCTIBLE, target),
                    std::back_inserter(removal.outcome.warnings));
  eraseEntries(*database, modelName);
  database->save();
  if (saves.commit()) return removal;
  DataSectionCache::discard(kDatabaseFile);
  return refusedRemoval(refusalOfFailedSave());
}

}  // namespace

std::optional<GoneModel> readGoneModel(const std::string& modelName) {
  if (!isGone(modelName)) return std::nullopt;
  const SmartPointer<DataSection> database = openDatabase();
  return database ? readFrom(*database, modelName) : std::nullopt;
}

Removal removeGoneModel(const std::string& modelName) {
  if (SaveGroup::isAnyOpen())
    return refusedRemoval("the program has a group of saves open, so nothing was removed; close that first");
  if (KeptModel::isOpen(modelName)) {
    return refusedRemoval("the model " + quotedName(modelName) +
                          " is open in this program; convert it there, or close it first");
  }
  // What another program saves is taken over before, or waits until this is saved.
  const SaveLock lock(kDatabaseFile);
  if (!lock.isHeld()) return refusedRemoval(refusalOfFailedSave());
  try {
    return removeAndSave(modelName);
  } catch (...) {
    DataSectionCache::discard(kDatabaseFile);  // half an edit must not reach the file with another save
    throw;
  }
}

}  // namespace Tal::authoring
