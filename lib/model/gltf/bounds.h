#pragma once

#include <core/result.h>
#include <model/bounding_box.h>
#include <model/gltf/document.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace Tal {

/// A node of the default scene as the walk reaches it.
struct GltfVisit {
  std::uint32_t node = 0;
  std::optional<std::size_t> parent;  ///< its index in the order of the visits
  bool isCollision = false;           ///< whether it, or a node above it, is a collision node
  Affine world;
};

/// Visits the nodes of the default scene, parents first, children in their order. A fault from `visit` ends
/// the walk.
Result<void> walkGltfScene(const GltfDocument& document,
                           const std::function<Result<void>(const GltfVisit& node)>& visit);

/// Gathers the bounding box of meshes in the world, at rest. Every point is transformed, so the box is exact
/// under rotation.
///
/// - A point of a skinned mesh is at the weighted sum of joint matrix times inverse bind matrix (glTF 2.0,
/// "Skins").
///   Weights are normalised; a point without any follows its first joint.
/// - A mesh with instances (EXT_mesh_gpu_instancing) counts at each of them.
/// - Morph targets do not count.
///
/// A fault when a number is not finite, the skin lacks a joint, or there are more than kMaxGltfPoints points.
/// A point counts whenever its mesh is added or checked.
class GltfBounds {
 public:
  /// `document` comes from readGltf and outlives this object.
  explicit GltfBounds(const GltfDocument& document) : document_(document) {}

  /// Extends the box by the mesh of a node, which has one.
  Result<void> add(const GltfNode& node, const Affine& world);

  /// A fault when a position of the mesh is not finite; the box is unchanged.
  Result<void> check(std::uint32_t mesh);

  /// The box of everything that was added; empty when nothing with positions was.
  std::optional<BoundingBox> box() const;

 private:
  struct Box {
    Point3 min;
    Point3 max;
  };

  Result<void> addPlaced(std::uint32_t mesh, const Affine& world);
  Result<void> addInstances(const GltfNode& node, const Affine& world);
  Result<void> addSkinned(const GltfPrimitive& primitive, const std::vector<Affine>& joints);
  Result<std::vector<Affine>> jointMatrices(const GltfSkin& skin);
  void findJoints();
  const std::vector<std::uint32_t>& positionsOf(std::uint32_t mesh);
  Result<Box> localBoxOf(std::uint32_t accessor);
  Result<void> grow(const Point3& point);
  bool holds(const Box& local, const Affine& world) const;
  Result<void> countPoints(std::size_t count);

  const GltfDocument& document_;
  std::map<std::uint32_t, std::vector<std::uint32_t>> positions_;  // the distinct accessors of a mesh
  std::map<std::uint32_t, Box> localBoxes_;
  std::optional<std::map<std::uint32_t, Affine>> joints_;  // the worlds of the nodes that are joints
  std::optional<Box> box_;
  std::size_t points_ = 0;
};

}  // namespace Tal
