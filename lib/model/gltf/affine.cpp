#include <model/gltf/affine.h>

namespace Tal {

Affine affineOf(const Point3& translation, const std::array<double, 4>& rotation,
                const Point3& scale) noexcept {
  const auto [x, y, z, w] = rotation;
  Affine map;
  map.columns[0] = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)};
  map.columns[1] = {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)};
  map.columns[2] = {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)};
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (double& component : map.columns[axis]) component *= scale[axis];
  map.columns[3] = translation;
  return map;
}

}  // namespace Tal
