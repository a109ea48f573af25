#pragma once

#include <cmath>

/// When an edit of a record counts as a change. Pure; usable on any thread; nothing here is exported by the
/// module's shared library.
namespace Tal::edit_rules {

/// Scales that differ by less are equal.
inline constexpr float kScaleTolerance = 0.0004F;

/// A difference that is not a number counts as equal.
inline bool isSameScale(float a, float b) noexcept {
  return !(std::fabs(a - b) >= kScaleTolerance);
}

}  // namespace Tal::edit_rules
