#include <core/display_text.h>
#include <model/gltf_bounds.h>
#include <model/gltf_check.h>
#include <model/gltf_fault.h>
#include <model/gltf_shape.h>
#include <model/gltf_walk.h>
#include <resources/number_text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace Tal {
namespace {

using nlohmann::json;

constexpr float kVersion = 2.0F;
constexpr std::size_t kDefaultMode = 4;  // triangles
constexpr std::size_t kLastMode = 6;
constexpr std::uint64_t kMaxNumber = std::numeric_limits<std::int32_t>::max();

std::size_t sizeOfList(const json& root, BasicStringRef name) {
  const auto found = root.find(name);
  return found == root.end() ? 0 : found->size();
}

/// A number from 0 to kMaxNumber.
std::size_t numberOf(const json& value, const GltfPlace& place) {
  if (!value.is_number_unsigned()) place.fail("is no whole number from 0 up");
  const auto number = value.get<std::uint64_t>();
  if (number > kMaxNumber) place.fail("is " + std::to_string(number) + ", which is more than any file holds");
  return static_cast<std::size_t>(number);
}

std::size_t numberAt(const json& object, const GltfPlace& place, BasicStringRef key, std::size_t fallback) {
  const auto found = object.find(key);
  return found == object.end() ? fallback : numberOf(*found, {&place, key, 0});
}

std::size_t requiredNumber(const json& object, const GltfPlace& place, BasicStringRef key) {
  if (!object.contains(key)) place.fail("has no " + quotedName(key));
  return numberAt(object, place, key, 0);
}

const json& requiredObject(const json& object, const GltfPlace& place, BasicStringRef key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_object()) place.fail("has no object " + quotedName(key));
  return *found;
}

void checkVersion(const json& root) {
  std::string version;
  walkGltf(root, nullptr, "asset.version", [&](const json& value, const GltfPlace& /*place*/) {
    if (value.is_string()) version = value.get<std::string>();
  });
  if (version.empty()) throw GltfFault(R"(has no "asset" with a "version", so it is no glTF)");
  if (!version.starts_with("2.")) {
    throw GltfFault("is glTF of version " + quotedName(version) + "; only version 2 can be imported");
  }
}

void checkNeededVersion(const json& root) {
  walkGltf(root, nullptr, "asset.minVersion", [](const json& value, const GltfPlace& place) {
    if (!value.is_string()) place.fail("is no text");
    const auto& text = value.get_ref<const std::string&>();
    const auto version = parseFloat(text);
    if (version && *version <= kVersion) return;
    throw GltfFault("needs glTF of version " + quotedName(text) + "; only version 2.0 can be imported");
  });
}

/// Extensions that change no positions, or that are understood.
bool isSupportedExtension(BasicStringRef name) {
  static constexpr std::array<BasicStringRef, 4> kKnownBeginnings = {"KHR_materials_", "KHR_texture_",
                                                                     "KHR_lights_", "EXT_texture_"};
  return name == "KHR_mesh_quantization" ||
         std::any_of(kKnownBeginnings.begin(), kKnownBeginnings.end(),
                     [name](BasicStringRef known) { return name.starts_with(known); });
}

void checkExtensions(const json& root) {
  walkGltf(root, nullptr, "extensionsRequired[]", [](const json& value, const GltfPlace& place) {
    if (!value.is_string()) place.fail("is no text");
    const auto& name = value.get_ref<const std::string&>();
    if (isSupportedExtension(name)) return;
    throw GltfFault("requires the extension " + quotedName(name) +
                    ", which cannot be imported; export it without");
  });
}

void checkTypes(const json& root) {
  static constexpr std::array<BasicStringRef, 11> kLists = {
      "scenes",  "nodes",  "meshes",   "materials", "accessors", "bufferViews",
      "buffers", "images", "textures", "skins",     "animations"};
  for (const BasicStringRef list : kLists) {
    walkGltf(root, nullptr, std::string(list) + "[]", [](const json& value, const GltfPlace& place) {
      if (!value.is_object()) place.fail("is no object");
    });
  }
  static constexpr std::array<BasicStringRef, 6> kTexts = {
      "nodes[].name", "meshes[].name", "materials[].name", "scenes[].name", "buffers[].uri", "images[].uri"};
  for (const BasicStringRef text : kTexts) {
    walkGltf(root, nullptr, text, [](const json& value, const GltfPlace& place) {
      if (!value.is_string()) place.fail("is no text");
    });
  }
  walkGltf(root, nullptr, "materials[].extras", [](const json& value, const GltfPlace& place) {
    if (!value.is_object()) return;  // extras may be anything
    const auto kind = value.find("materialKind");
    if (kind == value.end()) return;
    const GltfPlace kindPlace{&place, "materialKind", 0};
    const bool isWholeFloat = kind->is_number_float() && kind->get<double>() >= 0 &&
                              kind->get<double>() <= static_cast<double>(kMaxNumber) &&
                              kind->get<double>() == static_cast<double>(kind->get<std::int64_t>());
    if (!isWholeFloat) numberOf(*kind, kindPlace);
  });
}

