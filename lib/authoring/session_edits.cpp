#include <authoring/assign_all.h>
#include <authoring/category.h>
#include <authoring/kept_model.h>
#include <authoring/session.h>
#include <authoring/stored_text.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <core/white_space.h>
#include <destructibles/database_format.h>
#include <resources/number_text.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;

constexpr std::size_t kPhysicParams = 7;

template <class Record>
std::vector<Change> changesBetween(const Record& before, const Record& after) {
  std::vector<Change> changes;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    if (isSameField(field, before, after)) continue;
    Change change;
    change.key = field.key;
    change.before = textOf(valueOf(before, field));
    change.after = textOf(valueOf(after, field));
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

template <class Record>
Outcome editRecord(Record before, BasicStringRef recordKind, std::vector<Assignment> assignments,
                   const std::function<void(const std::vector<Assignment>&, Outcome&)>& check,
                   const std::function<bool(const Record&)>& update) {
  Outcome outcome = replaceDisplayNames(before, assignments);
  if (!outcome) return outcome;
  Record after = before;
  outcome = assignAll(after, recordKind, assignments);
  if (outcome) check(assignments, outcome);
  if (outcome) store(before, after, update, outcome);
  return outcome;
}

std::size_t countNumbers(BasicStringRef text, bool& areAllNumbers) {
  std::size_t count = 0;
  areAllNumbers = true;
  while (true) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    if (text.empty()) return count;
    const auto* const end = std::find_if(text.begin(), text.end(), isSpace);
    const auto length = static_cast<std::size_t>(end - text.begin());
    areAllNumbers = areAllNumbers && parseFloat(text.substr(0, length)).has_value();
    text.remove_prefix(length);
    ++count;
  }
}

void checkPhysicParams(const std::string& value, Outcome& outcome) {
  bool areAllNumbers = true;
  const std::size_t count = countNumbers(value, areAllNumbers);
  if (count == kPhysicParams && areAllNumbers) return;
  outcome.warnings.push_back("physicParams: " + quotedName(value) +
                             " is not seven numbers with spaces between them, which the game expects");
}

void checkTag(const std::string& value, Outcome& outcome) {
  if (value != UNDEFINED_EFFECT) return;
  outcome.warnings.emplace_back("achievementTag: \"none\" stands for no tag and is not stored");
}

// A structure breaks by its modules, and only an undamaged part makes one. Empty when there is such a part.
std::string refusalOfStructure(const KsDestructiblesHelper& helper) {
  const std::map<std::string, unsigned>& materials = helper.getMaterialNames();
  if (std::ranges::any_of(materials, [&helper](const auto& material) {
        return helper.isMaterialKindUndamaged(material.first);
      }))
    return {};
  return quotedName(helper.modelName()) +
         " cannot be a structure: none of its materials is an undamaged part (kinds 73 to 86), so it would "
         "have no modules and could not break; import it again with such a material";
}

}  // namespace

// Why the model's entries cannot be edited at all; empty when they can.
std::string Session::refusalOfEdit() const {
  const std::string fault = faultOfModelName(modelName());
  return fault.empty() ? fault : fault + "; rename the files of the model";
}

Outcome Session::convert(KsDestructibleType category) {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  if (category != DT_NON_DESTRUCTIBLE && database_format::isVariantName(modelName())) {
    return refused(quotedName(modelName()) +
                   " is a variant (in a folder lod1, lod2, crash or merged); variants have no category of "
                   "their own, convert the model that it is a variant of");
  }
  if (category == DT_STRUCTURE && this->category() != DT_STRUCTURE) {
    if (const std::string refusal = refusalOfStructure(helper()); !refusal.empty()) return refused(refusal);
  }
  return model_->edit([this, category] {
    Outcome outcome;
    const KsDestructibleType before = helper().destructibleType();
    // A variant has no category but may have entries.
    if (category == DT_NON_DESTRUCTIBLE) {
      helper().setAsNonDestructible(/*force=*/true);
    } else {
      model_->setCategory(category);
    }
    if (before != category) {
      outcome.changes.push_back(
          {"category", std::string(categoryName(before)), std::string(categoryName(category))});
    }
    return outcome;
  });
}

Outcome Session::reset() {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  return model_->edit([this] {
    const Description before = model_->description();
    helper().resetDescriptions();
    model_->setStates(before.states);
    return Outcome();
  });
}

Outcome Session::set(const std::vector<Assignment>& assignments) {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  const auto check = [this](const std::vector<Assignment>& byKeys, Outcome& outcome) {
    checkNames(byKeys, outcome);
  };
  return model_->edit([&]() -> Outcome {
    const Description now = model_->description();
    if (now.category == DT_STRUCTURE) return setAchievementTag(assignments);
    if (now.fragile) {
      return editRecord<KsDestructibleFragileDesc>(
          *now.fragile, "a fragile", assignments, check,
          [this](const auto& record) { return helper().updateFragileParameters(record); });
    }
    if (now.fallingAtom) {
      return editRecord<KsDestructibleFallingAtomDesc>(
          *now.fallingAtom, "a falling atom", assignments, check,
          [this](const auto& record) { return helper().updateFallingAtomParameters(record); });
    }
    return refused(quotedName(modelName()) + " is not destructible and has nothing to set; convert it first");
  });
}

Outcome Session::setModule(const std::string& module, const std::vector<Assignment>& assignments) {
  if (const std::string refusal = refusalOfEdit(); !refusal.empty()) return refused(refusal);
  return model_->edit([&]() -> Outcome {
    const Description now = model_->description();
    if (now.category != DT_STRUCTURE) {
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
        existing->second, "a module", assignments,
        [this](const std::vector<Assignment>& byKeys, Outcome& outcome) { checkNames(byKeys, outcome); },
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
    checkTag(tag, outcome);
    std::string before;
    helper().getStructureAchievementTag(before);
    if (helper().updateStructureAchievementTag(tag))
      outcome.changes.push_back({keys::kAchievementTag, before, tag});
  }
  return outcome;
}

// What the values name must exist in the model, or is worth a warning.
void Session::checkNames(const std::vector<Assignment>& assignments, Outcome& outcome) const {
  for (const Assignment& assignment : assignments) {
    const std::string value(trimmed(assignment.value));
    if (assignment.key == keys::kMaterialName && !value.empty()) {
      std::set<std::string> names = bspMaterials();
      for (const auto& [name, kind] : helper().getMaterialNames()) names.insert(name);
      if (!names.contains(value)) {
        outcome = refused("matName: the model has no material " + quotedName(value) +
                          nameSuggestion(value, {names.begin(), names.end()}));
        return;
      }
    } else if (assignment.key == keys::kEffectHardPoint && !value.empty()) {
      const std::vector<std::string>& names = hardPoints();
      if (std::find(names.begin(), names.end(), value) == names.end()) {
        outcome.warnings.push_back("effectHP: the model has no hard point " + quotedName(value) +
                                   nameSuggestion(value, names));
      }
    } else if (assignment.key == keys::kPhysicParams) {
      checkPhysicParams(value, outcome);
    } else if (assignment.key == keys::kAchievementTag) {
      checkTag(value, outcome);
    }
  }
}

}  // namespace Tal::authoring
