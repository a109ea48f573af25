#pragma once

#include <array>
#include <cstddef>

namespace Tal {

using Point3 = std::array<double, 3>;

/// A linear map and a translation: the columns are the images of the three axes and of the origin.
struct Affine {
  std::array<Point3, 4> columns{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};

  /// Where the map puts a point.
  Point3 operator()(const Point3& point) const noexcept {
    Point3 image = columns[3];
    for (std::size_t axis = 0; axis < 3; ++axis)
      for (std::size_t row = 0; row < 3; ++row) image[row] += columns[axis][row] * point[axis];
    return image;
  }

  /// This map after `inner`.
  Affine operator*(const Affine& inner) const noexcept {
    Affine product;
    for (std::size_t column = 0; column < 4; ++column) {
      for (std::size_t row = 0; row < 3; ++row) {
        double sum = column == 3 ? columns[3][row] : 0;
        for (std::size_t axis = 0; axis < 3; ++axis) sum += columns[axis][row] * inner.columns[column][axis];
        product.columns[column][row] = sum;
      }
    }
    return product;
  }
};

/// The map that scales, then turns by the quaternion (x, y, z, w) of length 1, then moves.
Affine affineOf(const Point3& translation, const std::array<double, 4>& rotation,
                const Point3& scale) noexcept;

}  // namespace Tal
