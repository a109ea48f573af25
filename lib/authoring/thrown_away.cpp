#include <authoring/assign_all.h>
#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <authoring/save_losses.h>
#include <authoring/thrown_away.h>
#include <core/contains.h>
#include <core/display_text.h>
#include <core/shell_word.h>
#include <destructibles/database_format.h>
#include <destructibles/edit_rules.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
using Words = std::vector<std::string>;
using Assignments = std::vector<Assignment>;

constexpr const char* kForce = "--force";

// A command with an option, which may have a value, and its arguments, of which the first is the model.
// Behind "--" arguments may begin with a dash.
std::string commandLine(const std::string& command, const Words& option, const Words& arguments) {
  const auto isLikeAnOption = [](const std::string& word) { return word.starts_with('-'); };
  const bool hasValue = option.size() > 1;
  const bool isAmbiguous =
      std::ranges::any_of(arguments, isLikeAnOption) || (hasValue && isLikeAnOption(option.back()));
  Words words = arguments;
  if (isAmbiguous) {
    words.insert(words.begin(), "--");
    if (!option.empty()) words.insert(words.begin(), option.front() + (hasValue ? '=' + option.back() : ""));
  } else {
    words.insert(hasValue ? words.begin() + 1 : words.end(), option.begin(), option.end());
  }
  std::string line = command;
  for (const std::string& word : words) line += ' ' + shellWord(word);
  return line;
}

std::string listed(const Words& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + quotedName(name);
  return text;
}

/// The lines of one loss.
class Lines {
 public:
  Lines(const ThrownAway& thrownAway, const RestoreTarget& target)
      : thrownAway_(thrownAway), target_(target) {}

  template <class Record>
  void addRecord(const std::optional<Record>& replacement, const std::optional<Record>& record) {
    if (record) addSet({}, lostValues(replacement ? &*replacement : nullptr, *record));
  }

  void addModule(const std::string& name, const KsDestructibleModuleDesc* replacement,
                 const KsDestructibleModuleDesc& module) {
    addSet({"--module", name}, lostValues(replacement, module), needOfModule(name));
  }

  // "none" stands for no tag.
  void addTag(const std::string& tag) {
    if (tag != UNDEFINED_EFFECT) addSet({}, {{keys::kAchievementTag, tag}});
  }

  void addState(const std::string& name, const Words& materials, bool isReplaced) {
    if (database_format::isBuiltInState(name)) {
      lines_.push_back("the state " + quotedName(name) +
                       " cannot be given back, since a built-in state has its name; it listed " +
                       (materials.empty() ? "no material" : listed(materials)));
      return;
    }
    if (isReplaced) addCommand("state", {}, {"remove", name});
    addCommand("state", {}, {"add", name});
    addMaterials(name, withoutRepeated(name, materials));
  }

  Words take() && { return std::move(lines_); }

 private:
  template <class Record>
  Assignments lostValues(const Record* replacement, const Record& record) const {
    Assignments lost;
    for (const RecordField<Record>& field : recordFields<Record>()) {
      const std::string key(field.key);
      const bool isUnknown = !thrownAway_.isOfAnotherEntry && target_.unknownKeys.contains(key);
      const bool isKept = replacement != nullptr && isSameAfterAnEdit(field, *replacement, record);
      if (isUnknown || !isKept) lost.push_back({key, textOf(valueOf(record, field))});
    }
    return lost;
  }

  // An edit of a scale alone is refused when it changes too little.
  template <class Record>
  static bool isSameAfterAnEdit(const RecordField<Record>& field, const Record& a, const Record& b) {
    return field.key == keys::kEffectScale ? edit_rules::isSameScale(a.effectScale, b.effectScale)
                                           : isSameField(field, a, b);
  }

  void addSet(const Words& option, const Assignments& assignments, const std::string& need = {}) {
    const auto isForeign = [this](const Assignment& assignment) {
      return assignment.key == keys::kMaterialName && !assignment.value.empty() &&
             !target_.namedMaterials.contains(assignment.value);
    };
    Words words;
    Words foreign;
    for (const Assignment& assignment : assignments)
      (isForeign(assignment) ? foreign : words).push_back(assignment.key + '=' + assignment.value);
    if (!words.empty()) addCommand("set", option, std::move(words), need);
    for (std::string& word : foreign)
      addCommand("set", option, {std::move(word)}, "import it with that material");
  }

  std::string needOfModule(const std::string& name) const {
    if (target_.modules.contains(name)) return {};
    return target_.newEntries.modules.contains(name) ? "import it so that a save keeps that module"
                                                     : "import it with that part";
  }

  // The file may list a material several times, which no command makes.
  Words withoutRepeated(const std::string& state, const Words& materials) {
    Words once;
    Words repeated;
    for (const std::string& material : materials) {
      Words& names = contains(once, material) ? repeated : once;
      if (!contains(names, material)) names.push_back(material);
    }
    if (!repeated.empty()) {
      lines_.push_back("the state " + quotedName(state) + " listed a material more than once: " +
                       listed(repeated) + "; commands give it back once");
    }
    return once;
  }

