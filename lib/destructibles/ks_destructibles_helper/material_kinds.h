#pragma once

#include <optional>

namespace Tal::material_kinds {

inline constexpr unsigned kNone = 0;
inline constexpr unsigned kUnknown = 0xFFFFFFFFU;
inline constexpr unsigned kFirstUndamaged = 73;
inline constexpr unsigned kLastUndamaged = 86;
inline constexpr unsigned kFirstDestroyed = 87;
inline constexpr unsigned kLastDestroyed = 100;
/// From the undamaged kind of a part to its destroyed kind.
inline constexpr unsigned kToDestroyed = 14;

constexpr bool isUndamaged(unsigned kind) noexcept {
  return kind >= kFirstUndamaged && kind <= kLastUndamaged;
}
constexpr bool isDestroyed(unsigned kind) noexcept {
  return kind >= kFirstDestroyed && kind <= kLastDestroyed;
}

/// The number of the part, 0 to 13, that an undamaged or a destroyed kind belongs to; none for every other
/// kind.
constexpr std::optional<unsigned> partOf(unsigned kind) noexcept {
  if (isUndamaged(kind)) return kind - kFirstUndamaged;
  if (isDestroyed(kind)) return kind - kFirstDestroyed;
  return std::nullopt;
}

}  // namespace Tal::material_kinds
