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

/// What is wrong with the element at hand. Its place is put in front by those that know it, once there is a
/// fault: most documents have none.
Fault damage(const std::string& fault) {
  return gltfFault(' ' + fault);
}

/// The same with a place in front.
Result<void> at(const std::string& place, Result<void> checked) {
  if (checked) return checked;
  Fault fault = std::move(checked).fault();
  fault.what.insert(0, place);
  return fault;
}

/// A list whose elements are checked one after the other; the first fault.
template <class Element, class Check>
Result<void> checkEach(const char* list, const std::vector<Element>& elements, Check check) {
  for (std::size_t index = 0; index < elements.size(); ++index)
    if (auto checked = check(elements[index]); !checked) return at(placeOf(list, index), std::move(checked));
  return {};
}

Result<void> checkView(const GltfDocument& document, const GltfBufferView& view) {
  const auto checkEnd = [&](std::size_t buffer, std::size_t end) -> Result<void> {
    const std::size_t size = document.buffers[buffer].byteLength;
    if (end <= size) return {};
    return damage("ends at byte " + std::to_string(end) + " of a buffer of " + std::to_string(size));
  };
  if (auto checked = checkEnd(view.buffer, view.byteOffset + view.byteLength); !checked) return checked;
  if (!view.meshopt) return {};
  const GltfMeshopt& meshopt = *view.meshopt;
  const auto checkMeshopt = [&]() -> Result<void> {
    if (meshopt.count * meshopt.byteStride != view.byteLength)
      return damage("says another size than its view");
    if (meshopt.byteLength == 0 || meshopt.count == 0) return damage("is empty");
    return checkEnd(meshopt.buffer, meshopt.byteOffset + meshopt.byteLength);
  };
  return at(".extensions." + std::string(meshopt.extension), checkMeshopt());
}

/// Elements that stand one behind the other in a buffer view.
struct ElementRange {
  GltfElementPlace place;
  std::size_t count;  ///< at least 1
  std::size_t elementSize;
  std::size_t componentSize;
};

/// Makes sure that elements lie inside a buffer view, at addresses that numbers of their size can have.
Result<void> checkRange(const GltfDocument& document, const ElementRange& range) {
  const GltfBufferView& view = document.views[range.place.view];
  const std::size_t stride = view.byteStride != 0 ? view.byteStride : range.elementSize;
  if (stride < range.elementSize) return damage("has elements that are larger than their \"byteStride\"");
  const std::size_t needed = range.place.byteOffset + stride * (range.count - 1) + range.elementSize;
  if (needed > view.byteLength) {
    return damage("needs " + std::to_string(needed) + " bytes of a buffer view of " +
                  std::to_string(view.byteLength));
  }
  // A stride is a multiple of 4 (see readGltfJson), so the first element stands for all.
  const std::size_t begin = view.byteOffset + range.place.byteOffset;
  if (begin % range.componentSize == 0) return {};
  return damage("begins at byte " + std::to_string(begin) +
                " of its buffer, which is not a multiple of its component size " +
                std::to_string(range.componentSize));
}

Result<void> checkSparse(const GltfDocument& document, const GltfAccessor& accessor) {
  const GltfSparse& sparse = *accessor.sparse;
  if (sparse.count == 0 || sparse.count > accessor.count) return damage("has an impossible \"count\"");
  const std::size_t indexSize = gltfComponentSize(sparse.indexType);
  if (auto checked = checkRange(document, {sparse.indices, sparse.count, indexSize, indexSize}); !checked)
    return at(".indices", std::move(checked));
  return at(".values", checkRange(document, {sparse.values, sparse.count, accessor.elementSize,
                                             gltfComponentSize(accessor.component)}));
}

