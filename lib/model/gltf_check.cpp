#include <core/format.h>
#include <core/nearest_name.h>
#include <model/gltf_bounds.h>
#include <model/gltf_check.h>
#include <model/gltf_fault.h>
#include <resources/number_text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace Tal {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxValues = 4'000'000;
constexpr std::size_t kShownParserText = 160;
constexpr float kVersion = 2.0F;
constexpr std::size_t kDefaultMode = 4;  // triangles
constexpr std::size_t kLastMode = 6;
constexpr std::uint64_t kMaxNumber = std::numeric_limits<std::int32_t>::max();

// --- JSON of bounded depth and size
// -------------------------------------------------------------------------

std::string parserText(const std::string& exceptionText) {
  // "[json.exception.parse_error.101] parse error at line 1, column 2: ...; last read: '...'"
  const std::size_t begin = exceptionText.find("] ");
  std::string text = begin == std::string::npos ? exceptionText : exceptionText.substr(begin + 2);
  text = text.substr(0, std::min(text.find("; last read"), kShownParserText));
  return escapeControls(text);
}

/// Sees a document go by without keeping it and stops at what is too deep or too much.
class ShapeChecker : public nlohmann::json_sax<json> {
 public:
  bool null() override { return countValue(); }
  bool boolean(bool /*value*/) override { return countValue(); }
  bool number_integer(number_integer_t /*value*/) override { return countValue(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return countValue(); }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return countValue(); }
  bool string(string_t& /*value*/) override { return countValue(); }
  bool binary(binary_t& /*value*/) override { return countValue(); }
  bool key(string_t& /*value*/) override { return true; }
  bool start_object(std::size_t /*size*/) override { return enter(); }
  bool start_array(std::size_t /*size*/) override { return enter(); }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    throw GltfFault("holds no JSON: " + parserText(error.what()));
  }

 private:
  bool countValue() {
    if (++values_ > kMaxValues) throw GltfFault("holds more than " + std::to_string(kMaxValues) + " values");
    return true;
  }

  bool enter() {
    if (++depth_ > kMaxDepth) {
      throw GltfFault("is nested deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    return countValue();
  }

  bool leave() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  std::size_t values_ = 0;
};

// --- Walking to the places that are checked
// -----------------------------------------------------------------

/// Where a value stands in the document; written out only when something is wrong with it.
struct Place {
  const Place* parent;
  BasicStringRef key;  ///< empty for an element of a list
  std::size_t index;

  std::string text() const {
    const std::string before = parent == nullptr ? std::string() : parent->text();
    if (key.data() == nullptr) return before + '[' + std::to_string(index) + ']';
    return (before.empty() ? before : before + '.') + escapeControls(key.substr(0, 64));
  }
};

using Visit = std::function<void(const json& value, const Place& place)>;

[[noreturn]] void fail(const Place& place, const std::string& fault) {
  throw GltfFault(place.text() + ' ' + fault);
}

/// Calls `visit` for every value at `path`: keys joined by dots, "[]" behind a key for each element of that
/// list, "{}" for each member of that object. What is absent is not visited; a list, an object or an element
/// of another type is a fault.
void walk(const json& value, const Place* place, BasicStringRef path, const Visit& visit) {
  if (path.empty()) return visit(value, *place);
  if (path.starts_with("[]")) {
    if (!value.is_array()) fail(*place, "is no list");
    std::size_t index = 0;
    for (const json& element : value) {
      const Place elementPlace{place, {}, index++};
      walk(element, &elementPlace, path.substr(2), visit);
    }
    return;
  }
  if (path.starts_with("{}")) {
    if (!value.is_object()) fail(*place, "is no object");
    for (const auto& member : value.items()) {
      const Place memberPlace{place, member.key(), 0};
      walk(member.value(), &memberPlace, path.substr(2), visit);
    }
    return;
  }
  if (path.starts_with('.')) path.remove_prefix(1);
  if (!value.is_object()) {
    if (place == nullptr) throw GltfFault("holds no JSON object");
    fail(*place, "is no object");
  }
  const BasicStringRef key = path.substr(0, path.find_first_of(".[{"));
  const auto found = value.find(key);
  if (found == value.end()) return;
  const Place memberPlace{place, key, 0};
  walk(*found, &memberPlace, path.substr(key.size()), visit);
}

// --- Values
// -------------------------------------------------------------------------------------------------

std::size_t sizeOfList(const json& root, BasicStringRef name) {
  const auto found = root.find(name);
  return found == root.end() ? 0 : found->size();
}

/// A number from 0 to kMaxNumber.
std::size_t numberOf(const json& value, const Place& place) {
  if (!value.is_number_unsigned()) fail(place, "is no whole number from 0 up");
  const auto number = value.get<std::uint64_t>();
  if (number > kMaxNumber)
    fail(place, "is " + std::to_string(number) + ", which is more than any file holds");
  return static_cast<std::size_t>(number);
}

std::size_t numberAt(const json& object, const Place& place, BasicStringRef key, std::size_t fallback) {
  const auto found = object.find(key);
  return found == object.end() ? fallback : numberOf(*found, {&place, key, 0});
}

std::size_t requiredNumber(const json& object, const Place& place, BasicStringRef key) {
  if (!object.contains(key)) fail(place, "has no " + quotedName(key));
  return numberAt(object, place, key, 0);
}

const json& requiredObject(const json& object, const Place& place, BasicStringRef key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_object()) fail(place, "has no object " + quotedName(key));
  return *found;
}

