#pragma once

#include <core/string_ref.h>

#include <string>
#include <vector>

namespace Tal {

/// The candidate that a person most likely meant by `name`: the one at the smallest edit distance. Empty when
/// there is none, or when more than half of the longer name would have to change.
///
/// - An edit inserts, deletes or replaces a byte, or swaps two neighbouring ones.
/// - Of equally near candidates the one with the fewest letters of another case wins, then the earliest.
/// - Only the beginnings of very long names are compared.
std::string nearestName(BasicStringRef name, const std::vector<std::string>& candidates);

/// The first few of `names` for a message: "\"X\"", "\"X\" and \"Y\"" or "\"X\", \"Y\", \"Z\" and 3 more";
/// empty when there are none. Control characters in the names are escaped, very long names shortened.
std::string someNames(const std::vector<std::string>& names);

/// The end of a message that refuses `name`: "; did you mean \"X\"?" with the nearest candidate; when none is
/// near, "; there are \"X\" and \"Y\""; without candidates "; there is none". Control characters in
/// the names are escaped, very long names shortened.
std::string nameSuggestion(BasicStringRef name, const std::vector<std::string>& candidates);

}  // namespace Tal