void checkTransforms(const json& root) {
  static constexpr std::array<std::pair<BasicStringRef, std::size_t>, 4> kTransforms = {
      {{"nodes[].matrix", 16}, {"nodes[].translation", 3}, {"nodes[].rotation", 4}, {"nodes[].scale", 3}}};
  for (const auto& [path, size] : kTransforms) {
    walkGltf(root, nullptr, path, [count = size](const json& value, const GltfPlace& place) {
      const bool isNumbers =
          value.is_array() && value.size() == count &&
          std::all_of(value.begin(), value.end(), [](const json& element) { return element.is_number(); });
      if (!isNumbers) place.fail("is no list of " + std::to_string(count) + " numbers");
    });
  }
}

void checkIndices(const json& root) {
  struct IndexRule {
    BasicStringRef path;
    BasicStringRef target;
  };
  static constexpr std::array<IndexRule, 21> kRules = {{
      {"scene", "scenes"},
      {"scenes[].nodes[]", "nodes"},
      {"nodes[].children[]", "nodes"},
      {"nodes[].mesh", "meshes"},
      {"nodes[].skin", "skins"},
      {"nodes[].camera", "cameras"},
      {"meshes[].primitives[].attributes{}", "accessors"},
      {"meshes[].primitives[].indices", "accessors"},
      {"meshes[].primitives[].material", "materials"},
      {"meshes[].primitives[].targets[]{}", "accessors"},
      {"accessors[].bufferView", "bufferViews"},
      {"accessors[].sparse.indices.bufferView", "bufferViews"},
      {"accessors[].sparse.values.bufferView", "bufferViews"},
      {"bufferViews[].buffer", "buffers"},
      {"images[].bufferView", "bufferViews"},
      {"textures[].source", "images"},
      {"textures[].sampler", "samplers"},
      {"skins[].joints[]", "nodes"},
      {"skins[].inverseBindMatrices", "accessors"},
      {"animations[].channels[].target.node", "nodes"},
      {"animations[].samplers[].input", "accessors"},
  }};
  for (const IndexRule& rule : kRules) {
    const std::size_t count = sizeOfList(root, rule.target);
    walkGltf(root, nullptr, rule.path, [&](const json& value, const GltfPlace& place) {
      const std::size_t index = numberOf(value, place);
      if (index < count) return;
      place.fail("is " + std::to_string(index) + ", but there are " + std::to_string(count) + " " +
                 std::string(rule.target));
    });
  }
}

void checkBuffers(const json& root) {
  walkGltf(root, nullptr, "buffers[]", [](const json& buffer, const GltfPlace& place) {
    if (requiredNumber(buffer, place, "byteLength") == 0) place.fail("is empty");
  });
  walkGltf(root, nullptr, "bufferViews[]", [&](const json& view, const GltfPlace& place) {
    const std::size_t buffer = requiredNumber(view, place, "buffer");
    const std::size_t end =
        numberAt(view, place, "byteOffset", 0) + requiredNumber(view, place, "byteLength");
    const auto bufferSize = root["buffers"][buffer]["byteLength"].get<std::size_t>();
    if (end > bufferSize) {
      place.fail("ends at byte " + std::to_string(end) + " of a buffer of " + std::to_string(bufferSize));
    }
    const std::size_t stride = numberAt(view, place, "byteStride", 4);
    if (stride < 4 || stride > 252 || stride % 4 != 0) place.fail("has an impossible \"byteStride\"");
  });
}

std::size_t componentSize(std::size_t componentType, const GltfPlace& place) {
  switch (componentType) {
    case 5120:
    case 5121:
      return 1;
    case 5122:
    case 5123:
      return 2;
    case 5125:
    case 5126:
      return 4;
    default:
      place.fail("has the unknown \"componentType\" " + std::to_string(componentType));
  }
}

