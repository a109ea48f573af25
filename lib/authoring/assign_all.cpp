#include <authoring/assign_all.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <core/white_space.h>
#include <resources/number_text.h>
#include <resources/storable_text.h>

#include <optional>
#include <set>

namespace Tal::authoring {

Result<std::string> storedValue(const Assignment& assignment, std::vector<std::string>& warnings) {
  if (!isStorable(assignment.value)) {
    return refused(assignment.key + ": the value " + quotedName(assignment.value) +
                   " holds a control character or is not UTF-8, which XML cannot hold");
  }
  std::string value(trimmed(assignment.value));
  if (value != assignment.value)
    warnings.push_back(assignment.key + ": the white space around the value is not kept");
  return value;
}

Result<void> parseValue(const std::string& text, std::int32_t& value) {
  const std::optional<int> number = parseInt(text);
  if (!number) return refused(quotedName(text) + " is not a whole number from -2147483648 to 2147483647");
  value = *number;
  return {};
}

Result<void> parseValue(const std::string& text, float& value) {
  const std::optional<float> number = parseFloat(text);
  if (!number) {
    return refused(quotedName(text) +
                   " is not a number that 32-bit floating point holds (with a point, as in 1.5)");
  }
  value = *number;
  return {};
}

Result<void> parseValue(const std::string& text, std::string& value) {
  value = text;
  return {};
}

Fault unknownKey(const std::string& key, BasicStringRef recordKind, const std::vector<std::string>& keys) {
  return refused(std::string(recordKind) + " has no key " + quotedName(key) + nameSuggestion(key, keys));
}

Result<void> checkKeysAreDistinct(const std::vector<Assignment>& assignments) {
  std::set<std::string> keys;
  for (const Assignment& assignment : assignments) {
    if (!keys.insert(assignment.key).second)
      return refused("the key " + quotedName(assignment.key) + " is given twice", "give it once");
  }
  return {};
}

}  // namespace Tal::authoring
