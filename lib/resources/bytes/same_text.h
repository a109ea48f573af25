#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Tal {

/// Whether two texts are equal, without the function call that comparing them costs otherwise; for short
/// ones.
inline bool isSameText(BasicStringRef a, BasicStringRef b) noexcept {
  if (a.size() != b.size()) return false;
  std::size_t at = 0;
  for (; at + sizeof(std::uint64_t) <= a.size(); at += sizeof(std::uint64_t)) {
    std::uint64_t eightOfA = 0;
    std::uint64_t eightOfB = 0;
    std::memcpy(&eightOfA, a.data() + at, sizeof eightOfA);
    std::memcpy(&eightOfB, b.data() + at, sizeof eightOfB);
    if (eightOfA != eightOfB) return false;
  }
  while (at < a.size() && a[at] == b[at]) ++at;
  return at == a.size();
}

}  // namespace Tal
