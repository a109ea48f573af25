#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <authoring/open_model.h>
#include <authoring/save_losses.h>
#include <authoring/session.h>
#include <authoring/thrown_away.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>
#include <resources/save_group.h>

#include <algorithm>
#include <optional>
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
                         const Description::Modules& removedTheirs, std::vector<SaveWarning>& warnings) {
  ThrownAway values;
  values.category = DT_STRUCTURE;
  values.values.modules = removedTheirs;
  for (const auto& [name, reason] : dropped) {
    const auto module = file.description.modules.find(name);
    if (module != file.description.modules.end()) values.values.modules.insert(*module);
  }
  for (std::string& line : linesOf(values, targetOf(helper)))
    warnings.push_back({SaveWarning::Code::thrownAway, "", std::move(line)});
}

// The keys that a save takes out of the model's entry, since they have no value.
std::vector<BasicStringRef> keysToRemove(const Description& now) {
  namespace keys = database_format::keys;
  const bool isFragile = now.fragile.has_value();
  std::string tag = now.achievementTag;
  if (isFragile) tag = now.fragile->achievementTag;
  if (now.fallingAtom) tag = now.fallingAtom->achievementTag;
  std::vector<BasicStringRef> removed;
  if (tag.empty() || tag == UNDEFINED_EFFECT) removed.emplace_back(keys::kAchievementTag);
  if (isFragile && now.fragile->hitEffect.empty()) removed.emplace_back(keys::kHitEffect);
  if (isFragile && now.fragile->matName.empty()) removed.emplace_back(keys::kMaterialName);
  return removed;
}

// A fault when the entry to be written has such a key more than once, since taking out the first would make
// the next one count.
Result<void> checkRemovedKeys(const DataSection& database, const std::string& modelName,
                              const Description& now) {
  for (const BasicStringRef key : keysToRemove(now)) {
    if (countInOwnEntry(database, modelName, now.category, key) < 2) continue;
    return refused("the entry of " + quotedName(modelName) + " has the key " + std::string(key) +
                       " more than once, and a save without a value for it would leave one of them; nothing "
                       "was saved",
                   "take them out of " + std::string(database_format::kDatabaseFile));
  }
  return {};
}

// A fault when the file as it is now must not be saved to.
Result<void> checkDatabaseOfSave(const DataSection& database, const std::string& modelName,
                                 const Description& now) {
  for (const RemovedSection& removed : sectionsRemovedBySave(database, modelName)) {
    if (removed.foreign.empty()) continue;
    return refused("the section " + quotedName(removed.tag) + " of " + database_format::kDatabaseFile +
                       " has the <filename> " + quotedName(modelName) +
                       " itself, and a save would remove all of it, " + removed.foreign +
                       " too; nothing was saved",
                   "take that <filename> out of the file");
  }
  return checkRemovedKeys(database, modelName, now);
}

constexpr const char* kAnyState = "state";

Fault unreadDatabase() {
  return {FaultKind::system,
          std::string(database_format::kDatabaseFile) + " cannot be read, so nothing was saved",
          "restore the file and save again"};
}

}  // namespace

std::map<std::string, std::string> Session::droppedModules() {
  return authoring::droppedModules(helper(), model_->description().modules);
}

std::vector<SaveWarning> Session::saveWarnings() {
  const SmartPointer<DataSection> database = openDatabase();
  return database ? warningsOf(*database) : std::vector<SaveWarning>();
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
  warnOfDroppedValues(helper(), file, dropped, model_->removedTheirs(), warnings);
  if (!isOnlyRewritten(file, ownSection)) warnOfThrownAway(helper(), database, warnings);
  warnOfEntries(file, ownSection, warnings);
  for (std::string& loss : lossesOfSave(database, modelName(), now.category))
    warnings.push_back({SaveWarning::Code::lostContent, "", std::move(loss)});
  return warnings;
}

Result<Outcome> Session::save() {
  if (SaveGroup::isAnyOpen()) {
    return refused("the program has a group of saves open, so nothing was saved", "close that first");
  }
  if (auto checked = checkEdit(); !checked) return std::move(checked).fault();
  // What another program saves for this model is taken over before, or waits until this is saved.
  const auto lock = SaveLock::acquire(database_format::kDatabaseFile);
  if (!lock) return lock.fault();
  model_->refresh();
  return model_->run([this]() -> Result<Outcome> {
    const SmartPointer<DataSection> database = openDatabase();
    if (!database || !model_->isOf(*database)) return unreadDatabase();
    if (auto checked = checkSave(*database); !checked) return std::move(checked).fault();
    Outcome outcome;
    for (SaveWarning& warning : warningsOf(*database)) outcome.warnings.push_back(std::move(warning.text));
    const Description saved = model_->mine();
    const int saves = model_->saves();
    model_->show();
    auto written = category() == DT_NON_DESTRUCTIBLE ? saveNone(*database) : saveEntry(*database);
    if (!written) return std::move(written).fault();
    // A listener may have saved what it edited meanwhile.
    if (model_->saves() == saves) model_->noteSaved(saved);
    model_->refresh();
    return outcome;
  });
}

Result<void> Session::checkSave(const DataSection& database) const {
  if (auto checked = checkDatabaseOfSave(database, modelName(), model_->description()); !checked)
    return checked;
  if (const std::optional<KsDestructibleType> category = model_->takeForeignCategory()) {
    return Fault{FaultKind::changed,
                 "another program has meanwhile changed the category of " + quotedName(modelName()) + " to " +
                     quotedName(categoryName(*category)) + ", so nothing was saved",
                 "look at the model as it is now, and if this is still wanted, do the same again"};
  }
  return {};
}

// A model without a record of states keeps those of the file on purpose; an empty record removes them, also
// those that no load takes.
Result<void> Session::saveEntry(const DataSection& database) {
  const FileEntries file = entriesIn(database, modelName());
  if (category() == DT_STRUCTURE && model_->mine().states.empty() &&
      std::ranges::any_of(file.entries, &EntryPlace::hasStates)) {
    helper().addDestructibleState(kAnyState);
    helper().delDestructibleState(kAnyState);
  }
  if (!helper().saveConfig()) return faultOfFailedSave();
  return {};
}

// Without a category the helper removes the entries and answers false whatever became of that. The document
// that it edits tells whether they are gone from it, a group of the session's own whether that was written.
Result<void> Session::saveNone(const DataSection& database) {
  SaveGroup saves;
  helper().saveConfig();
  const bool isRemoved = entriesIn(database, modelName()).entries.empty();
  auto written = isRemoved ? saves.commit() : Result<void>(faultOfFailedSave());
  if (!written) DataSectionCache::discard(database_format::kDatabaseFile);
  return written;
}

}  // namespace Tal::authoring