/// Whether numbers of this type can be indices: they are whole and from 0 up.
bool isIndexType(std::size_t componentType) {
  return componentType == 5121 || componentType == 5123 || componentType == 5125;
}

/// The bytes of one element; the columns of a matrix begin at multiples of 4.
std::size_t elementSize(const json& accessor, const GltfPlace& place) {
  struct ElementType {
    BasicStringRef name;
    std::size_t columns;
    std::size_t rows;
  };
  static constexpr std::array<ElementType, 7> kTypes = {{{"SCALAR", 1, 1},
                                                         {"VEC2", 1, 2},
                                                         {"VEC3", 1, 3},
                                                         {"VEC4", 1, 4},
                                                         {"MAT2", 2, 2},
                                                         {"MAT3", 3, 3},
                                                         {"MAT4", 4, 4}}};
  const std::size_t size = componentSize(requiredNumber(accessor, place, "componentType"), place);
  const auto type = accessor.find("type");
  if (type == accessor.end() || !type->is_string()) place.fail("has no \"type\"");
  for (const ElementType& known : kTypes) {
    if (known.name != type->get_ref<const std::string&>()) continue;
    const std::size_t column = size * known.rows;
    return known.columns == 1 ? column : known.columns * ((column + 3) / 4 * 4);
  }
  place.fail("has the unknown \"type\" " + quotedName(type->get_ref<const std::string&>()));
}

/// Elements that stand one behind the other in a buffer view.
struct ElementRange {
  std::size_t offset;  ///< of the first, in the view
  std::size_t count;   ///< at least 1
  std::size_t elementSize;
  std::size_t componentSize;
};

/// Makes sure that elements lie inside a buffer view, at addresses that numbers of their size can have.
void checkRange(const json& view, const GltfPlace& place, const ElementRange& range) {
  const std::size_t stride = view.value("byteStride", range.elementSize);
  const auto available = view["byteLength"].get<std::size_t>();
  if (stride < range.elementSize) place.fail("has elements that are larger than their \"byteStride\"");
  const std::size_t needed = range.offset + stride * (range.count - 1) + range.elementSize;
  if (needed > available) {
    place.fail("needs " + std::to_string(needed) + " bytes of a buffer view of " + std::to_string(available));
  }
  // A stride is a multiple of 4 (see checkBuffers), so the first element stands for all.
  const std::size_t begin = view.value("byteOffset", std::size_t{0}) + range.offset;
  if (begin % range.componentSize == 0) return;
  place.fail("begins at byte " + std::to_string(begin) +
             " of its buffer, which is no multiple of its component size " +
             std::to_string(range.componentSize));
}

const json& viewOf(const json& root, const json& object, const GltfPlace& place) {
  const std::size_t index = requiredNumber(object, place, "bufferView");  // in range, see checkIndices
  return root["bufferViews"][index];
}

/// `range` is that of the elements that the sparse values replace.
void checkSparse(const json& root, const json& accessor, const GltfPlace& place, const ElementRange& range) {
  const json& sparse = requiredObject(accessor, place, "sparse");
  const GltfPlace sparsePlace{&place, "sparse", 0};
  const std::size_t count = requiredNumber(sparse, sparsePlace, "count");
  if (count == 0 || count > range.count) sparsePlace.fail("has an impossible \"count\"");

  const json& indices = requiredObject(sparse, sparsePlace, "indices");
  const GltfPlace indicesPlace{&sparsePlace, "indices", 0};
  const std::size_t indexType = requiredNumber(indices, indicesPlace, "componentType");
  if (!isIndexType(indexType)) {
    indicesPlace.fail("has the unknown \"componentType\" " + std::to_string(indexType));
  }
  const std::size_t indexSize = componentSize(indexType, indicesPlace);
  checkRange(viewOf(root, indices, indicesPlace), indicesPlace,
             {numberAt(indices, indicesPlace, "byteOffset", 0), count, indexSize, indexSize});

  const json& values = requiredObject(sparse, sparsePlace, "values");
  const GltfPlace valuesPlace{&sparsePlace, "values", 0};
  checkRange(viewOf(root, values, valuesPlace), valuesPlace,
             {numberAt(values, valuesPlace, "byteOffset", 0), count, range.elementSize, range.componentSize});
}

