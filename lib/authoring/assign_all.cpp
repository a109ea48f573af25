#include <authoring/assign_all.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <core/white_space.h>
#include <resources/number_text.h>
#include <resources/storable_text.h>

#include <set>

namespace Tal::authoring {

Outcome storedValue(const Assignment& assignment, std::string& value) {
  Outcome outcome;
  if (!isStorable(assignment.value)) {
    return refused(assignment.key + ": the value " + quotedName(assignment.value) +
                   " holds a control character or is not UTF-8, which XML cannot hold");
  }
  value = trimmed(assignment.value);
  if (value != assignment.value)
    outcome.warnings.push_back(assignment.key + ": the white space around the value is not kept");
  return outcome;
}

std::string parseValue(const std::string& text, std::int32_t& value) {
  const std::optional<int> number = parseInt(text);
  if (!number) return quotedName(text) + " is not a whole number from -2147483648 to 2147483647";
  value = *number;
  return {};
}

std::string parseValue(const std::string& text, float& value) {
  const std::optional<float> number = parseFloat(text);
  if (!number)
    return quotedName(text) + " is not a number that 32-bit floating point holds (with a point, as in 1.5)";
  value = *number;
  return {};
}

std::string parseValue(const std::string& text, std::string& value) {
  value = text;
  return {};
}

std::string unknownKey(const std::string& key, BasicStringRef recordKind,
                       const std::vector<std::string>& keys) {
  return std::string(recordKind) + " has no key " + quotedName(key) + nameSuggestion(key, keys);
}

Outcome checkKeysAreDistinct(const std::vector<Assignment>& assignments) {
  std::set<std::string> keys;
  for (const Assignment& assignment : assignments) {
    if (!keys.insert(assignment.key).second)
      return refused("the key " + quotedName(assignment.key) + " is given twice; give it once");
  }
  return {};
}

}  // namespace Tal::authoring
