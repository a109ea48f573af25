#pragma once

#include <array>

namespace Tal {

/// A transformation: four rows of four single-precision numbers, row vectors multiplied from the left, the
/// translation, in metres, in the last row. A new one is the identity.
struct Matrix {
  std::array<std::array<float, 4>, 4> rows{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

  static constexpr Matrix identity() noexcept { return {}; }

  friend constexpr bool operator==(const Matrix&, const Matrix&) noexcept = default;
};

}  // namespace Tal
