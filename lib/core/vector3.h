#pragma once

namespace Tal {

/// Three single-precision components.
struct Vector3 {
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;

  static constexpr Vector3 zero() noexcept { return {}; }

  friend constexpr Vector3 operator-(const Vector3& a, const Vector3& b) noexcept {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
  }
  friend constexpr bool operator==(const Vector3& a, const Vector3& b) noexcept = default;
};

}  // namespace Tal
