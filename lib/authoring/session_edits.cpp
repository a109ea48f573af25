#include <authoring/assign_all.h>
#include <authoring/category.h>
#include <authoring/kept_model.h>
#include <authoring/session.h>
#include <authoring/stored_text.h>
#include <authoring/thrown_away.h>
#include <authoring/value_warnings.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <destructibles/database_format.h>
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
bool isNoTag(BasicStringRef key, const std::string& value) {
  return key == keys::kAchievementTag && value == UNDEFINED_EFFECT;
}

template <class Record>
std::vector<Change> changesBetween(const Record& before, const Record& after) {
  std::vector<Change> changes;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    if (isSameField(field, before, after)) continue;
    Change change;
    change.key = field.key;
    change.before = textOf(valueOf(before, field));
    change.after = textOf(valueOf(after, field));
    if (isNoTag(field.key, change.after)) change.after.clear();
    if (change.after == change.before) continue;
    changes.push_back(std::move(change));
  }
  return changes;
}

// Hands an edited record to the helper. Beside another change a scale is stored exactly; alone, the helper
// takes scales that differ by less than its tolerance as equal.
template <class Record>
void store(const Record& before, const Record& after, const std::function<bool(const Record&)>& update,
           Outcome& outcome) {
  if (isSameRecord(before, after)) return;
  if (update(after)) {
    outcome.changes = changesBetween(before, after);
    return;
  }
  outcome = refused("effectScale: " + floatText(after.effectScale) + " differs from " +
                    floatText(before.effectScale) +
                    " by less than 0.0004, which is not stored; set a value that is farther away");
}

// What was assigned must name a material of the model, and is worth a warning where it is questionable
// otherwise. An unknown health is named by the save.
void checkValues(KsDestructiblesHelper& helper, std::vector<NamedField> fields,
                 const std::vector<Assignment>& assignments, Outcome& outcome) {
  std::erase_if(fields, [&assignments](const NamedField& field) {
    return std::ranges::find(assignments, field.key, &Assignment::key) == assignments.end();
  });
  for (ValueWarning& warning : valueWarningsOf(helper, helper.destructibleType(), fields)) {
    if (warning.code == ValueWarning::Code::unknownHealth) continue;
    if (warning.code == ValueWarning::Code::unknownMaterial) {
      outcome = refused(std::move(warning.text));
      return;
    }
    outcome.warnings.push_back(std::move(warning.text));
  }
}

template <class Record>
Outcome editRecord(KsDestructiblesHelper& helper, Record before, BasicStringRef recordKind,
                   std::vector<Assignment> assignments, const std::function<bool(const Record&)>& update) {
  Outcome outcome = replaceDisplayNames(before, assignments);
  if (!outcome) return outcome;
  Record after = before;
  outcome = assignAll(after, recordKind, assignments);
  if (outcome) checkValues(helper, fieldsOf(after), assignments, outcome);
  if (outcome) store(before, after, update, outcome);
  return outcome;
}

// A structure breaks by its modules, and only an undamaged part makes one. Empty when there is such a part.
std::string refusalOfStructure(const KsDestructiblesHelper& helper) {
  const std::map<std::string, unsigned>& materials = helper.getMaterialNames();
  if (std::ranges::any_of(materials, [&helper](const auto& material) {
        return helper.isMaterialKindUndamaged(material.first);
      }))
    return {};
  return quotedName(helper.modelName()) +
         " cannot be a structure, since it would have no modules and could not break: " +
         missingPartText(helper);
}

void warnOfThrownAway(const ThrownAway& thrownAway, const RestoreTarget& target, Outcome& outcome) {
  std::ranges::move(linesOf(thrownAway, target), std::back_inserter(outcome.warnings));
}

template <class Record>
bool hasHealthOf(const std::optional<Record>& record, const std::optional<Record>& expected) {
  return !record || !expected || record->health == expected->health;
}

