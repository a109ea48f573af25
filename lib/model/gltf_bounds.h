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

  /// Where the map puts a point.
  std::array<double, 3> operator()(const std::array<double, 3>& point) const noexcept;
  /// This map after `inner`.
  Affine operator*(const Affine& inner) const noexcept;
};

/// No import shows more points than this, each counted at every node that shows it.
constexpr std::size_t kMaxGltfPoints = 20'000'000;

/// A box with its sides along the axes; no coordinate of `min` is above that of `max`.
struct BoundingBox {
  Vector3 min;
  Vector3 max;
};

/// Gathers the bounding box of meshes that are placed in the world. Every point is transformed, so the box is
/// exact under rotation. Work is bounded: GltfFault when the meshes have more than kMaxGltfPoints points,
/// each counted whenever its mesh is added or checked, or when one is no finite number.
class GltfBounds {
 public:
  /// `model` was checked (see checkGltfJson and checkGltfIndices) and outlives this object.
  explicit GltfBounds(const tinygltf::Model& model) : model_(model) {}

  /// Enlarges the box by a mesh (its index in the model) that stands in the world as `world` says.
  void add(int mesh, const Affine& world);

  /// Only looks for positions of the mesh that are no finite numbers; the box stays as it is.
  void check(int mesh);

  /// The box of everything that was added; empty when nothing with positions was.
  std::optional<BoundingBox> box() const;

 private:
  using Point = std::array<double, 3>;
  struct Box {
    Point min;
    Point max;
  };

  const std::vector<std::size_t>& positionsOf(int mesh);
  const Box& localBoxOf(std::size_t accessor);
  void grow(const Point& point);
  bool holds(const Box& local, const Affine& world) const;
  void countPoints(std::size_t accessor);

  const tinygltf::Model& model_;
  std::map<int, std::vector<std::size_t>> positions_;  // the different position accessors of a mesh
  std::map<std::size_t, Box> localBoxes_;
  std::optional<Box> box_;
  std::size_t points_ = 0;
};

}  // namespace Tal
