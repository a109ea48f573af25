#pragma once

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

}  // namespace Tal::material_kinds
