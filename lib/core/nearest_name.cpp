#include <core/ascii_case.h>
#include <core/display_text.h>
#include <core/nearest_name.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace Tal {
namespace {

constexpr std::size_t kComparedLength = 64;  // bounds the work on hostile names
constexpr std::size_t kShownCandidates = 3;

// A letter of another case counts so little that no number of them is as much as an edit.
constexpr std::size_t kOtherCase = 1;
constexpr std::size_t kEdit = kComparedLength + 1;

std::size_t costOfReplacing(char from, char to) {
  if (from == to) return 0;
  return toLowerAscii(from) == toLowerAscii(to) ? kOtherCase : kEdit;
}

/// What the edits that turn `from` into `to` cost, or any number of at least `limit` when it is that much.
std::size_t editDistance(BasicStringRef from, BasicStringRef to, std::size_t limit) {
  const std::size_t lengthGap = std::max(from.size(), to.size()) - std::min(from.size(), to.size());
  if (lengthGap * kEdit >= limit) return limit;
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(to.size() + 1);
  for (std::size_t column = 0; column < last.size(); ++column) last[column] = column * kEdit;
  for (std::size_t row = 1; row <= from.size(); ++row) {
    std::vector<std::size_t> current(to.size() + 1);
    current[0] = row * kEdit;
    for (std::size_t column = 1; column <= to.size(); ++column) {
      const std::size_t replaced = last[column - 1] + costOfReplacing(from[row - 1], to[column - 1]);
      current[column] = std::min({replaced, last[column] + kEdit, current[column - 1] + kEdit});
      if (row == 1 || column == 1) continue;
      const std::size_t otherCases =
          costOfReplacing(from[row - 1], to[column - 2]) + costOfReplacing(from[row - 2], to[column - 1]);
      if (otherCases < kEdit)
        current[column] = std::min(current[column], beforeLast[column - 2] + kEdit + otherCases);
    }
    if (*std::min_element(current.begin(), current.end()) >= limit) return limit;
    beforeLast = std::move(last);
    last = std::move(current);
  }
  return last.back();
}

}  // namespace

std::string nearestName(BasicStringRef name, const std::vector<std::string>& candidates) {
  const BasicStringRef wanted = name.substr(0, kComparedLength);
  const std::string* nearest = nullptr;
  std::size_t nearestDistance = std::numeric_limits<std::size_t>::max();
  for (const std::string& candidate : candidates) {
    if (candidate == name) return candidate;
    const BasicStringRef compared = BasicStringRef(candidate).substr(0, kComparedLength);
    const std::size_t allowed = std::max(wanted.size(), compared.size()) * kEdit / 2;
    const std::size_t limit = std::min(nearestDistance, allowed + 1);
    const std::size_t distance = editDistance(wanted, compared, limit);
    if (distance >= limit) continue;
    nearest = &candidate;
    nearestDistance = distance;
  }
  return nearest == nullptr ? std::string() : *nearest;
}

std::string someNames(const std::vector<std::string>& names) {
  const std::size_t shown = std::min(kShownCandidates, names.size());
  std::string text;
  for (std::size_t index = 0; index < shown; ++index) {
    if (index > 0) text += index + 1 == names.size() ? " and " : ", ";
    text += quotedName(names[index]);
  }
  if (shown < names.size()) text += " and " + std::to_string(names.size() - shown) + " more";
  return text;
}

std::string nameSuggestion(BasicStringRef name, const std::vector<std::string>& candidates) {
  if (candidates.empty()) return "; there is none";
  const std::string nearest = nearestName(name, candidates);
  if (!nearest.empty()) return "; did you mean " + quotedName(nearest) + "?";
  return (candidates.size() == 1 ? "; there is only " : "; there are ") + someNames(candidates);
}

}  // namespace Tal
