#pragma once

#include <core/vector3.h>

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace tinygltf {
class Model;
}

namespace Tal {

/// A linear map and a translation: the columns are the images of the three axes and of the origin.
struct Affine {
  std::array<std::array<double, 3>, 4> columns{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};

  std::array<double, 3> operator()(const std::array<double, 3>& point) const noexcept;
  /// This map after `inner`.
  Affine operator*(const Affine& inner) const noexcept;
};

struct BoundingBox {
  Vector3 min;
  Vector3 max;
};

/// Gathers the bounding box of meshes that are placed in the world. Every point is transformed, so the box is
/// exact under rotation. Work is bounded: GltfFault when more than 20,000,000 points have to be looked at,
/// or when one is no finite number.
class GltfBounds {
 public:
  /// `model` was checked (see checkGltfJson) and outlives this object.
  explicit GltfBounds(const tinygltf::Model& model) : model_(model) {}

  void add(int mesh, const Affine& world);

  /// Looks only for positions that are no numbers.
  void check(int mesh);

  /// Empty when nothing with positions was added.
  std::optional<BoundingBox> box() const;

 private:
  using Point = std::array<double, 3>;
  struct Box {
    Point min;
    Point max;
  };

  const std::vector<int>& positionsOf(int mesh);
  const Box& localBoxOf(int accessor);
  void grow(const Point& point);
  bool holds(const Box& local, const Affine& world) const;
  void countWork(std::size_t points);

  const tinygltf::Model& model_;
  std::map<int, std::vector<int>> positions_;  // the different position accessors of a mesh
  std::map<int, Box> localBoxes_;
  std::optional<Box> box_;
  std::size_t work_ = 0;
};

}  // namespace Tal