// --- The checks
// ---------------------------------------------------------------------------------------------

void checkVersion(const json& root) {
  std::string version;
  walk(root, nullptr, "asset.version", [&](const json& value, const Place& /*place*/) {
    if (value.is_string()) version = value.get<std::string>();
  });
  if (version.empty()) throw GltfFault(R"(has no "asset" with a "version", so it is no glTF)");
  if (!version.starts_with("2.")) {
    throw GltfFault("is glTF of version " + quotedName(version) + "; only version 2 can be imported");
  }
}

void checkNeededVersion(const json& root) {
  walk(root, nullptr, "asset.minVersion", [](const json& value, const Place& place) {
    if (!value.is_string()) fail(place, "is no text");
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
  walk(root, nullptr, "extensionsRequired[]", [](const json& value, const Place& place) {
    if (!value.is_string()) fail(place, "is no text");
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
    walk(root, nullptr, std::string(list) + "[]", [](const json& value, const Place& place) {
      if (!value.is_object()) fail(place, "is no object");
    });
  }
  static constexpr std::array<BasicStringRef, 6> kTexts = {
      "nodes[].name", "meshes[].name", "materials[].name", "scenes[].name", "buffers[].uri", "images[].uri"};
  for (const BasicStringRef text : kTexts) {
    walk(root, nullptr, text, [](const json& value, const Place& place) {
      if (!value.is_string()) fail(place, "is no text");
    });
  }
  walk(root, nullptr, "materials[].extras", [](const json& value, const Place& place) {
    if (!value.is_object()) return;  // extras may be anything
    const auto kind = value.find("materialKind");
    if (kind == value.end()) return;
    const Place kindPlace{&place, "materialKind", 0};
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
    walk(root, nullptr, path, [size = size](const json& value, const Place& place) {
      const bool isNumbers =
          value.is_array() && value.size() == size &&
          std::all_of(value.begin(), value.end(), [](const json& element) { return element.is_number(); });
      if (!isNumbers) fail(place, "is no list of " + std::to_string(size) + " numbers");
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
    walk(root, nullptr, rule.path, [&](const json& value, const Place& place) {
      const std::size_t index = numberOf(value, place);
      if (index < count) return;
      fail(place, "is " + std::to_string(index) + ", but there are " + std::to_string(count) + " " +
                      std::string(rule.target));
    });
  }
}

void checkBuffers(const json& root) {
  walk(root, nullptr, "buffers[]", [](const json& buffer, const Place& place) {
    if (requiredNumber(buffer, place, "byteLength") == 0) fail(place, "is empty");
  });
  walk(root, nullptr, "bufferViews[]", [&](const json& view, const Place& place) {
    const std::size_t buffer = requiredNumber(view, place, "buffer");
    const std::size_t end =
        numberAt(view, place, "byteOffset", 0) + requiredNumber(view, place, "byteLength");
    const auto bufferSize = root["buffers"][buffer]["byteLength"].get<std::size_t>();
    if (end > bufferSize) {
      fail(place, "ends at byte " + std::to_string(end) + " of a buffer of " + std::to_string(bufferSize));
    }
    const std::size_t stride = numberAt(view, place, "byteStride", 4);
    if (stride < 4 || stride > 252 || stride % 4 != 0) fail(place, "has an impossible \"byteStride\"");
  });
}

std::size_t componentSize(std::size_t componentType, const Place& place) {
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
      fail(place, "has the unknown \"componentType\" " + std::to_string(componentType));
  }
}

/// Whether numbers of this type can be indices: they are whole and from 0 up.
bool isIndexType(std::size_t componentType) {
  return componentType == 5121 || componentType == 5123 || componentType == 5125;
}

/// The bytes of one element; the columns of a matrix begin at multiples of 4.
std::size_t elementSize(const json& accessor, const Place& place) {
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
  if (type == accessor.end() || !type->is_string()) fail(place, "has no \"type\"");
  for (const ElementType& known : kTypes) {
    if (known.name != type->get_ref<const std::string&>()) continue;
    const std::size_t column = size * known.rows;
    return known.columns == 1 ? column : known.columns * ((column + 3) / 4 * 4);
  }
  fail(place, "has the unknown \"type\" " + quotedName(type->get_ref<const std::string&>()));
}

/// Elements that stand one behind the other in a buffer view.
struct ElementRange {
  std::size_t offset;  ///< of the first, in the view
  std::size_t count;   ///< at least 1
  std::size_t elementSize;
  std::size_t componentSize;
};

/// Makes sure that elements lie inside a buffer view, at addresses that numbers of their size can have.
void checkRange(const json& view, const Place& place, const ElementRange& range) {
  const std::size_t stride = view.value("byteStride", range.elementSize);
  const auto available = view["byteLength"].get<std::size_t>();
  if (stride < range.elementSize) fail(place, "has elements that are larger than their \"byteStride\"");
  const std::size_t needed = range.offset + stride * (range.count - 1) + range.elementSize;
  if (needed > available) {
    fail(place,
         "needs " + std::to_string(needed) + " bytes of a buffer view of " + std::to_string(available));
  }
  // A stride is a multiple of 4 (see checkBuffers), so the first element stands for all.
  const std::size_t begin = view.value("byteOffset", std::size_t{0}) + range.offset;
  if (begin % range.componentSize == 0) return;
  fail(place, "begins at byte " + std::to_string(begin) +
                  " of its buffer, which is no multiple of its component size " +
                  std::to_string(range.componentSize));
}

const json& viewOf(const json& root, const json& object, const Place& place) {
  const std::size_t index = requiredNumber(object, place, "bufferView");  // in range, see checkIndices
  return root["bufferViews"][index];
}

/// `range` is that of the elements that the sparse values replace.
void checkSparse(const json& root, const json& accessor, const Place& place, const ElementRange& range) {
  const json& sparse = requiredObject(accessor, place, "sparse");
  const Place sparsePlace{&place, "sparse", 0};
  const std::size_t count = requiredNumber(sparse, sparsePlace, "count");
  if (count == 0 || count > range.count) fail(sparsePlace, "has an impossible \"count\"");

  const json& indices = requiredObject(sparse, sparsePlace, "indices");
  const Place indicesPlace{&sparsePlace, "indices", 0};
  const std::size_t indexType = requiredNumber(indices, indicesPlace, "componentType");
  if (!isIndexType(indexType)) {
    fail(indicesPlace, "has the unknown \"componentType\" " + std::to_string(indexType));
  }
  const std::size_t indexSize = componentSize(indexType, indicesPlace);
  checkRange(viewOf(root, indices, indicesPlace), indicesPlace,
             {numberAt(indices, indicesPlace, "byteOffset", 0), count, indexSize, indexSize});

  const json& values = requiredObject(sparse, sparsePlace, "values");
  const Place valuesPlace{&sparsePlace, "values", 0};
  checkRange(viewOf(root, values, valuesPlace), valuesPlace,
             {numberAt(values, valuesPlace, "byteOffset", 0), count, range.elementSize, range.componentSize});
}

void checkAccessors(const json& root) {
  walk(root, nullptr, "accessors[]", [&](const json& accessor, const Place& place) {
    const ElementRange range{numberAt(accessor, place, "byteOffset", 0),
                             requiredNumber(accessor, place, "count"), elementSize(accessor, place),
                             componentSize(accessor["componentType"].get<std::size_t>(), place)};
    if (range.count == 0) fail(place, "is empty");
    if (accessor.contains("bufferView")) {
      checkRange(viewOf(root, accessor, place), place, range);
    } else if (range.count > kMaxGltfPoints) {
      fail(place, "has " + std::to_string(range.count) + " elements that no buffer view holds; at most " +
                      std::to_string(kMaxGltfPoints) + " can be imported");
    }
    if (accessor.contains("sparse")) checkSparse(root, accessor, place, range);
  });
  walk(root, nullptr, "accessors[].normalized", [](const json& value, const Place& place) {
    if (!value.is_boolean()) fail(place, "is neither true nor false");
  });
}

const json& accessorAt(const json& root, const json& index) {
  return root["accessors"][index.get<std::size_t>()];  // in range, see checkIndices
}

/// Positions are three floats, or whole numbers in a file with quantized meshes.
void checkPositions(const json& root, const json& attributes, const Place& place) {
  const auto position = attributes.find("POSITION");
  if (position == attributes.end()) return;
  const json& accessor = accessorAt(root, *position);
  const bool isFloat = accessor["componentType"] == 5126;
  if (accessor["type"] != "VEC3" || accessor["componentType"] == 5125) {
    fail(place, "has positions that are no triples of floats");
  }
  if (isFloat) return;
  const auto required = root.find("extensionsRequired");
  const bool isQuantized = required != root.end() && std::find(required->begin(), required->end(),
                                                               "KHR_mesh_quantization") != required->end();
  if (!isQuantized) fail(place, "has positions that are no triples of floats");
}

/// Every attribute of a primitive, morphed ones too, says something of each of its points.
void checkPointCounts(const json& root, const json& primitive, const Place& place) {
  const json& attributes = primitive["attributes"];
  if (attributes.empty()) return;
  const auto position = attributes.find("POSITION");
  const auto first = position != attributes.end() ? position : attributes.begin();
  const json& count = accessorAt(root, first.value())["count"];
  const Visit checkCount = [&](const json& attribute, const Place& attributePlace) {
    const json& attributeCount = accessorAt(root, attribute)["count"];
    if (attributeCount == count) return;
    fail(attributePlace, "has " + attributeCount.dump() + " elements, but " +
                             escapeControls(BasicStringRef(first.key()).substr(0, 64)) + " has " +
                             count.dump());
  };
  walk(primitive, &place, "attributes{}", checkCount);
  walk(primitive, &place, "targets[]{}", checkCount);
}

/// Vertex indices are plain whole numbers; what they are is checked with the data (see checkGltfIndices).
void checkVertexIndices(const json& root, const json& primitive, const Place& place) {
  const auto indices = primitive.find("indices");
  if (indices == primitive.end()) return;
  const json& accessor = accessorAt(root, *indices);
  if (accessor["type"] != "SCALAR" || !isIndexType(accessor["componentType"].get<std::size_t>())) {
    fail(place, "has indices that are no single whole numbers from 0 up");
  }
  if (accessor.value("normalized", false)) fail(place, "has indices that are normalized");
}

void checkPrimitives(const json& root) {
  walk(root, nullptr, "meshes[]", [&](const json& mesh, const Place& place) {
    if (!mesh.contains("primitives")) fail(place, "has no \"primitives\"");
  });
  walk(root, nullptr, "meshes[].primitives[]", [&](const json& primitive, const Place& place) {
    const std::size_t mode = numberAt(primitive, place, "mode", kDefaultMode);
    if (mode > kLastMode) fail(place, "has the unknown \"mode\" " + std::to_string(mode));
    checkPositions(root, requiredObject(primitive, place, "attributes"), place);
    checkPointCounts(root, primitive, place);
    checkVertexIndices(root, primitive, place);
  });
}

}  // namespace

void checkGltfJson(BasicStringRef text) {
  ShapeChecker shape;
  json::sax_parse(text, &shape);
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
