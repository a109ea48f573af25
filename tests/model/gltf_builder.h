#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace support {

using Points = std::vector<std::array<float, 3>>;
using FourBytes = std::array<std::uint8_t, 4>;
using FourFloats = std::array<float, 4>;

/// A matrix of 4 times 4 numbers, column by column; a new one is the identity.
struct Matrix4 {
  std::array<float, 16> numbers{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

/// The corners of a box.
Points boxPoints(const std::array<float, 3>& min, const std::array<float, 3>& max);

/// Puts a glTF document together; everything stays open to be damaged through `root`.
class GltfBuilder {
 public:
  GltfBuilder();

  /// Each returns the index of what it added.
  int addPositions(const Points& points);
  /// An accessor of vertex indices, each a std::uint8_t, std::uint16_t or std::uint32_t.
  template <class Index>
  int addIndices(const std::vector<Index>& indices) {
    constexpr int kComponentType = sizeof(Index) == 1 ? 5121 : sizeof(Index) == 2 ? 5123 : 5125;
    return addAccessor({reinterpret_cast<const char*>(indices.data()), indices.size() * sizeof(Index)},
                       {{"componentType", kComponentType}, {"count", indices.size()}, {"type", "SCALAR"}});
  }
  int addJoints(const std::vector<FourBytes>& joints);
  int addWeights(const std::vector<FourFloats>& weights);
  int addMatrices(const std::vector<Matrix4>& matrices);
  int addMaterial(const std::string& name);
  /// A mesh of one primitive; a negative material means none.
  int addMesh(const Points& points, int material);
  /// A node at the top of the scene.
  int addNode(const std::string& name, int mesh = -1);
  /// A node below another.
  int addChild(int parent, const std::string& name, int mesh = -1);

  /// A buffer view of its own for the bytes.
  int addView(std::string_view bytes);

  std::string json() const { return root.dump(); }
  std::string glb() const;

  nlohmann::json root;
  std::string bin;

 private:
  int push(const char* list, nlohmann::json element);
  /// An accessor of the bytes; `description` is all but its buffer view.
  int addAccessor(std::string_view bytes, nlohmann::json description);
};

/// A .glb with one visible mesh of the unit cube, of the material "wall".
GltfBuilder cubeBuilder();

/// The .glb of any two chunks, right or not.
std::string glbOf(std::string_view json, std::string_view bin);

}  // namespace support