// Whether records that were not there before have the health of new ones, as it was estimated once more. Not
// when the visual could not be looked at for one of the estimates, which counts as having none.
bool isAsEstimated(const Description& before, const Description& now, const RestoreTarget& target) {
  const Description& newEntries = target.newEntries;
  const bool isMade = (now.fragile && !before.fragile) || (now.fallingAtom && !before.fallingAtom) ||
                      std::ranges::any_of(now.modules, [&before](const auto& module) {
                        return !before.modules.contains(module.first);
                      });
  if (isMade && target.isHealthUncertain) return false;
  for (const auto& [name, module] : now.modules) {
    const auto expected = newEntries.modules.find(name);
    if (before.modules.contains(name) || expected == newEntries.modules.end()) continue;
    if (module.health != expected->second.health) return false;
  }
  return (before.fragile || hasHealthOf(now.fragile, newEntries.fragile)) &&
         (before.fallingAtom || hasHealthOf(now.fallingAtom, newEntries.fallingAtom));
}

Outcome refusedWithoutEstimate(const std::string& modelName) {
  return refused(
      "the health of " + quotedName(modelName) +
      " cannot be estimated, since its visual cannot be read; nothing was changed: mend that and try "
      "again");
}

}  // namespace

// Why the model's entries cannot be edited at all; empty when they can.
std::string Session::refusalOfEdit() const {
  const std::string fault = faultOfModelName(modelName());
  return fault.empty() ? fault : fault + "; rename the files of the model";
}

// Why the model cannot be of any category; empty when it can.
std::string Session::refusalOfCategory() const {
  if (!database_format::isVariantName(modelName())) return {};
  return quotedName(modelName()) +
         " is a variant (in a folder lod1, lod2, crash or merged); variants have no category of their own, "
         "convert the model that it is a variant of";
}

// Why the model cannot be converted to a category; empty when it can.
std::string Session::refusalOfConversion(KsDestructibleType to) const {
  std::string refusal = refusalOfEdit();
  if (refusal.empty() && to != DT_NON_DESTRUCTIBLE) refusal = refusalOfCategory();
  if (refusal.empty() && to == DT_STRUCTURE && category() != to) refusal = refusalOfStructure(helper());
  return refusal;
}

Outcome Session::convert(KsDestructibleType to) {
  if (const std::string refusal = refusalOfConversion(to); !refusal.empty()) return refused(refusal);
  return model_->edit([this, to] { return convertTo(to); });
}

Outcome Session::convertTo(KsDestructibleType to) {
  const KsDestructibleType from = category();
  if (from == to) {
    // A variant has no category but may have entries.
    if (to == DT_NON_DESTRUCTIBLE) helper().setAsNonDestructible(/*force=*/true);
    return {};
  }
  Outcome outcome;
  const Description kept = model_->kept();
  const RestoreTarget target = targetOf(helper());
  // What the file holds is not lost before the save.
  const Description unsaved = merged(model_->base(), model_->description(), target.newEntries);
  warnOfThrownAway({from, unsaved, target.newEntries, false, true}, target, outcome);
  if (to == DT_NON_DESTRUCTIBLE) {
    helper().setAsNonDestructible(/*force=*/true);
  } else {
    model_->setCategory(to);
  }
  if (!isAsEstimated(kept, model_->description(), target)) {
    model_->restore(kept);
    return refusedWithoutEstimate(modelName());
  }
  const bool isMadeAnew = from == DT_NON_DESTRUCTIBLE && to == model_->base().category;
  if (isMadeAnew) warnOfThrownAway({to, model_->base(), model_->description()}, targetOf(helper()), outcome);
  outcome.changes.push_back({"category", std::string(categoryName(from)), std::string(categoryName(to))});
  return outcome;
}

