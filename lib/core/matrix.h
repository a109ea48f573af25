#pragma once

#include <array>

namespace Tal {

/// A transformation of row vectors, which multiply it from the left. The last row is the translation, in
/// metres. The identity by default.
struct Matrix {
  std::array<std::array<float, 4>, 4> rows{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

  static constexpr Matrix identity() noexcept { return {}; }

  friend constexpr bool operator==(const Matrix&, const Matrix&) noexcept = default;
};

}  // namespace Tal