Result<void> checkAccessor(const GltfDocument& document, const GltfAccessor& accessor) {
  if (accessor.data) {
    auto checked = checkRange(document, {*accessor.data, accessor.count, accessor.elementSize,
                                         gltfComponentSize(accessor.component)});
    if (!checked) return checked;
  } else if (accessor.count > kMaxGltfPoints) {
    return damage("has " + std::to_string(accessor.count) + " elements that no buffer view holds; at most " +
                  std::to_string(kMaxGltfPoints) + " can be imported");
  }
  if (!accessor.sparse) return {};
  return at(".sparse", checkSparse(document, accessor));
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
Result<void> checkPositions(const GltfDocument& document, const GltfPrimitive& primitive) {
  const auto position = primitive.attribute("POSITION");
  if (!position) return {};
  const GltfAccessor& accessor = document.accessors[*position];
  const bool isQuantized = document.isQuantized && accessor.component != GltfComponent::uint32;
  if (accessor.type == "VEC3" && (isFloat(accessor) || isQuantized)) return {};
  return damage("has positions that are not triples of floats");
}

/// Every attribute of a primitive, morphed ones too, says something of each of its points.
Result<void> checkPointCounts(const GltfDocument& document, const GltfPrimitive& primitive) {
  if (primitive.attributes.empty()) return {};
  const auto position = primitive.attribute("POSITION");
  const std::string first = position ? "POSITION" : primitive.attributes.front().first;
  const std::size_t count = document.accessors[position.value_or(primitive.attributes.front().second)].count;
  const auto checkCounts = [&](const GltfIndicesByName& attributes) -> Result<void> {
    for (const auto& [name, accessor] : attributes) {
      const std::size_t own = document.accessors[accessor].count;
      if (own == count) continue;
      return at('.' + shownName(name), damage("has " + std::to_string(own) + " elements, but " +
                                              shownName(first) + " has " + std::to_string(count)));
    }
    return {};
  };
  if (auto checked = checkCounts(primitive.attributes); !checked)
    return at(".attributes", std::move(checked));
  return at(".", checkEach("targets", primitive.targets, checkCounts));
}

/// Vertex indices are plain whole numbers; what they are is checked with the data (see checkGltfData).
Result<void> checkVertexIndices(const GltfDocument& document, const GltfPrimitive& primitive) {
  if (!primitive.indices) return {};
  const GltfAccessor& accessor = document.accessors[*primitive.indices];
  if (accessor.type != "SCALAR" || !isGltfIndexType(accessor.component))
    return damage("has indices that are not unsigned integers");
  if (accessor.isNormalized) return damage("has indices that are normalized");
  return {};
}

/// The number of a set of joints or weights ("JOINTS_0"); empty when the attribute is another.
std::string setOf(const std::string& attribute, BasicStringRef beginning) {
  return attribute.starts_with(beginning) ? attribute.substr(beginning.size()) : std::string();
}

/// Each set of joints has its weights, four of each for every point.
Result<void> checkJoints(const GltfDocument& document, const GltfPrimitive& primitive) {
  std::set<std::string> joints;
  std::set<std::string> weights;
  for (const auto& [name, index] : primitive.attributes) {
    const GltfAccessor& accessor = document.accessors[index];
    const std::string ofJoints = setOf(name, "JOINTS_");
    const std::string ofWeights = setOf(name, "WEIGHTS_");
    const bool isWhole =
        accessor.component == GltfComponent::uint8 || accessor.component == GltfComponent::uint16;
    if (!ofJoints.empty() && (accessor.type != "VEC4" || !isWhole || accessor.isNormalized))
      return damage("has joints that are not four whole numbers of 8 or 16 bits");
    if (!ofWeights.empty() && (accessor.type != "VEC4" || !isFraction(accessor)))
      return damage("has weights that are not four numbers from 0 to 1");
    if (!ofJoints.empty()) joints.insert(ofJoints);
    if (!ofWeights.empty()) weights.insert(ofWeights);
  }
  if (joints == weights) return {};
  return damage("has joints without weights, or weights without joints");
}

Result<void> checkMesh(const GltfDocument& document, const GltfMesh& mesh) {
  return at(".", checkEach("primitives", mesh.primitives, [&](const GltfPrimitive& primitive) {
              Result<void> checked = checkPositions(document, primitive);
              if (checked) checked = checkPointCounts(document, primitive);
              if (checked) checked = checkVertexIndices(document, primitive);
              if (checked) checked = checkJoints(document, primitive);
              return checked;
            }));
}

Result<void> checkSkin(const GltfDocument& document, const GltfSkin& skin) {
  if (!skin.inverseBindMatrices) return {};
  const GltfAccessor& accessor = document.accessors[*skin.inverseBindMatrices];
  if (accessor.type != "MAT4" || !isFloat(accessor))
    return damage("has inverse bind matrices that are not 4 by 4 matrices of floats");
  if (accessor.count >= skin.joints.size()) return {};
  return damage("has " + std::to_string(skin.joints.size()) + " joints and only " +
                std::to_string(accessor.count) + " inverse bind matrices");
}

/// What moves, turns and scales the instances of a mesh.
Result<void> checkInstancing(const GltfDocument& document, const GltfNode& node) {
  if (node.instancing.empty()) return {};
  const std::size_t count = document.accessors[node.instancing.front().second].count;
  for (const auto& [name, index] : node.instancing) {
    const GltfAccessor& accessor = document.accessors[index];
    const bool isPlace = name == "TRANSLATION" || name == "SCALE";
    if (accessor.count != count) return damage("has instances with attributes of different counts");
    if (isPlace && (accessor.type != "VEC3" || !isFloat(accessor)))
      return damage("has instances whose " + name + " is not a triple of floats");
    const bool isTurn =
        isFloat(accessor) || (accessor.isNormalized && (accessor.component == GltfComponent::int8 ||
                                                        accessor.component == GltfComponent::int16));
    if (name == "ROTATION" && (accessor.type != "VEC4" || !isTurn))
      return damage("has instances whose ROTATION is not a quaternion");
  }
  return {};
}

Result<void> checkNode(const GltfDocument& document, const GltfNode& node) {
  if (!node.skin) return checkInstancing(document, node);
  for (const GltfPrimitive& primitive : document.meshes[*node.mesh].primitives) {
    if (primitive.attributes.empty() || primitive.attribute("JOINTS_0")) continue;
    return damage("has a skin, but meshes[" + std::to_string(*node.mesh) + "] has no joints");
  }
  return {};
}

}  // namespace

Result<void> checkGltf(const GltfDocument& document) {
  const auto with = [&document](auto check) {
    return [&document, check](const auto& element) { return check(document, element); };
  };
  auto checked = checkEach("bufferViews", document.views, with(checkView));
  if (checked) checked = checkEach("accessors", document.accessors, with(checkAccessor));
  if (checked) checked = checkEach("meshes", document.meshes, with(checkMesh));
  if (checked) checked = checkEach("skins", document.skins, with(checkSkin));
  if (checked) checked = checkEach("nodes", document.nodes, with(checkNode));
  return checked;
}

}  // namespace Tal