Outcome Session::convertAsSuggested() {
  const KsDestructibleType category = suggestedCategory();
  if (category != DT_NON_DESTRUCTIBLE) return convert(category);
  if (const std::string refusal = refusalOfCategory(); !refusal.empty()) return refused(refusal);
  return refused("the materials of " + quotedName(modelName()) +
                 " suggest no category, so nothing was changed: " + missingPartText(helper()) +
                 ", or convert it to a category by name");
}

Outcome Session::reset() {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  return model_->edit([this]() -> Outcome {
    const Description before = model_->description();
    if (before.category == DT_NON_DESTRUCTIBLE) {
      const std::string refusal = refusalOfCategory();
      return refused(!refusal.empty()
                         ? refusal
                         : quotedName(modelName()) +
                               " is not destructible and has nothing to reset; convert it first");
    }
    const Description kept = model_->kept();
    model_->reset();
    const RestoreTarget target = targetOf(helper());
    if (!isAsEstimated(withoutItsRecords(kept), model_->description(), target)) {
      model_->restore(kept);
      return refusedWithoutEstimate(modelName());
    }
    Outcome outcome;
    warnOfThrownAway({before.category, before, model_->description()}, target, outcome);
    return outcome;
  });
}

Outcome Session::set(const std::vector<Assignment>& assignments) {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  return model_->edit([&]() -> Outcome {
    const Description now = model_->description();
    if (now.category == DT_STRUCTURE) return setAchievementTag(assignments);
    if (now.fragile) {
      return editRecord<KsDestructibleFragileDesc>(
          helper(), *now.fragile, "a fragile", assignments,
          [this](const auto& record) { return helper().updateFragileParameters(record); });
    }
    if (now.fallingAtom) {
      return editRecord<KsDestructibleFallingAtomDesc>(
          helper(), *now.fallingAtom, "a falling atom", assignments,
          [this](const auto& record) { return helper().updateFallingAtomParameters(record); });
    }
    if (const std::string refusal = refusalOfCategory(); !refusal.empty()) return refused(refusal);
    return refused(quotedName(modelName()) + " is not destructible and has nothing to set; convert it first");
  });
}

Outcome Session::setModule(const std::string& module, const std::vector<Assignment>& assignments) {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  return model_->edit([&]() -> Outcome {
    const Description now = model_->description();
    if (now.category != DT_STRUCTURE) {
      if (const std::string refusal = refusalOfCategory(); !refusal.empty()) return refused(refusal);
      return refused(quotedName(modelName()) + " is no structure and has no modules; convert it first");
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
        helper(), existing->second, "a module", assignments,
        [&](const auto& record) { return helper().updateDestructibleModule(module, record, false); });
  });
}

Outcome Session::setAchievementTag(const std::vector<Assignment>& assignments) const {
  Outcome outcome = checkKeysAreDistinct(assignments);
  if (!outcome) return outcome;
  for (const Assignment& assignment : assignments) {
    if (assignment.key == keys::kAchievementTag) continue;
    const std::vector<std::string> moduleKeys = keysOf<KsDestructibleModuleDesc>();
    const bool isModuleKey =
        std::find(moduleKeys.begin(), moduleKeys.end(), assignment.key) != moduleKeys.end();
    if (isModuleKey || KsDestructibleModuleDesc().property(assignment.key).isValid()) {
      return refused("a structure has no " + assignment.key +
                     " of its own, its modules have; name the module");
    }
    return refused(unknownKey(assignment.key, "a structure", {keys::kAchievementTag}));
  }
  for (const Assignment& assignment : assignments) {
    std::string tag;
    outcome = storedValue(assignment, tag);
    if (!outcome) return outcome;
    checkValues(helper(), {{keys::kAchievementTag, tag}}, assignments, outcome);
    std::string before;
    helper().getStructureAchievementTag(before);
    if (!helper().updateStructureAchievementTag(tag)) continue;
    if (isNoTag(keys::kAchievementTag, tag)) tag.clear();
    if (tag != before) outcome.changes.push_back({keys::kAchievementTag, before, tag});
  }
  return outcome;
}

}  // namespace Tal::authoring
