#pragma once

#include <core/result.h>

#include <string>
#include <utility>
#include <vector>

namespace Tal::authoring {

/// One value that an edit replaced, as text.
struct Change {
  std::string key;
  std::string before;
  std::string after;
};

/// What there is to say of a request that was done. One that was refused, with nothing changed, gives a Fault
/// instead. Warnings are one line each for a person, without a line end; control characters in the names that
/// they quote are escaped.
struct Outcome {
  std::vector<std::string> warnings = {};
  std::vector<Change> changes = {};  ///< what the edit changed; empty when everything was so already
};

/// The fault of a request that cannot be met.
inline Fault refused(std::string what, std::string remedy = {}) {
  return {FaultKind::refused, std::move(what), std::move(remedy)};
}

}  // namespace Tal::authoring