void checkAccessors(const json& root) {
  walkGltf(root, nullptr, "accessors[]", [&](const json& accessor, const GltfPlace& place) {
    const ElementRange range{numberAt(accessor, place, "byteOffset", 0),
                             requiredNumber(accessor, place, "count"), elementSize(accessor, place),
                             componentSize(accessor["componentType"].get<std::size_t>(), place)};
    if (range.count == 0) place.fail("is empty");
    if (accessor.contains("bufferView")) {
      checkRange(viewOf(root, accessor, place), place, range);
    } else if (range.count > kMaxGltfPoints) {
      place.fail("has " + std::to_string(range.count) + " elements that no buffer view holds; at most " +
                 std::to_string(kMaxGltfPoints) + " can be imported");
    }
    if (accessor.contains("sparse")) checkSparse(root, accessor, place, range);
  });
  walkGltf(root, nullptr, "accessors[].normalized", [](const json& value, const GltfPlace& place) {
    if (!value.is_boolean()) place.fail("is neither true nor false");
  });
}

const json& accessorAt(const json& root, const json& index) {
  return root["accessors"][index.get<std::size_t>()];  // in range, see checkIndices
}

/// Positions are three floats, or whole numbers in a file with quantized meshes.
void checkPositions(const json& root, const json& attributes, const GltfPlace& place) {
  const auto position = attributes.find("POSITION");
  if (position == attributes.end()) return;
  const json& accessor = accessorAt(root, *position);
  const bool isFloat = accessor["componentType"] == 5126;
  if (accessor["type"] != "VEC3" || accessor["componentType"] == 5125) {
    place.fail("has positions that are no triples of floats");
  }
  if (isFloat) return;
  const auto required = root.find("extensionsRequired");
  const bool isQuantized = required != root.end() && std::find(required->begin(), required->end(),
                                                               "KHR_mesh_quantization") != required->end();
  if (!isQuantized) place.fail("has positions that are no triples of floats");
}

/// Every attribute of a primitive, morphed ones too, says something of each of its points.
void checkPointCounts(const json& root, const json& primitive, const GltfPlace& place) {
  const json& attributes = primitive["attributes"];
  if (attributes.empty()) return;
  const auto position = attributes.find("POSITION");
  const auto first = position != attributes.end() ? position : attributes.begin();
  const json& count = accessorAt(root, first.value())["count"];
  const auto checkCount = [&](const json& attribute, const GltfPlace& attributePlace) {
    const json& attributeCount = accessorAt(root, attribute)["count"];
    if (attributeCount == count) return;
    attributePlace.fail("has " + attributeCount.dump() + " elements, but " + shownGltfKey(first.key()) +
                        " has " + count.dump());
  };
  walkGltf(primitive, &place, "attributes{}", checkCount);
  walkGltf(primitive, &place, "targets[]{}", checkCount);
}

/// Vertex indices are plain whole numbers; what they are is checked with the data (see checkGltfIndices).
void checkVertexIndices(const json& root, const json& primitive, const GltfPlace& place) {
  const auto indices = primitive.find("indices");
  if (indices == primitive.end()) return;
  const json& accessor = accessorAt(root, *indices);
  if (accessor["type"] != "SCALAR" || !isIndexType(accessor["componentType"].get<std::size_t>())) {
    place.fail("has indices that are no single whole numbers from 0 up");
  }
  if (accessor.value("normalized", false)) place.fail("has indices that are normalized");
}

void checkPrimitives(const json& root) {
  walkGltf(root, nullptr, "meshes[]", [&](const json& mesh, const GltfPlace& place) {
    if (!mesh.contains("primitives")) place.fail("has no \"primitives\"");
  });
  walkGltf(root, nullptr, "meshes[].primitives[]", [&](const json& primitive, const GltfPlace& place) {
    const std::size_t mode = numberAt(primitive, place, "mode", kDefaultMode);
    if (mode > kLastMode) place.fail("has the unknown \"mode\" " + std::to_string(mode));
    checkPositions(root, requiredObject(primitive, place, "attributes"), place);
    checkPointCounts(root, primitive, place);
    checkVertexIndices(root, primitive, place);
  });
}

}  // namespace

void checkGltfJson(BasicStringRef text) {
  checkGltfShape(text);
  const json root = json::parse(text);
  checkVersion(root);
  checkNeededVersion(root);
  checkExtensions(root);
  checkTypes(root);
  checkTransforms(root);
  checkIndices(root);
  checkBuffers(root);
  checkAccessors(root);
  checkPrimitives(root);
}

}  // namespace Tal
