#include <core/display_text.h>
#include <model/gltf/check.h>
#include <model/gltf/fault.h>
#include <model/gltf_limits.h>

#include <algorithm>
#include <array>
#include <set>

namespace Tal {
namespace {

std::string placeOf(const char* list, std::size_t index) {
  return std::string(list) + '[' + std::to_string(index) + ']';
}

Fault damageAt(const std::string& place, const std::string& fault) {
  return gltfFault(place + ' ' + fault);
}

/// A list of the document whose elements are checked one after the other; the first fault.
template <class Element, class Check>
Result<void> checkEach(const char* list, const std::vector<Element>& elements, Check check) {
  for (std::size_t index = 0; index < elements.size(); ++index)
    if (auto checked = check(elements[index], placeOf(list, index)); !checked) return checked;
  return {};
}

Result<void> checkView(const GltfDocument& document, const GltfBufferView& view, const std::string& place) {
  const auto checkEnd = [&](std::size_t buffer, std::size_t end, const std::string& what) -> Result<void> {
    const std::size_t size = document.buffers[buffer].byteLength;
    if (end <= size) return {};
    return damageAt(what, "ends at byte " + std::to_string(end) + " of a buffer of " + std::to_string(size));
  };
  if (auto checked = checkEnd(view.buffer, view.byteOffset + view.byteLength, place); !checked)
    return checked;
  if (!view.meshopt) return {};
  const GltfMeshopt& meshopt = *view.meshopt;
  const std::string meshoptPlace = place + ".extensions." + std::string(meshopt.extension);
  if (meshopt.count * meshopt.byteStride != view.byteLength)
    return damageAt(meshoptPlace, "says another size than its view");
  if (meshopt.byteLength == 0 || meshopt.count == 0) return damageAt(meshoptPlace, "is empty");
  return checkEnd(meshopt.buffer, meshopt.byteOffset + meshopt.byteLength, meshoptPlace);
}

/// Elements that stand one behind the other in a buffer view.
struct ElementRange {
  GltfElementPlace place;
  std::size_t count;  ///< at least 1
  std::size_t elementSize;
  std::size_t componentSize;
};

/// Makes sure that elements lie inside a buffer view, at addresses that numbers of their size can have.
Result<void> checkRange(const GltfDocument& document, const std::string& place, const ElementRange& range) {
  const GltfBufferView& view = document.views[range.place.view];
  const std::size_t stride = view.byteStride != 0 ? view.byteStride : range.elementSize;
  if (stride < range.elementSize)
    return damageAt(place, "has elements that are larger than their \"byteStride\"");
  const std::size_t needed = range.place.byteOffset + stride * (range.count - 1) + range.elementSize;
  if (needed > view.byteLength) {
    return damageAt(place, "needs " + std::to_string(needed) + " bytes of a buffer view of " +
                               std::to_string(view.byteLength));
  }
  // A stride is a multiple of 4 (see readGltfJson), so the first element stands for all.
  const std::size_t begin = view.byteOffset + range.place.byteOffset;
  if (begin % range.componentSize == 0) return {};
  return damageAt(place, "begins at byte " + std::to_string(begin) +
                             " of its buffer, which is no multiple of its component size " +
                             std::to_string(range.componentSize));
}

Result<void> checkSparse(const GltfDocument& document, const GltfAccessor& accessor,
                         const std::string& place) {
  const GltfSparse& sparse = *accessor.sparse;
  if (sparse.count == 0 || sparse.count > accessor.count)
    return damageAt(place + ".sparse", "has an impossible \"count\"");
  const std::size_t indexSize = gltfComponentSize(sparse.indexType);
  auto checked =
      checkRange(document, place + ".sparse.indices", {sparse.indices, sparse.count, indexSize, indexSize});
  if (!checked) return checked;
  return checkRange(
      document, place + ".sparse.values",
      {sparse.values, sparse.count, accessor.elementSize, gltfComponentSize(accessor.component)});
}

Result<void> checkAccessor(const GltfDocument& document, const GltfAccessor& accessor,
                           const std::string& place) {
  if (accessor.data) {
    auto checked = checkRange(
        document, place,
        {*accessor.data, accessor.count, accessor.elementSize, gltfComponentSize(accessor.component)});
    if (!checked) return checked;
  } else if (accessor.count > kMaxGltfPoints) {
    return damageAt(place, "has " + std::to_string(accessor.count) +
                               " elements that no buffer view holds; at most " +
                               std::to_string(kMaxGltfPoints) + " can be imported");
  }
  if (!accessor.sparse) return {};
  return checkSparse(document, accessor, place);
}

bool isFloat(const GltfAccessor& accessor) {
  return accessor.component == GltfComponent::float32;
}

/// Whether the elements are floats, or whole numbers of 8 or 16 bits without a sign that stand for 0 to 1.
bool isFraction(const GltfAccessor& accessor) {
  return isFloat(accessor) || (accessor.isNormalized && (accessor.component == GltfComponent::uint8 ||
                                                         accessor.component == GltfComponent::uint16));
}

/// Positions are three floats, or whole numbers in a file with quantized meshes.
Result<void> checkPositions(const GltfDocument& document, const GltfPrimitive& primitive,
                            const std::string& place) {
  const auto position = primitive.attribute("POSITION");
  if (!position) return {};
  const GltfAccessor& accessor = document.accessors[*position];
  const bool isQuantized = document.isQuantized && accessor.component != GltfComponent::uint32;
  if (accessor.type == "VEC3" && (isFloat(accessor) || isQuantized)) return {};
  return damageAt(place, "has positions that are no triples of floats");
}

/// Every attribute of a primitive, morphed ones too, says something of each of its points.
Result<void> checkPointCounts(const GltfDocument& document, const GltfPrimitive& primitive,
                              const std::string& place) {
  if (primitive.attributes.empty()) return {};
  const auto position = primitive.attribute("POSITION");
  const std::string first = position ? "POSITION" : primitive.attributes.front().first;
  const std::size_t count = document.accessors[position.value_or(primitive.attributes.front().second)].count;
  const auto checkCounts = [&](const GltfIndicesByName& attributes, const std::string& list) -> Result<void> {
    for (const auto& [name, accessor] : attributes) {
      const std::size_t own = document.accessors[accessor].count;
      if (own == count) continue;
      return damageAt(place + list + '.' + shownName(name), "has " + std::to_string(own) + " elements, but " +
                                                                shownName(first) + " has " +
                                                                std::to_string(count));
    }
    return {};
  };
  if (auto checked = checkCounts(primitive.attributes, ".attributes"); !checked) return checked;
  for (std::size_t target = 0; target < primitive.targets.size(); ++target) {
    auto checked = checkCounts(primitive.targets[target], '.' + placeOf("targets", target));
    if (!checked) return checked;
  }
  return {};
}

/// Vertex indices are plain whole numbers; what they are is checked with the data (see checkGltfData).
Result<void> checkVertexIndices(const GltfDocument& document, const GltfPrimitive& primitive,
                                const std::string& place) {
  if (!primitive.indices) return {};
  const GltfAccessor& accessor = document.accessors[*primitive.indices];
  if (accessor.type != "SCALAR" || !isGltfIndexType(accessor.component))
    return damageAt(place, "has indices that are no single whole numbers from 0 up");
  if (accessor.isNormalized) return damageAt(place, "has indices that are normalized");
  return {};
}

/// The number of a set of joints or weights ("JOINTS_0"); empty when the attribute is another.
std::string setOf(const std::string& attribute, BasicStringRef beginning) {
  return attribute.starts_with(beginning) ? attribute.substr(beginning.size()) : std::string();
}

/// Each set of joints has its weights, four of each for every point.
Result<void> checkJoints(const GltfDocument& document, const GltfPrimitive& primitive,
                         const std::string& place) {
  std::set<std::string> joints;
  std::set<std::string> weights;
  for (const auto& [name, index] : primitive.attributes) {
    const GltfAccessor& accessor = document.accessors[index];
    const std::string ofJoints = setOf(name, "JOINTS_");
    const std::string ofWeights = setOf(name, "WEIGHTS_");
    const bool isWhole =
        accessor.component == GltfComponent::uint8 || accessor.component == GltfComponent::uint16;
    if (!ofJoints.empty() && (accessor.type != "VEC4" || !isWhole || accessor.isNormalized))
      return damageAt(place, "has joints that are not four whole numbers of 8 or 16 bits");
    if (!ofWeights.empty() && (accessor.type != "VEC4" || !isFraction(accessor)))
      return damageAt(place, "has weights that are not four numbers from 0 to 1");
    if (!ofJoints.empty()) joints.insert(ofJoints);
    if (!ofWeights.empty()) weights.insert(ofWeights);
  }
  if (joints == weights) return {};
  return damageAt(place, "has joints without weights, or weights without joints");
}

Result<void> checkMesh(const GltfDocument& document, const GltfMesh& mesh, const std::string& place) {
  const auto checks = {checkPositions, checkPointCounts, checkVertexIndices, checkJoints};
  for (std::size_t index = 0; index < mesh.primitives.size(); ++index) {
    const std::string primitivePlace = place + '.' + placeOf("primitives", index);
    for (const auto check : checks)
      if (auto checked = check(document, mesh.primitives[index], primitivePlace); !checked) return checked;
  }
  return {};
}

Result<void> checkSkin(const GltfDocument& document, const GltfSkin& skin, const std::string& place) {
  if (!skin.inverseBindMatrices) return {};
  const GltfAccessor& accessor = document.accessors[*skin.inverseBindMatrices];
  if (accessor.type != "MAT4" || !isFloat(accessor))
    return damageAt(place, "has inverse bind matrices that are no matrices of 4 times 4 floats");
  if (accessor.count >= skin.joints.size()) return {};
  return damageAt(place, "has " + std::to_string(skin.joints.size()) + " joints and only " +
                             std::to_string(accessor.count) + " inverse bind matrices");
}

/// What moves, turns and scales the instances of a mesh.
Result<void> checkInstancing(const GltfDocument& document, const GltfNode& node, const std::string& place) {
  if (node.instancing.empty()) return {};
  const std::size_t count = document.accessors[node.instancing.front().second].count;
  for (const auto& [name, index] : node.instancing) {
    const GltfAccessor& accessor = document.accessors[index];
    const bool isPlace = name == "TRANSLATION" || name == "SCALE";
    if (accessor.count != count) return damageAt(place, "has instances with attributes of different counts");
    if (isPlace && (accessor.type != "VEC3" || !isFloat(accessor)))
      return damageAt(place, "has instances with a " + name + " that is no triples of floats");
    const bool isTurn =
        isFloat(accessor) || (accessor.isNormalized && (accessor.component == GltfComponent::int8 ||
                                                        accessor.component == GltfComponent::int16));
    if (name == "ROTATION" && (accessor.type != "VEC4" || !isTurn))
      return damageAt(place, "has instances with a ROTATION that is no quaternions");
  }
  return {};
}

Result<void> checkNode(const GltfDocument& document, const GltfNode& node, const std::string& place) {
  if (!node.skin) return checkInstancing(document, node, place);
  for (const GltfPrimitive& primitive : document.meshes[*node.mesh].primitives) {
    if (primitive.attributes.empty() || primitive.attribute("JOINTS_0")) continue;
    return damageAt(place, "has a skin, but meshes[" + std::to_string(*node.mesh) + "] has no joints");
  }
  return {};
}

}  // namespace

Result<void> checkGltf(const GltfDocument& document) {
  const auto with = [&document](auto check) {
    return [&document, check](const auto& element, const std::string& place) {
      return check(document, element, place);
    };
  };
  auto checked = checkEach("bufferViews", document.views, with(checkView));
  if (checked) checked = checkEach("accessors", document.accessors, with(checkAccessor));
  if (checked) checked = checkEach("meshes", document.meshes, with(checkMesh));
  if (checked) checked = checkEach("skins", document.skins, with(checkSkin));
  if (checked) checked = checkEach("nodes", document.nodes, with(checkNode));
  return checked;
}

}  // namespace Tal
