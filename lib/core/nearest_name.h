#pragma once

#include <core/string_ref.h>

#include <string>
#include <vector>

namespace Tal {

/// The candidate that a person most likely meant by `name`: the one that the fewest insertions, deletions,
/// replacements and swaps of neighbouring bytes make out of it; of several the one in which the fewest ASCII
/// letters are of another case, which is no such edit; of those the earliest. Empty when there is no
/// candidate or none is near enough to be meant (more than half of the longer name would change). Of very
/// long names only the beginnings are compared.
std::string nearestName(BasicStringRef name, const std::vector<std::string>& candidates);

/// The first few of `names` for a message: "\"X\"", "\"X\" and \"Y\"" or "\"X\", \"Y\", \"Z\" and 3 more";
/// empty when there are none. Control characters in the names are escaped, very long names shortened.
std::string someNames(const std::vector<std::string>& names);

/// The end of a message that refuses `name`: "; did you mean \"X\"?" with the nearest candidate; when none is
/// near, "; there is \"X\", \"Y\" and 3 more", or "; there is none" without candidates. Control characters in
/// the names are escaped, very long names shortened.
std::string nameSuggestion(BasicStringRef name, const std::vector<std::string>& candidates);

}  // namespace Tal
