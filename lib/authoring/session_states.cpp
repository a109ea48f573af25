#include <authoring/category.h>
#include <authoring/open_model.h>
#include <authoring/session.h>
#include <authoring/stored_text.h>
#include <core/contains.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <destructibles/database_format.h>
#include <model/material_kinds.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace Tal::authoring {
namespace {

using database_format::isBuiltInState;

std::vector<std::string> keysOf(const Description::States& states) {
  std::vector<std::string> names;
  for (const auto& [name, materials] : states) names.push_back(name);
  return names;
}

// A fault when a new state cannot be called so.
Result<void> checkNewName(const std::string& state, const Description::States& states) {
  if (isBuiltInState(state))
    return refused("the state " + quotedName(state) + " is built in", "choose another name");
  if (state.empty()) return refused("the name of a state cannot be empty", "give one");
  if (const auto checked = checkStoredText(state); !checked) {
    const Fault& fault = checked.fault();
    return refused("the state name " + quotedName(state) + ' ' + fault.what, fault.remedy);
  }
  if (states.contains(state)) return refused("there is a state " + quotedName(state) + " already");
  return {};
}

// A fault when a material cannot be added to a state that holds `present`.
Result<void> checkMaterial(const std::string& material, const std::vector<std::string>& known,
                           const std::string& state, const std::vector<std::string>& present) {
  if (!contains(known, material))
    return refused("the model has no material " + quotedName(material) + nameSuggestion(material, known));
  if (material.find(' ') != std::string::npos) {
    return refused("the material " + quotedName(material) +
                       " cannot be in a state: spaces separate the materials of a state",
                   "rename the material");
  }
  if (contains(present, material)) {
    return refused("the state " + quotedName(state) + " has the material " + quotedName(material) +
                   " already");
  }
  return {};
}

// A fault when a state cannot show a material destroyed. A state hides the kinds of its materials and those
// that these take along, and shows the kinds behind them, whatever they mean.
Result<void> checkDestructible(const KsDestructiblesHelper& helper, const std::string& material) {
  const std::string subject = "the material " + quotedName(material);
  const auto missing = [](std::string reason, const std::string& lack) {
    return refused(std::move(reason), "choose another one, or import the model again with " + lack +
                                          " for it; --force adds it all the same");
  };
  const unsigned kind = helper.getMaterialKind(material);
  const std::vector<std::string> ofNoKind = helper.getMaterialNames(material_kinds::kNone);
  const std::string allVanish =
      ", so in this state every material without one would vanish: " + someNames(ofNoKind);
  if (kind == material_kinds::kNone) return missing(subject + " has no kind (0)" + allVanish, "a kind");
  if (!material_kinds::isUndamaged(kind)) {
    return missing(subject + " (kind " + std::to_string(kind) + ") is not an undamaged part (" +
                       material_kinds::undamagedKinds() + ") that a state could show destroyed",
                   "a kind");
  }
  if (takesOwnPart(helper, material)) {
    return missing(subject +
                       " takes along its own part, so in this state the part would vanish: its "
                       "destroyed look is hidden, too",
                   "another name");
  }
  if (ofNoKind.empty() || !takesMissingPart(helper, material)) return {};
  return missing(
      subject + " takes along a part that no undamaged material has, which counts as no kind (0)" + allVanish,
      "another name");
}

}  // namespace

// A fault when the model cannot have states.
Result<void> Session::checkEditableStates() const {
  auto checked = checkEdit();
  if (!checked || category() == DT_STRUCTURE) return checked;
  if (checked = checkCategory(); !checked) return checked;
  return refused(quotedName(modelName()) + " is no structure (its category is " +
                     std::string(categoryName(category())) + "), which alone has states to edit",
                 "convert it to a structure first");
}

// A fault when there is no named state of that name.
Result<void> Session::checkState(const std::string& state) {
  const Description::States& states = model_->mine().states;
  if (states.contains(state)) return {};
  if (isBuiltInState(state))
    return refused("the state " + quotedName(state) + " is built in and cannot be changed");
  return refused(quotedName(modelName()) + " has no state " + quotedName(state) +
                 nameSuggestion(state, keysOf(states)));
}

Change Session::editStates(const std::function<void(Description::States&)>& edit) {
  Description wanted = model_->mine();
  edit(wanted.states);
  return model_->replace(std::move(wanted));
}

Result<void> Session::checkStates() const {
  // The file may hold states of a model that is no structure.
  if (!model_->mine().states.empty()) return {};
  return checkEditableStates();
}

Result<Outcome> Session::addState(const std::string& state) {
  if (auto checked = checkEditableStates(); !checked) return std::move(checked).fault();
  return model_->run([&]() -> Result<Outcome> {
    if (auto checked = checkNewName(state, model_->mine().states); !checked)
      return std::move(checked).fault();
    Outcome outcome;
    outcome.change = editStates([&](Description::States& states) { states.try_emplace(state); });
    return outcome;
  });
}

Result<Outcome> Session::removeState(const std::string& state) {
  if (auto checked = checkEditableStates(); !checked) return std::move(checked).fault();
  return model_->run([&]() -> Result<Outcome> {
    if (auto checked = checkState(state); !checked) return std::move(checked).fault();
    Outcome outcome;
    outcome.change = editStates([&](Description::States& states) { states.erase(state); });
    return outcome;
  });
}

Result<Outcome> Session::addMaterials(const std::string& state, const std::vector<std::string>& materials,
                                      bool isForced) {
  if (auto checked = checkEditableStates(); !checked) return std::move(checked).fault();
  return model_->run([&]() -> Result<Outcome> {
    if (auto checked = checkState(state); !checked) return std::move(checked).fault();
    std::vector<std::string> known;
    for (const auto& [name, kind] : helper().getMaterialNames()) known.push_back(name);
    std::vector<std::string> present = model_->mine().states.at(state);
    Outcome outcome;
    for (const std::string& material : materials) {
      if (auto checked = checkMaterial(material, known, state, present); !checked)
        return std::move(checked).fault();
      present.push_back(material);
      auto checked = checkDestructible(helper(), material);
      if (!checked && !isForced) return std::move(checked).fault();
      if (!checked) outcome.warnings.push_back(checked.fault().what);
    }
    outcome.change = editStates([&](Description::States& states) { states[state] = present; });
    return outcome;
  });
}

Result<Outcome> Session::removeMaterials(const std::string& state,
                                         const std::vector<std::string>& materials) {
  if (auto checked = checkEditableStates(); !checked) return std::move(checked).fault();
  return model_->run([&]() -> Result<Outcome> {
    if (auto checked = checkState(state); !checked) return std::move(checked).fault();
    std::vector<std::string> present = model_->mine().states.at(state);
    for (const std::string& material : materials) {
      const auto found = std::find(present.begin(), present.end(), material);
      if (found == present.end()) {
        return refused("the state " + quotedName(state) + " has no material " + quotedName(material) +
                       nameSuggestion(material, present));
      }
      present.erase(found);
    }
    Outcome outcome;
    outcome.change = editStates([&](Description::States& states) { states[state] = present; });
    return outcome;
  });
}

Result<void> Session::showState(const std::string& state) {
  model_->settle();
  const std::vector<std::string> names = stateNames();
  if (!contains(names, state)) {
    return refused(quotedName(modelName()) + " has no state " + quotedName(state) +
                   nameSuggestion(state, names));
  }
  helper().setDestructibleState(state);
  OpenModel::followAll();
  return {};
}

}  // namespace Tal::authoring
