#include <authoring/assign_all.h>
#include <authoring/category.h>
#include <authoring/merge.h>
#include <authoring/open_model.h>
#include <authoring/session.h>
#include <authoring/stored_text.h>
#include <authoring/thrown_away.h>
#include <authoring/value_warnings.h>
#include <core/contains.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <destructibles/database_format.h>
#include <destructibles/edit_rules.h>
#include <resources/number_text.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;

// A tag of "none" is not stored.
void clearNoTag(std::string& tag) {
  if (tag == UNDEFINED_EFFECT) tag.clear();
}

template <class Record>
void clearNoTag(Record& record) {
  if constexpr (requires { record.achievementTag; }) clearNoTag(record.achievementTag);
}

template <class Record>
std::vector<ValueChange> changesBetween(const Record& before, const Record& after) {
  std::vector<ValueChange> changes;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    if (isSameField(field, before, after)) continue;
    ValueChange change;
    change.key = field.key;
    change.before = textOf(valueOf(before, field));
    change.after = textOf(valueOf(after, field));
    changes.push_back(std::move(change));
  }
  return changes;
}

/// Puts an edited record in its place.
template <class Record>
using PutRecord = std::function<void(Description&, const Record&)>;

// A fault for a scale that differs by less than the helper's tolerance and alone: the helper takes it as
// equal.
template <class Record>
Result<void> checkScale(const Record& before, const Record& after) {
  Record withoutScale = after;
  withoutScale.effectScale = before.effectScale;
  if (isSameRecord(before, after) || !isSameRecord(before, withoutScale)) return {};
  if (!edit_rules::isSameScale(before.effectScale, after.effectScale)) return {};
  return refused("effectScale: " + floatText(after.effectScale) + " differs from " +
                     floatText(before.effectScale) + " by less than 0.0004, which is not stored",
                 "set a value that is farther away");
}

// What was assigned must name a material of the model, and is worth a warning where it is questionable
// otherwise. An unknown health is named by the save.
Result<void> checkValues(KsDestructiblesHelper& helper, std::vector<NamedField> fields,
                         const std::vector<Assignment>& assignments, std::vector<std::string>& warnings) {
  std::erase_if(fields, [&assignments](const NamedField& field) {
    return std::ranges::find(assignments, field.key, &Assignment::key) == assignments.end();
  });
  for (ValueWarning& warning : valueWarningsOf(helper, helper.destructibleType(), fields)) {
    if (warning.code == ValueWarning::Code::unknownHealth) continue;
    if (warning.code == ValueWarning::Code::unknownMaterial) return refused(std::move(warning.text));
    warnings.push_back(std::move(warning.text));
  }
  return {};
}

// Makes the assignments on a record of the author's and puts it in its place.
template <class Record>
Result<Outcome> editRecord(OpenModel& model, const Record& before, BasicStringRef recordKind,
                           const std::vector<Assignment>& assignments, const PutRecord<Record>& put) {
  Outcome outcome;
  const auto byKeys = withoutDisplayNames(before, assignments);
  if (!byKeys) return byKeys.fault();
  Result<Record> after = assigned(before, recordKind, *byKeys, outcome.warnings);
  if (!after) return std::move(after).fault();
  auto checked = checkValues(model.helper(), fieldsOf(*after), *byKeys, outcome.warnings);
  if (checked) checked = checkScale(before, *after);
  if (!checked) return std::move(checked).fault();
  clearNoTag(*after);
  if (isSameRecord(before, *after)) return outcome;
  Description wanted = model.mine();
  put(wanted, *after);
  outcome.change = model.replace(std::move(wanted));
  outcome.changes = changesBetween(before, *after);
  return outcome;
}

// A structure breaks by its modules, and only an undamaged part makes one.
Result<void> checkStructure(const KsDestructiblesHelper& helper) {
  const std::map<std::string, unsigned>& materials = helper.getMaterialNames();
  if (std::ranges::any_of(materials, [&helper](const auto& material) {
        return helper.isMaterialKindUndamaged(material.first);
      }))
    return {};
  return refused(quotedName(helper.modelName()) +
                 " cannot be a structure, since it would have no modules and could not break: " +
                 missingPartText(helper));
}

