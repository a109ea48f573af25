#include <authoring/category.h>
#include <authoring/merge.h>
#include <authoring/record_table.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;

template <class Record>
std::optional<Record> mergedOptional(const std::optional<Record>& base, const std::optional<Record>& mine,
                                     const std::optional<Record>& theirs) {
  if (!mine) return base ? mine : theirs;
  if (!theirs) return mine;
  return base ? mergedRecord(*base, *mine, *theirs) : *mine;
}

template <class Value>
std::map<std::string, Value> mergedMap(const std::map<std::string, Value>& base,
                                       const std::map<std::string, Value>& mine,
                                       const std::map<std::string, Value>& theirs) {
  std::map<std::string, Value> result;
  for (const auto& [name, value] : mine) {
    const auto before = base.find(name);
    const auto other = theirs.find(name);
    const bool isNew = before == base.end();
    if (!isNew && other != theirs.end()) {
      result.emplace(name, mergedRecord(before->second, value, other->second));
    } else if (isNew || !isSameRecord(before->second, value)) {
      result.emplace(name, value);
    }
  }
  for (const auto& [name, value] : theirs) {
    if (!base.contains(name)) result.emplace(name, value);
  }
  return result;
}

Description mergedDescription(const Description& base, const Description& mine, const Description& theirs) {
  Description result;
  result.category = mine.category;
  result.achievementTag =
      mine.achievementTag == base.achievementTag ? theirs.achievementTag : mine.achievementTag;
  result.modules = mergedMap(base.modules, mine.modules, theirs.modules);
  result.states = mergedMap(base.states, mine.states, theirs.states);
  result.fragile = mergedOptional(base.fragile, mine.fragile, theirs.fragile);
  result.fallingAtom = mergedOptional(base.fallingAtom, mine.fallingAtom, theirs.fallingAtom);
  return result;
}

/// Orders fields by module, state and key.
struct ByName {
  bool operator()(const FieldName& a, const FieldName& b) const {
    return std::tie(a.module, a.state, a.key) < std::tie(b.module, b.state, b.key);
  }
};
using Texts = std::map<FieldName, std::string, ByName>;

template <class Record>
void addRecord(const std::string& module, const Record& record, Texts& texts) {
  for (const RecordField<Record>& field : recordFields<Record>())
    texts.emplace(FieldName{module, {}, std::string(field.key)}, textOf(valueOf(record, field)));
}

std::string listText(const std::vector<std::string>& materials) {
  std::string text;
  for (const std::string& material : materials) text += (text.empty() ? "" : " ") + material;
  return text;
}

// The category, and every field that counts for a model of `category`.
Texts textsOf(const Description& description, KsDestructibleType category) {
  Texts texts;
  texts.emplace(categoryField(), std::string(categoryName(description.category)));
  if (category == DT_STRUCTURE) {
    texts.emplace(FieldName{{}, {}, keys::kAchievementTag}, description.achievementTag);
    for (const auto& [name, module] : description.modules) addRecord(name, module, texts);
    for (const auto& [name, materials] : description.states)
      texts.emplace(FieldName{{}, name, {}}, listText(materials));
  }
  if (category == DT_FRAGILE && description.fragile) addRecord({}, *description.fragile, texts);
  if (category == DT_FALLING_ATOMS && description.fallingAtom) addRecord({}, *description.fallingAtom, texts);
  return texts;
}

std::optional<std::string> textIn(const Texts& texts, const FieldName& field) {
  const auto found = texts.find(field);
  return found == texts.end() ? std::nullopt : std::optional(found->second);
}

// What of the fields of all three was changed on both sides.
std::vector<Conflict> conflictsOf(const Texts& base, const Texts& mine, const Texts& theirs) {
  Texts fields = base;
  fields.insert(mine.begin(), mine.end());
  fields.insert(theirs.begin(), theirs.end());
  std::vector<Conflict> conflicts;
  for (const auto& [field, text] : fields) {
    Conflict conflict{field, textIn(base, field), textIn(mine, field), textIn(theirs, field)};
    // Whoever edits a model of a category wants it to be of that.
    const bool isMine = field == categoryField() || conflict.mine != conflict.base;
    if (isMine && conflict.theirs != conflict.base && conflict.theirs != conflict.mine)
      conflicts.push_back(std::move(conflict));
  }
  return conflicts;
}

void keepCategoryAlone(std::vector<Conflict>& conflicts) {
  std::erase_if(conflicts, [](const Conflict& conflict) { return conflict.field != categoryField(); });
}

std::string fieldText(const FieldName& field) {
  if (!field.state.empty()) return "state " + quotedName(field.state);
  return (field.module.empty() ? "" : "module " + quotedName(field.module) + ", ") + field.key;
}

std::string valueText(const std::optional<std::string>& value) {
  return value ? quotedName(*value) : "nothing";
}

}  // namespace

FieldName categoryField() {
  return {{}, {}, "category"};
}

std::string lineOf(const Conflict& conflict) {
  return fieldText(conflict.field) + ": another program changed " + valueText(conflict.base) + " to " +
         valueText(conflict.theirs) + "; " + valueText(conflict.mine) + " is kept";
}

Merge merge(const Description& base, const Description& mine, const Description& theirs) {
  const auto texts = [&mine](const Description& one) { return textsOf(one, mine.category); };
  Merge result{mergedDescription(base, mine, theirs), conflictsOf(texts(base), texts(mine), texts(theirs))};
  if (mine.category != theirs.category) keepCategoryAlone(result.conflicts);
  return result;
}

std::vector<Conflict> joined(std::vector<Conflict> earlier, const std::vector<Conflict>& later) {
  for (const Conflict& conflict : later) {
    if (std::ranges::find(earlier, conflict.field, &Conflict::field) == earlier.end())
      earlier.push_back(conflict);
  }
  return earlier;
}

std::vector<Conflict> unsettled(std::vector<Conflict> conflicts, const Description& mine,
                                const Description& theirs) {
  const Texts ours = textsOf(mine, mine.category);
  const Texts others = textsOf(theirs, mine.category);
  for (Conflict& conflict : conflicts) {
    conflict.mine = textIn(ours, conflict.field);
    conflict.theirs = textIn(others, conflict.field);
  }
  std::erase_if(conflicts, [](const Conflict& conflict) {
    return conflict.theirs == conflict.mine || conflict.theirs == conflict.base;
  });
  if (mine.category != theirs.category) keepCategoryAlone(conflicts);
  return conflicts;
}

}  // namespace Tal::authoring