  void addMaterials(const std::string& state, const Words& materials) {
    if (!target_.isThere) {  // Any of them may be refused.
      for (const std::string& material : materials)
        addCommand("state", {kForce}, {"add-material", state, material});
      return;
    }
    Words known{"add-material", state};
    Words unknown;
    bool isForced = false;
    for (const std::string& material : materials) {
      const auto found = target_.materials.find(material);
      const bool isKnown = found != target_.materials.end();
      (isKnown ? known : unknown).push_back(material);
      isForced = isForced || (isKnown && !found->second);
    }
    if (known.size() > 2) addCommand("state", isForced ? Words{kForce} : Words(), std::move(known));
    for (const std::string& material : unknown)
      addCommand("state", {}, {"add-material", state, material}, "import it with that material");
  }

  void addCommand(const std::string& command, const Words& option, Words arguments,
                  const std::string& need = {}) {
    arguments.insert(arguments.begin(), target_.modelName);
    lines_.push_back("thrown away" + markOf(need) + ": " + commandLine(command, option, arguments));
  }

  std::string markOf(const std::string& need) const {
    Words parts;
    if (thrownAway_.isOfAnotherEntry) parts.emplace_back("another entry");
    std::string steps = target_.need.empty() ? need : target_.need;
    const bool isToBeStructure = thrownAway_.isOtherCategory && thrownAway_.category == DT_STRUCTURE;
    if (steps.empty() && isToBeStructure && target_.newEntries.modules.empty())
      steps = "import it with an undamaged part";
    if (thrownAway_.isOtherCategory) {
      steps += (steps.empty() ? "" : " and ") +
               ("convert it to " + std::string(categoryName(thrownAway_.category)));
    }
    if (!target_.verdict.empty()) {
      parts.push_back(target_.verdict);
    } else if (!steps.empty()) {
      parts.push_back(steps + " first");
    }
    std::string mark;
    for (const std::string& part : parts) mark += (mark.empty() ? "" : "; ") + part;
    return mark.empty() ? mark : " (" + mark + ')';
  }

  const ThrownAway& thrownAway_;
  const RestoreTarget& target_;
  Words lines_;
};

void addStructure(const Description& values, const Description& replacement, Lines& lines) {
  if (values.achievementTag != replacement.achievementTag) lines.addTag(values.achievementTag);
  for (const auto& [name, module] : values.modules) {
    const auto found = replacement.modules.find(name);
    lines.addModule(name, found == replacement.modules.end() ? nullptr : &found->second, module);
  }
  for (const auto& [name, materials] : values.states) {
    const auto found = replacement.states.find(name);
    const bool isReplaced = found != replacement.states.end();
    if (!isReplaced || found->second != materials) lines.addState(name, materials, isReplaced);
  }
}

void append(Words& lines, Words more) {
  std::ranges::move(more, std::back_inserter(lines));
}

// An entry without a tag says nothing against that of another one.
Description withTagOf(const Description& loaded, Description entry) {
  if (entry.achievementTag.empty()) entry.achievementTag = loaded.achievementTag;
  return entry;
}

}  // namespace

std::vector<std::string> linesOf(const ThrownAway& thrownAway, const RestoreTarget& target) {
  const Description& values = thrownAway.values;
  const Description& replacement = thrownAway.replacement;
  Lines lines(thrownAway, target);
  switch (thrownAway.category) {
    case DT_STRUCTURE:
      addStructure(values, replacement, lines);
      break;
    case DT_FRAGILE:
      lines.addRecord(replacement.fragile, values.fragile);
      break;
    case DT_FALLING_ATOMS:
      lines.addRecord(replacement.fallingAtom, values.fallingAtom);
      break;
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return std::move(lines).take();
}

std::vector<std::string> linesOfSave(const DataSection& database, KsDestructibleType category,
                                     const RestoreTarget& target) {
  const Description loaded = entriesIn(database, target.modelName).description;
  const std::vector<LostEntry> lost = entriesLostBySave(database, target.modelName, category);
  Words lines;
  for (const KsDestructibleType other : {DT_FRAGILE, DT_FALLING_ATOMS, DT_STRUCTURE}) {
    const auto isOfIt = [other](const LostEntry& entry) { return entry.category == other; };
    const bool isOther = other != category;
    if (isOther && std::ranges::any_of(lost, isOfIt))
      append(lines, linesOf({other, loaded, target.newEntries, false, true}, target));
    for (const LostEntry& entry : lost) {
      if (!isOfIt(entry)) continue;
      append(lines, linesOf({other, withTagOf(loaded, entry.values), loaded, true, isOther}, target));
      append(lines, entry.losses);
    }
  }
  return lines;
}

}  // namespace Tal::authoring
