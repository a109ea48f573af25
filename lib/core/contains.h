#pragma once

#include <algorithm>
#include <ranges>

namespace Tal {

/// Whether a range holds an element that equals the value.
template <std::ranges::input_range Range, class Value>
bool contains(const Range& range, const Value& value) {
  return std::ranges::find(range, value) != std::ranges::end(range);
}

}  // namespace Tal