void warnOfThrownAway(const ThrownAway& thrownAway, const RestoreTarget& target, Outcome& outcome) {
  std::ranges::move(linesOf(thrownAway, target), std::back_inserter(outcome.warnings));
}

// Whether a record is new, which has an estimated health.
bool isRecordNew(const Description& before, const Description& now) {
  return (now.fragile && !before.fragile) || (now.fallingAtom && !before.fallingAtom) ||
         std::ranges::any_of(
             now.modules, [&before](const auto& module) { return !before.modules.contains(module.first); });
}

// The description of the model as one of another category; the records that it has of that count again.
Description converted(Description description, KsDestructibleType to, const Description& newEntries) {
  if (to == DT_NON_DESTRUCTIBLE) return {};
  description.category = to;
  return completed(std::move(description), newEntries);
}

// The description with new records of its category; the hard points of modules stay.
Description withNewRecords(const Description& description, const Description& newEntries) {
  Description result = completed(withoutItsRecords(description), newEntries);
  for (auto& [name, module] : result.modules) {
    const auto old = description.modules.find(name);
    if (old != description.modules.end()) module.effectHP = old->second.effectHP;
  }
  return result;
}

Fault withoutEstimate(const std::string& modelName) {
  return refused("the health of " + quotedName(modelName) +
                     " cannot be estimated, since its visual cannot be read; nothing was changed",
                 "mend that and try again");
}

}  // namespace

// A fault when the model's entries cannot be edited at all.
Result<void> Session::checkEdit() const {
  auto checked = checkModelName(modelName());
  if (checked) return checked;
  return refused(checked.fault().what, "rename the files of the model");
}

// A fault when the model cannot be of any category.
Result<void> Session::checkCategory() const {
  if (!database_format::isVariantName(modelName())) return {};
  return refused(quotedName(modelName()) +
                     " is a variant (in a folder lod1, lod2, crash or merged); variants have no category of "
                     "their own",
                 "convert the model that it is a variant of");
}

// A fault when the model cannot be converted to a category.
Result<void> Session::checkConversion(KsDestructibleType to) const {
  auto checked = checkEdit();
  if (checked && to != DT_NON_DESTRUCTIBLE) checked = checkCategory();
  if (checked && to == DT_STRUCTURE && category() != to) checked = checkStructure(helper());
  return checked;
}

Result<Outcome> Session::convert(KsDestructibleType to) {
  if (auto checked = checkConversion(to); !checked) return std::move(checked).fault();
  return model_->run([this, to] { return convertTo(to); });
}

Result<Outcome> Session::convertTo(KsDestructibleType to) {
  const KsDestructibleType from = category();
  if (from == to) {
    Outcome outcome;
    // A variant has no category but may have entries.
    if (to == DT_NON_DESTRUCTIBLE && !isSame(model_->mine(), {})) outcome.change = model_->replace({});
    return outcome;
  }
  const RestoreTarget target = targetOf(helper());
  Description wanted = converted(model_->mine(), to, target.newEntries);
  const bool isNew = isRecordNew(model_->mine(), wanted);
  if (target.isHealthUncertain && isNew) return withoutEstimate(modelName());
  Outcome outcome;
  // What the file holds is not lost before the save.
  const Description unsaved = merge(model_->file(), model_->description(), target.newEntries).merged;
  warnOfThrownAway({from, unsaved, target.newEntries, false, true}, target, outcome);
  outcome.change = model_->replace(std::move(wanted));
  const bool isMadeAnew = isNew && to == model_->file().category;
  if (isMadeAnew) warnOfThrownAway({to, model_->file(), model_->description()}, target, outcome);
  outcome.changes.push_back({"category", std::string(categoryName(from)), std::string(categoryName(to))});
  return outcome;
}

Result<Outcome> Session::convertAsSuggested() {
  const KsDestructibleType category = suggestedCategory();
  if (category != DT_NON_DESTRUCTIBLE) return convert(category);
  if (auto checked = checkCategory(); !checked) return std::move(checked).fault();
  return refused("the materials of " + quotedName(modelName()) +
                 " suggest no category, so nothing was changed: " + missingPartText(helper()) +
                 ", or convert it to a category by name");
}

