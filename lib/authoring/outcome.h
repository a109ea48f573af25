#pragma once

#include <authoring/change.h>
#include <core/result.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal::authoring {

/// One value that an edit replaced, as text.
struct ValueChange {
  std::string key;
  std::string before;
  std::string after;
};

/// What there is to say of a request that was done. One that was refused, with nothing changed, gives a Fault
/// instead. Warnings are one line each for a person, without a line end; control characters in the names that
/// they quote are escaped.
struct Outcome {
  std::vector<std::string> warnings = {};
  std::vector<ValueChange> changes = {};  ///< what the edit changed; empty when everything was so already
  std::optional<Change> change = {};      ///< the same as a whole, or what a save wrote; nothing likewise
};

/// The fault of a request that cannot be met.
inline Fault refused(std::string what, std::string remedy = {}) {
  return {FaultKind::refused, std::move(what), std::move(remedy)};
}

}  // namespace Tal::authoring
