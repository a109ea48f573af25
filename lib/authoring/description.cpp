#include <authoring/description.h>
#include <authoring/record_table.h>

#include <algorithm>

namespace Tal::authoring {
namespace {

template <class Record>
bool isSameValue(const std::optional<Record>& a, const std::optional<Record>& b) {
  return a && b ? isSameRecord(*a, *b) : a.has_value() == b.has_value();
}

template <class Value>
bool isSameMap(const std::map<std::string, Value>& a, const std::map<std::string, Value>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& left, const auto& right) {
    return left.first == right.first && isSameRecord(left.second, right.second);
  });
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

}  // namespace Tal::authoring
