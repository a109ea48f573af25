#include <model/gltf/check_data.h>
#include <model/gltf/elements.h>
#include <model/gltf/fault.h>
#include <model/gltf_limits.h>

#include <algorithm>
#include <map>

namespace Tal {
namespace {

/// The largest vertex index that the data of each accessor of vertex indices holds.
using LargestIndices = std::map<std::uint32_t, std::uint32_t>;

LargestIndices accessorsOfIndices(const GltfDocument& document) {
  LargestIndices accessors;
  for (const GltfMesh& mesh : document.meshes) {
    for (const GltfPrimitive& primitive : mesh.primitives)
      if (primitive.indices) accessors.emplace(*primitive.indices, 0);
  }
  return accessors;
}

/// Accessors may overlap, so a small file can ask for more reading than it has data.
Result<void> checkWork(const GltfDocument& document, const LargestIndices& indices) {
  std::size_t bytes = 0;
  for (std::uint32_t index = 0; index < document.accessors.size(); ++index) {
    const GltfAccessor& accessor = document.accessors[index];
    if (accessor.sparse) bytes += accessor.sparse->count * sizeof(std::uint32_t);
    if (accessor.data && indices.contains(index)) bytes += accessor.count * accessor.elementSize;
    if (bytes > kMaxGltfBytes)
      return gltfFault("has more than 512 MiB of indices, counted at every accessor of them");
  }
  return {};
}

Result<void> checkSparseIndices(const GltfDocument& document) {
  for (std::size_t accessor = 0; accessor < document.accessors.size(); ++accessor) {
    const GltfElements elements(document, document.accessors[accessor]);
    std::size_t least = 0;
    for (std::size_t place = 0; place < elements.sparseCount(); ++place) {
      const std::size_t index = elements.sparseIndex(place);
      if (index < least || index >= elements.count()) {
        return gltfFault("accessors[" + std::to_string(accessor) +
                         "].sparse has indices that do not rise or lie beyond its elements");
      }
      least = index + 1;
    }
  }
  return {};
}

std::uint32_t largestIndex(const GltfDocument& document, const GltfAccessor& accessor) {
  const std::size_t size = gltfComponentSize(accessor.component);
  std::uint32_t largest = 0;
  GltfElements(document, accessor).forEach([&](const char* bytes) {
    if (bytes != nullptr) largest = std::max(largest, readUnsigned(bytes, size));
  });
  return largest;
}

/// All attributes of a primitive have as many elements (see checkGltf).
std::size_t pointsOf(const GltfDocument& document, const GltfPrimitive& primitive) {
  if (primitive.attributes.empty()) return 0;
  return document.accessors[primitive.attributes.front().second].count;
}

}  // namespace

Result<void> checkGltfData(const GltfDocument& document) {
  LargestIndices largest = accessorsOfIndices(document);
  if (auto checked = checkWork(document, largest); !checked) return checked;
  if (auto checked = checkSparseIndices(document); !checked) return checked;
  for (auto& [accessor, index] : largest) index = largestIndex(document, document.accessors[accessor]);
  for (std::size_t mesh = 0; mesh < document.meshes.size(); ++mesh) {
    const auto& primitives = document.meshes[mesh].primitives;
    for (std::size_t place = 0; place < primitives.size(); ++place) {
      if (!primitives[place].indices) continue;
      const std::uint32_t index = largest[*primitives[place].indices];
      const std::size_t points = pointsOf(document, primitives[place]);
      if (index < points) continue;
      return gltfFault("meshes[" + std::to_string(mesh) + "].primitives[" + std::to_string(place) +
                       "] has the index " + std::to_string(index) + ", but there are " +
                       std::to_string(points) + " points");
    }
  }
  return {};
}

}  // namespace Tal
