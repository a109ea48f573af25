#include <model/gltf_container.h>
#include <model/gltf_elements.h>
#include <model/gltf_fault.h>
#include <model/gltf_indices.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace Tal {
namespace {

std::string inBrackets(std::size_t index) {
  return "[" + std::to_string(index) + "]";
}

std::size_t componentSizeOf(const tinygltf::Model& model, std::size_t accessor) {
  return gltfComponentSize(model.accessors[accessor].componentType);
}

/// The largest vertex index that the data of each accessor of vertex indices holds.
using LargestIndices = std::map<std::size_t, std::uint32_t>;

template <class Visit>
void forEachIndexed(const tinygltf::Model& model, Visit visit) {
  for (std::size_t mesh = 0; mesh < model.meshes.size(); ++mesh) {
    const auto& primitives = model.meshes[mesh].primitives;
    for (std::size_t place = 0; place < primitives.size(); ++place) {
      if (primitives[place].indices < 0) continue;
      visit(primitives[place], static_cast<std::size_t>(primitives[place].indices), mesh, place);
    }
  }
}

LargestIndices accessorsOfIndices(const tinygltf::Model& model) {
  LargestIndices accessors;
  forEachIndexed(model, [&](const auto& /*primitive*/, std::size_t indices, std::size_t /*mesh*/,
                            std::size_t /*place*/) { accessors.emplace(indices, 0); });
  return accessors;
}

/// Accessors may overlap, so a small file can ask for more reading than it has data.
void checkWork(const tinygltf::Model& model, const LargestIndices& accessors) {
  std::size_t bytes = 0;
  for (std::size_t index = 0; index < model.accessors.size(); ++index) {
    const GltfElements elements(model, index);
    bytes += elements.sparseCount() * sizeof(std::uint32_t);
    if (accessors.contains(index)) bytes += elements.count() * componentSizeOf(model, index);
    if (bytes > kMaxGltfBytes) {
      throw GltfFault("has more than 512 MiB of indices, counted at every accessor of them");
    }
  }
}

void checkSparse(const tinygltf::Model& model) {
  for (std::size_t accessor = 0; accessor < model.accessors.size(); ++accessor) {
    const GltfElements elements(model, accessor);
    std::size_t least = 0;
    for (std::size_t place = 0; place < elements.sparseCount(); ++place) {
      const std::size_t index = elements.sparseIndex(place);
      if (index < least || index >= elements.count()) {
        throw GltfFault("accessors" + inBrackets(accessor) +
                        ".sparse has indices that do not rise or lie beyond its elements");
      }
      least = index + 1;
    }
  }
}

std::uint32_t largestIndex(const tinygltf::Model& model, std::size_t accessor) {
  const std::size_t size = componentSizeOf(model, accessor);
  std::uint32_t largest = 0;
  GltfElements(model, accessor).forEach([&](const unsigned char* bytes) {
    if (bytes != nullptr) largest = std::max(largest, readUnsigned(bytes, size));
  });
  return largest;
}

/// All attributes of a primitive have as many elements (see checkGltfJson).
std::size_t pointsOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive) {
  if (primitive.attributes.empty()) return 0;
  return model.accessors[static_cast<std::size_t>(primitive.attributes.begin()->second)].count;
}

}  // namespace

void checkGltfIndices(const tinygltf::Model& model) {
  LargestIndices largest = accessorsOfIndices(model);
  checkWork(model, largest);
  checkSparse(model);
  for (auto& [accessor, index] : largest) index = largestIndex(model, accessor);
  forEachIndexed(model, [&](const tinygltf::Primitive& primitive, std::size_t indices, std::size_t mesh,
                            std::size_t place) {
    const std::uint32_t index = largest[indices];
    const std::size_t points = pointsOf(model, primitive);
    if (index < points) return;
    throw GltfFault("meshes" + inBrackets(mesh) + ".primitives" + inBrackets(place) + " has the index " +
                    std::to_string(index) + ", but there are " + std::to_string(points) + " points");
  });
}

}  // namespace Tal
