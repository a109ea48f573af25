#include <authoring/description.h>
#include <authoring/record_table.h>

#include <algorithm>

namespace Tal::authoring {
namespace {

using States = std::vector<std::string>;

bool isSameValue(const States& a, const States& b) {
  return a == b;
}

template <class Record>
bool isSameValue(const Record& a, const Record& b) {
  return isSameRecord(a, b);
}

template <class Record>
bool isSameValue(const std::optional<Record>& a, const std::optional<Record>& b) {
  return a && b ? isSameRecord(*a, *b) : a.has_value() == b.has_value();
}

template <class Value>
bool isSameMap(const std::map<std::string, Value>& a, const std::map<std::string, Value>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& left, const auto& right) {
    return left.first == right.first && isSameValue(left.second, right.second);
  });
}

// A list of materials is one value: two edits of one list are not mixed.
States mergedValue(const States& base, const States& mine, const States& theirs) {
  return mine == base ? theirs : mine;
}

template <class Record>
Record mergedValue(const Record& base, const Record& mine, const Record& theirs) {
  return mergedRecord(base, mine, theirs);
}

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
      result.emplace(name, mergedValue(before->second, value, other->second));
    } else if (isNew || !isSameValue(before->second, value)) {
      result.emplace(name, value);
    }
  }
  for (const auto& [name, value] : theirs) {
    if (!base.contains(name)) result.emplace(name, value);
  }
  return result;
}

}  // namespace

Description ofItsCategory(Description description) {
  if (description.category != DT_FRAGILE) description.fragile.reset();
  if (description.category != DT_FALLING_ATOMS) description.fallingAtom.reset();
  if (description.category != DT_STRUCTURE) {
    description.achievementTag.clear();
    description.modules.clear();
  }
  return description;
}

Description withoutItsRecords(Description description) {
  if (description.category == DT_FRAGILE) description.fragile.reset();
  if (description.category == DT_FALLING_ATOMS) description.fallingAtom.reset();
  if (description.category == DT_STRUCTURE) description.modules.clear();
  return description;
}

Description completed(Description description, const Description& newEntries) {
  if (description.category == DT_STRUCTURE)
    description.modules.insert(newEntries.modules.begin(), newEntries.modules.end());
  if (description.category == DT_FRAGILE && !description.fragile) description.fragile = newEntries.fragile;
  if (description.category == DT_FALLING_ATOMS && !description.fallingAtom)
    description.fallingAtom = newEntries.fallingAtom;
  return description;
}

bool isSame(const Description& a, const Description& b) {
  return a.category == b.category && a.achievementTag == b.achievementTag &&
         isSameMap(a.modules, b.modules) && isSameMap(a.states, b.states) &&
         isSameValue(a.fragile, b.fragile) && isSameValue(a.fallingAtom, b.fallingAtom);
}

Description merged(const Description& base, const Description& mine, const Description& theirs) {
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

}  // namespace Tal::authoring
