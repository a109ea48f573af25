#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <authoring/merge.h>
#include <authoring/open_model.h>
#include <authoring/save_losses.h>
#include <authoring/session.h>
#include <authoring/thrown_away.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <destructibles/load_rules.h>
#include <destructibles/model_saving.h>
#include <destructibles/save_rules.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>
#include <resources/save_group.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

namespace Tal::authoring {
namespace {

template <class Record>
void warnOfHealth(const Record& record, const std::string& module, std::vector<SaveWarning>& warnings) {
  if (record.health != health_rules::kUnknownHealth) return;
  const std::string subject = module.empty() ? "" : "module " + quotedName(module) + ", ";
  warnings.push_back({SaveWarning::Code::unknownHealth, module,
                      subject + "health: -1 stands for \"could not be estimated\"; set one"});
}

void warnOfModules(const Description::Modules& modules, const std::map<std::string, std::string>& dropped,
                   std::vector<SaveWarning>& warnings) {
  for (const auto& [name, reason] : dropped) {
    warnings.push_back(
        {SaveWarning::Code::droppedModule, name, "module " + quotedName(name) + " is not saved: " + reason});
  }
  if (dropped.size() == modules.size()) {
    warnings.push_back({SaveWarning::Code::noModules, "",
                        "the structure is saved without a module, so nothing of it can break; import the "
                        "model with an undamaged part that is a BSP material"});
  }
  for (const auto& [name, module] : modules) {
    if (!dropped.contains(name)) warnOfHealth(module, name, warnings);
  }
}

// In each section of the model's own tag the first entry stays; all others are removed. Whoever removes the
// only one knows.
void warnOfEntries(const FileEntries& file, BasicStringRef ownSection, std::vector<SaveWarning>& warnings) {
  if (ownSection.empty() && file.entries.size() < 2) return;
  for (const EntryPlace& entry : file.entries) {
    const bool isOwn = entry.section == ownSection;
    if (isOwn && entry.isFirst) continue;
    warnings.push_back({SaveWarning::Code::removedEntry, "",
                        std::string(isOwn ? "another" : "the") + " entry of the model in the section " +
                            quotedName(entry.section) + " is removed from the file"});
  }
}

// The filler gives a structure the modules that its entry lacks.
void warnOfNewModules(const FileEntries& file, const Description& now,
                      const std::map<std::string, std::string>& dropped, std::vector<SaveWarning>& warnings) {
  if (file.description.category != DT_STRUCTURE) return;
  for (const auto& [name, module] : now.modules) {
    if (file.description.modules.contains(name) || dropped.contains(name)) continue;
    warnings.push_back({SaveWarning::Code::addedModule, name,
                        "module " + quotedName(name) + " is added with health " +
                            std::to_string(module.health) + ", since the file has none for this material"});
  }
}

// A save that only rewrites the model's one entry replaces nothing but what was edited.
bool isOnlyRewritten(const FileEntries& file, BasicStringRef ownSection) {
  return file.entries.empty() || (file.entries.size() == 1 && file.entries.front().section == ownSection);
}

void warnOfThrownAway(KsDestructiblesHelper& helper, const DataSection& database,
                      std::vector<SaveWarning>& warnings) {
  for (std::string& line : linesOfSave(database, helper.destructibleType(), targetOf(helper)))
    warnings.push_back({SaveWarning::Code::thrownAway, "", std::move(line)});
}

// Of a structure that stays one only the modules go that are not saved.
void warnOfDroppedValues(KsDestructiblesHelper& helper, const FileEntries& file,
                         const std::map<std::string, std::string>& dropped,
                         const Description::Modules& removed, std::vector<SaveWarning>& warnings) {
  ThrownAway values;
  values.category = DT_STRUCTURE;
  values.values.modules = removed;
  for (const auto& [name, reason] : dropped) {
    const auto module = file.description.modules.find(name);
    if (module != file.description.modules.end()) values.values.modules.insert(*module);
  }
  for (std::string& line : linesOf(values, targetOf(helper)))
    warnings.push_back({SaveWarning::Code::thrownAway, "", std::move(line)});
}

// The modules that another program has changed since the author removed them.
Description::Modules removedTheirs(const OpenModel& model) {
  Description::Modules removed;
  for (const Conflict& conflict : model.conflicts()) {
    const auto module = model.file().modules.find(conflict.field.module);
    if (!conflict.mine && module != model.file().modules.end()) removed.insert(*module);
  }
  return removed;
}

// Values that both have; what the author has no more is thrown away.
void warnOfConflicts(const std::vector<Conflict>& conflicts, std::vector<SaveWarning>& warnings) {
  for (const Conflict& conflict : conflicts) {
    if (conflict.mine && conflict.field != categoryField())
      warnings.push_back({SaveWarning::Code::conflict, conflict.field.module, lineOf(conflict)});
  }
}

// What a save writes of a model that has this, which has to outlive the content.
save_rules::Content contentOf(const KsDestructiblesHelper& helper, const Description& now) {
  save_rules::Content content;
  content.model = helper.modelName();
  content.category = now.category;
  content.achievementTag = now.achievementTag;
  content.modules = &now.modules;
  content.states = &now.states;
  content.fragile = now.fragile ? &*now.fragile : nullptr;
  content.fallingAtom = now.fallingAtom ? &*now.fallingAtom : nullptr;
  content.bspMaterials = &helper.bspMaterialNames();
  content.kinds = &helper.getMaterialNames();
  return content;
}

// A fault when the entry to be written has a key more than once that a save takes out, since it has no value:
// without the first the next one would count.
Result<void> checkRemovedKeys(const DataSection& database, const save_rules::Content& content) {
  for (const save_rules::KeyOfRecord& field : save_rules::keysOf(content)) {
    if (field.isWritten || countInOwnEntry(database, content.model, content.category, field.key) < 2)
      continue;
    return refused("the entry of " + quotedName(content.model) + " has the key " + std::string(field.key) +
                       " more than once, and a save without a value for it would leave one of them; nothing "
                       "was saved",
                   "take them out of " + std::string(database_format::kDatabaseFile));
  }
  return {};
}

// A fault when the file as it is now must not be saved to.
Result<void> checkDatabaseOfSave(const DataSection& database, const save_rules::Content& content) {
  for (const RemovedSection& removed : sectionsRemovedBySave(database, content.model)) {
    if (removed.foreign.empty()) continue;
    return refused("the section " + quotedName(removed.tag) + " of " + database_format::kDatabaseFile +
                       " has the <filename> " + quotedName(content.model) +
                       " itself, and a save would remove all of it, " + removed.foreign +
                       " too; nothing was saved",
                   "take that <filename> out of the file");
  }
  return checkRemovedKeys(database, content);
}

Fault notSaved(Fault fault) {
  fault.what += ", so nothing was saved";
  if (fault.kind == FaultKind::missing) fault.remedy = "restore that and save again";
  return fault;
}

// The file cannot be read for a moment, or has changed though it is locked.
Fault changedMeanwhile() {
  return {FaultKind::changed,
          std::string(database_format::kDatabaseFile) + " is another one than was read, so nothing was saved",
          "save again"};
}

}  // namespace

/// A save of one open model that nothing stands against.
struct CheckedSave {
  OpenModel* model;
  Description saved;    ///< what the author has
  Description written;  ///< what of it counts
  bool writesStates;
  int savesBefore;       ///< of the model
  Outcome outcome = {};  ///< the warnings
};

namespace {

/// The content stamps of the database around a write; the first is 0 when it has touched other entries, too.
struct StampsOfWrite {
  std::uint64_t before = 0;
  std::uint64_t now = 0;
};

StampsOfWrite write(const SmartPointer<DataSection>& database, const std::vector<CheckedSave>& saves) {
  std::vector<save_rules::Content> contents;
  for (const CheckedSave& save : saves) {
    contents.push_back(contentOf(save.model->helper(), save.written));
    if (!save.writesStates) contents.back().states = nullptr;
  }
  const std::uint64_t before = database->contentStamp();
  const bool isOfThemAlone = save_rules::write(database, *load_rules::entryIndex(*database), contents);
  return {isOfThemAlone ? before : 0, database->contentStamp()};
}

// Has the tables and the models follow what was saved.
void follow(const std::vector<CheckedSave>& saves, const StampsOfWrite& stamps) {
  std::vector<KsDestructiblesHelper*> helpers;
  helpers.reserve(saves.size());
  for (const CheckedSave& save : saves) helpers.push_back(&save.model->helper());
  ModelSaving::note(helpers, stamps.before, stamps.now);
  DataSectionCache::purge(database_format::kDatabaseFile, false);
  helpers.front()->loadConfig(true);
  for (const CheckedSave& save : saves) {
    // A listener may have saved what it edited meanwhile.
    if (save.model->saves() == save.savesBefore) save.model->noteSaved(save.saved);
    save.model->refresh();
  }
}

}  // namespace

std::map<std::string, std::string> Session::droppedModules() {
  return authoring::droppedModules(helper(), model_->description().modules);
}

Result<std::vector<SaveWarning>> Session::saveWarnings() {
  const auto database = openDatabase();
  if (!database) return database.fault();
  return warningsOf(**database);
}

std::vector<SaveWarning> Session::warningsOf(const DataSection& database) {
  std::vector<SaveWarning> warnings;
  const Description now = model_->description();
  for (const RemovedSection& removed : sectionsRemovedBySave(database, modelName())) {
    warnings.push_back({SaveWarning::Code::removedEntry, "",
                        "the section " + quotedName(removed.tag) +
                            " has the model's <filename> itself and is removed from the file with all that "
                            "it holds"});
  }
  std::map<std::string, std::string> dropped;
  if (now.category == DT_STRUCTURE) {
    dropped = droppedModules();
    warnOfModules(now.modules, dropped, warnings);
  }
  if (now.fragile) warnOfHealth(*now.fragile, "", warnings);
  if (now.fallingAtom) warnOfHealth(*now.fallingAtom, "", warnings);
  const FileEntries file = entriesIn(database, modelName());
  if (now.category == DT_STRUCTURE) warnOfNewModules(file, now, dropped, warnings);
  const BasicStringRef ownSection = database_format::sectionOfCategory(now.category);
  warnOfDroppedValues(helper(), file, dropped, removedTheirs(*model_), warnings);
  warnOfConflicts(model_->conflicts(), warnings);
  if (!isOnlyRewritten(file, ownSection)) warnOfThrownAway(helper(), database, warnings);
  warnOfEntries(file, ownSection, warnings);
  for (std::string& loss : lossesOfSave(database, modelName(), now.category))
    warnings.push_back({SaveWarning::Code::lostContent, "", std::move(loss)});
  return warnings;
}

Result<Outcome> Session::save() {
  auto saved = saveAll({this});
  if (!saved) return std::move(saved).fault();
  return std::move(saved->front());
}

Result<std::vector<Outcome>> Session::saveAll(const std::vector<Session*>& sessions) {
  if (SaveGroup::isAnyOpen()) {
    return refused("the program has a group of saves open, so nothing was saved", "close that first");
  }
  if (sessions.empty()) return std::vector<Outcome>();
  if (std::set(sessions.begin(), sessions.end()).size() != sessions.size())
    return refused("a model is to be saved twice at once, so nothing was saved", "name each session once");
  for (const Session* const session : sessions)
    if (auto checked = session->checkEdit(); !checked) return std::move(checked).fault();
  // What another program saves for these models is taken over before, or waits until they are saved.
  const auto lock = SaveLock::acquire(database_format::kDatabaseFile);
  if (!lock) return lock.fault();
  for (Session* const session : sessions) {
    session->model_->refresh();
    if (const Result<void>& reading = session->model_->reading(); !reading) return notSaved(reading.fault());
  }
  return OpenModel::run([&sessions] { return saveTogether(sessions); });
}

Result<std::vector<Outcome>> Session::saveTogether(const std::vector<Session*>& sessions) {
  for (Session* const session : sessions) session->model_->show();
  auto saves = checkedSaves(sessions);
  if (!saves) return std::move(saves).fault();
  StampsOfWrite stamps;
  auto written = editDatabase([&](const SmartPointer<DataSection>& database) -> Result<void> {
    const auto isChecked = [&database](const CheckedSave& save) { return save.model->isOf(*database); };
    if (!std::ranges::all_of(*saves, isChecked)) return changedMeanwhile();
    const FileBefore before = fileBefore(*database);
    const std::uint64_t stamp = database->contentStamp();
    stamps = write(database, *saves);
    if (database->contentStamp() == stamp) return {};
    for (CheckedSave& save : *saves)
      save.outcome.change = {save.model->helper().modelName(), save.model->file(), save.written, {before}};
    return {};
  });
  if (!written) return std::move(written).fault();
  follow(*saves, stamps);
  std::vector<Outcome> outcomes;
  outcomes.reserve(saves->size());
  for (CheckedSave& save : *saves) outcomes.push_back(std::move(save.outcome));
  return outcomes;
}

// Without a group of saves, in which every file that is looked at is locked.
Result<std::vector<CheckedSave>> Session::checkedSaves(const std::vector<Session*>& sessions) {
  const auto database = openDatabase();
  if (!database) return notSaved(database.fault());
  std::vector<CheckedSave> saves;
  for (Session* const session : sessions) {
    if (!session->model_->isOf(**database)) return changedMeanwhile();
    auto save = session->checkedSave(**database);
    if (!save) return std::move(save).fault();
    saves.push_back(*std::move(save));
  }
  return saves;
}

Result<CheckedSave> Session::checkedSave(const DataSection& database) {
  if (auto checked = checkSave(database); !checked) return std::move(checked).fault();
  CheckedSave save{model_.get(), model_->mine(), model_->description(), false, model_->saves()};
  // A model that has no states, and had none, keeps what else its entry has in their place.
  const FileEntries file = entriesIn(database, modelName());
  save.writesStates =
      !save.written.states.empty() || std::ranges::any_of(file.entries, &EntryPlace::hasStates);
  for (SaveWarning& warning : warningsOf(database)) save.outcome.warnings.push_back(std::move(warning.text));
  return save;
}

Result<void> Session::checkSave(const DataSection& database) const {
  const Description now = model_->description();
  if (auto checked = checkDatabaseOfSave(database, contentOf(helper(), now)); !checked) return checked;
  if (model_->takeCategoryConflict()) {
    return Fault{FaultKind::changed,
                 "another program has meanwhile changed the category of " + quotedName(modelName()) + " to " +
                     quotedName(categoryName(model_->file().category)) + ", so nothing was saved",
                 "look at the model as it is now, and if this is still wanted, do the same again"};
  }
  return {};
}

}  // namespace Tal::authoring