Result<Outcome> Session::reset() {
  if (auto checked = checkEdit(); !checked) return std::move(checked).fault();
  return model_->run([this]() -> Result<Outcome> {
    const Description before = model_->description();
    if (before.category == DT_NON_DESTRUCTIBLE) {
      if (auto checked = checkCategory(); !checked) return std::move(checked).fault();
      return refused(quotedName(modelName()) + " is not destructible and has nothing to reset",
                     "convert it first");
    }
    const RestoreTarget target = targetOf(helper());
    if (target.isHealthUncertain) return withoutEstimate(modelName());
    Outcome outcome;
    outcome.change = model_->replace(withNewRecords(model_->mine(), target.newEntries));
    warnOfThrownAway({before.category, before, model_->description()}, target, outcome);
    return outcome;
  });
}

Result<Outcome> Session::set(const std::vector<Assignment>& assignments) {
  if (auto checked = checkEdit(); !checked) return std::move(checked).fault();
  return model_->run([&]() -> Result<Outcome> {
    const Description now = model_->description();
    if (now.category == DT_STRUCTURE) return setAchievementTag(assignments);
    if (now.fragile) {
      return editRecord<KsDestructibleFragileDesc>(
          *model_, *now.fragile, "a fragile", assignments,
          [](Description& wanted, const auto& record) { wanted.fragile = record; });
    }
    if (now.fallingAtom) {
      return editRecord<KsDestructibleFallingAtomDesc>(
          *model_, *now.fallingAtom, "a falling atom", assignments,
          [](Description& wanted, const auto& record) { wanted.fallingAtom = record; });
    }
    if (auto checked = checkCategory(); !checked) return std::move(checked).fault();
    return refused(quotedName(modelName()) + " is not destructible and has nothing to set",
                   "convert it first");
  });
}

Result<Outcome> Session::setModule(const std::string& module, const std::vector<Assignment>& assignments) {
  if (auto checked = checkEdit(); !checked) return std::move(checked).fault();
  return model_->run([&]() -> Result<Outcome> {
    const Description now = model_->description();
    if (now.category != DT_STRUCTURE) {
      if (auto checked = checkCategory(); !checked) return std::move(checked).fault();
      return refused(quotedName(modelName()) + " is no structure and has no modules", "convert it first");
    }
    const auto existing = now.modules.find(module);
    if (existing == now.modules.end()) {
      std::vector<std::string> names;
      for (const auto& [name, record] : now.modules) names.push_back(name);
      return refused(quotedName(modelName()) + " has no module " + quotedName(module) +
                     nameSuggestion(module, names));
    }
    const std::map<std::string, std::string> dropped = droppedModules();
    if (const auto reason = dropped.find(module); reason != dropped.end())
      return refused("module " + quotedName(module) + " cannot be saved: " + reason->second);
    return editRecord<KsDestructibleModuleDesc>(
        *model_, existing->second, "a module", assignments,
        [&](Description& wanted, const auto& record) { wanted.modules.at(module) = record; });
  });
}

Result<Outcome> Session::setAchievementTag(const std::vector<Assignment>& assignments) {
  if (auto checked = checkKeysAreDistinct(assignments); !checked) return std::move(checked).fault();
  for (const Assignment& assignment : assignments) {
    if (assignment.key == keys::kAchievementTag) continue;
    const bool isModuleKey = contains(keysOf<KsDestructibleModuleDesc>(), assignment.key);
    if (isModuleKey || KsDestructibleModuleDesc().property(assignment.key).isValid()) {
      return refused("a structure has no " + assignment.key + " of its own, its modules have",
                     "name the module");
    }
    return unknownKey(assignment.key, "a structure", {keys::kAchievementTag});
  }
  Outcome outcome;
  for (const Assignment& assignment : assignments) {
    Result<std::string> tag = storedValue(assignment, outcome.warnings);
    if (!tag) return std::move(tag).fault();
    auto checked = checkValues(helper(), {{keys::kAchievementTag, *tag}}, assignments, outcome.warnings);
    if (!checked) return std::move(checked).fault();
    clearNoTag(*tag);
    Description wanted = model_->mine();
    const std::string before = std::exchange(wanted.achievementTag, *tag);
    if (*tag == before) continue;
    outcome.change = model_->replace(std::move(wanted));
    outcome.changes.push_back({keys::kAchievementTag, before, *tag});
  }
  return outcome;
}

}  // namespace Tal::authoring
