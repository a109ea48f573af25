#pragma once

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

/// What became of a request: done, or refused as a whole with nothing changed. Refusals and warnings are one
/// line each for a person, without a line end; control characters in the names they quote are escaped.
struct [[nodiscard]] Outcome {
  std::string refusal;  ///< why nothing was done and what to do; empty when it was done
  std::vector<std::string> warnings;
  std::vector<Change> changes;  ///< what the edit changed; empty when everything was so already

  explicit operator bool() const noexcept { return refusal.empty(); }
};

/// Done, with nothing to tell, when `refusal` is empty; else refused for that reason.
inline Outcome outcomeOf(std::string refusal) {
  Outcome outcome;
  outcome.refusal = std::move(refusal);
  return outcome;
}

/// Refused; `reason` is not empty.
inline Outcome refused(std::string reason) {
  return outcomeOf(std::move(reason));
}

}  // namespace Tal::authoring
