#include <authoring/assign_all.h>
#include <authoring/thrown_away.h>
#include <core/shell_word.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <destructibles/new_entries.h>

#include <algorithm>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
using Words = std::vector<std::string>;

// The estimate, without the warning that it logs where there can be none.
int newHealth(KsDestructiblesHelper& helper) {
  if (health_rules::isGateOrFence(health_rules::normalisedPath(helper.modelName()))) {
    const Words materials = helper.getMaterialsForState(database_format::kUndamagedState);
    const bool isKnown = std::ranges::any_of(health_rules::kMaterialWords, [&](BasicStringRef word) {
      return health_rules::isAnyNamedAfter(materials, word);
    });
    if (!isKnown) return health_rules::kUnknownHealth;
  }
  return helper.calculateDestructibleHealth();
}

Description::Modules newModules(KsDestructiblesHelper& helper) {
  Description::Modules modules;
  const KsDestructibleModuleDesc module = new_entries::module(newHealth(helper));
  for (const auto& [name, kind] : helper.getMaterialNames()) {
    if (helper.isMaterialKindUndamaged(name)) modules.emplace(name, module);
  }
  new_entries::assignHardPoints(modules, helper.getHardpointNames());
  return modules;
}

// A command with its option, which may be empty, and its arguments, of which the first is the model. Behind
// "--" arguments may begin with a dash.
std::string commandLine(const std::string& command, const Words& option, const Words& arguments) {
  const auto isLikeAnOption = [](const std::string& word) { return word.starts_with('-'); };
  const bool isAmbiguous =
      std::ranges::any_of(arguments, isLikeAnOption) || (!option.empty() && isLikeAnOption(option.back()));
  std::string line = command;
  if (isAmbiguous) {
    if (!option.empty()) line += ' ' + shellWord(option.front() + '=' + option.back());
    line += " --";
  }
  for (const std::string& argument : arguments) {
    line += ' ' + shellWord(argument);
    if (isAmbiguous || &argument != &arguments.front()) continue;
    for (const std::string& word : option) line += ' ' + shellWord(word);
  }
  return line;
}

Words assignmentWords(const std::vector<Assignment>& assignments) {
  Words words;
  for (const Assignment& assignment : assignments) words.push_back(assignment.key + '=' + assignment.value);
  return words;
}

template <class Record>
std::vector<Assignment> allValues(const Record& record) {
  std::vector<Assignment> assignments;
  for (const NamedField& field : fieldsOf(record))
    assignments.push_back({std::string(field.key), textOf(field.value)});
  return assignments;
}

template <class Record>
std::vector<Assignment> valuesMissingIn(const std::optional<Record>& other,
                                        const std::optional<Record>& mine) {
  if (!mine) return {};
  return other ? differences(*other, *mine) : allValues(*mine);
}

class Commands {
 public:
  explicit Commands(const std::string& modelName) : modelName_(modelName) {}

  void addSet(const Words& option, const std::vector<Assignment>& assignments) {
    if (!assignments.empty()) add("set", option, assignmentWords(assignments));
  }

  void addState(const std::string& state, const Words& materials) {
    add("state", {}, {"add", state});
    if (materials.empty()) return;
    Words arguments{"add-material", state};
    arguments.insert(arguments.end(), materials.begin(), materials.end());
    add("state", {}, arguments);
  }

  Words lines() && { return std::move(lines_); }

 private:
  void add(const std::string& command, const Words& option, Words arguments) {
    arguments.insert(arguments.begin(), modelName_);
    lines_.push_back(commandLine(command, option, arguments));
  }

  std::string modelName_;
  Words lines_;
};

}  // namespace

Description newDescription(KsDestructiblesHelper& helper) {
  Description description;
  description.category = helper.destructibleType();
  switch (description.category) {
    case DT_STRUCTURE:
      description.modules = newModules(helper);
      break;
    case DT_FRAGILE:
      description.fragile = new_entries::fragile(
          newHealth(helper), helper.getHardpointNames(),
          new_entries::intactMaterial(
              helper.bspMaterialNames(), helper.getMaterialNames(),
              [&helper](const std::string& name) { return helper.isMaterialKindUndamaged(name); }));
      break;
    case DT_FALLING_ATOMS:
      description.fallingAtom = new_entries::fallingAtom(newHealth(helper));
      break;
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return description;
}

Description withDefaultsOf(const Description& entries) {
  Description defaults;
  defaults.category = entries.category;
  if (entries.fragile) defaults.fragile.emplace();
  if (entries.fallingAtom) {
    KsDestructibleFallingAtomDesc& desc = defaults.fallingAtom.emplace();
    desc.fractureEffect.clear();
    desc.touchdownEffect.clear();
    desc.touchdownBreakEffect.clear();
  }
  for (const auto& [name, module] : entries.modules) defaults.modules.try_emplace(name);
  return defaults;
}

std::vector<std::string> commandsToRestore(const std::string& modelName, const Description& mine,
                                           const Description& other) {
  Commands commands(modelName);
  commands.addSet({}, valuesMissingIn(other.fragile, mine.fragile));
  commands.addSet({}, valuesMissingIn(other.fallingAtom, mine.fallingAtom));
  // The tables may hold modules and states of a model that was a structure before; they are of no entry.
  if (mine.category != DT_STRUCTURE) return std::move(commands).lines();
  if (mine.achievementTag != other.achievementTag)
    commands.addSet({}, {{keys::kAchievementTag, mine.achievementTag}});
  for (const auto& [name, module] : mine.modules) {
    const auto found = other.modules.find(name);
    commands.addSet({"--module", name},
                    found == other.modules.end() ? allValues(module) : differences(found->second, module));
  }
  for (const auto& [state, materials] : mine.states) {
    const auto found = other.states.find(state);
    if (found == other.states.end() || found->second != materials) commands.addState(state, materials);
  }
  return std::move(commands).lines();
}

void warnOfThrownAway(const std::string& modelName, const Description& mine, const Description& other,
                      Outcome& outcome) {
  for (const std::string& command : commandsToRestore(modelName, mine, other))
    outcome.warnings.push_back("thrown away: " + command);
}

}  // namespace Tal::authoring
