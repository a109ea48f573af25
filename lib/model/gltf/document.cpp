#include <core/contains.h>
#include <core/display_text.h>
#include <core/white_space.h>
#include <model/gltf/document.h>
#include <model/gltf/fault.h>
#include <resources/number_text.h>

#include <algorithm>
#include <array>

namespace Tal {
namespace {

constexpr float kVersion = 2.0F;
constexpr std::size_t kLastMode = 6;
constexpr BasicStringRef kDracoExtension = "KHR_draco_mesh_compression";
constexpr BasicStringRef kQuantizationExtension = "KHR_mesh_quantization";
constexpr BasicStringRef kInstancingExtension = "EXT_mesh_gpu_instancing";
constexpr std::array<BasicStringRef, 2> kMeshoptExtensions = {"EXT_meshopt_compression",
                                                              "KHR_meshopt_compression"};

std::string trimmedText(const GltfObject& object, BasicStringRef key) {
  return std::string(trimmed(object.text(key)));
}

/// What the file says of the format itself.
struct GltfAsset {
  std::string version;
  std::string neededVersion;
  std::vector<std::string> neededExtensions;
};

/// Extensions that change no positions, or that are understood.
bool isSupportedExtension(BasicStringRef name) {
  static constexpr std::array<BasicStringRef, 4> kKnownBeginnings = {"KHR_materials_", "KHR_texture_",
                                                                     "KHR_lights_", "EXT_texture_"};
  return name == kQuantizationExtension || name == kDracoExtension || name == kInstancingExtension ||
         contains(kMeshoptExtensions, name) ||
         std::ranges::any_of(kKnownBeginnings,
                             [name](BasicStringRef known) { return name.starts_with(known); });
}

Result<void> checkAsset(const GltfAsset& asset) {
  if (asset.version.empty()) return gltfFault(R"(has no "asset" with a "version", so it is not glTF)");
  if (!asset.version.starts_with("2.")) {
    return gltfFault("is glTF of version " + quotedName(asset.version) + "; only version 2 can be imported");
  }
  if (!asset.neededVersion.empty()) {
    const auto needed = parseFloat(asset.neededVersion);
    if (!needed || *needed > kVersion) {
      return gltfFault("needs glTF of version " + quotedName(asset.neededVersion) +
                       "; only version 2.0 can be imported");
    }
  }
  for (const std::string& name : asset.neededExtensions) {
    if (isSupportedExtension(name)) continue;
    return gltfFault("requires the extension " + quotedName(name) + ", which cannot be imported",
                     "export it without");
  }
  return {};
}

GltfAsset readAsset(const GltfObject& root) {
  GltfAsset asset;
  root.object("asset", [&](const GltfObject& object) {
    asset.version = object.text("version");
    asset.neededVersion = object.text("minVersion");
  });
  asset.neededExtensions = root.texts("extensionsRequired");
  return asset;
}

GltfBuffer readBuffer(const GltfObject& object) {
  GltfBuffer buffer{object.requiredNumber("byteLength")};
  if (buffer.byteLength == 0) object.fail("is empty");
  if (object.has("uri")) buffer.uri = object.text("uri");
  object.object("extensions", [&](const GltfObject& extensions) {
    for (const BasicStringRef name : kMeshoptExtensions) {
      extensions.object(name, [&](const GltfObject& meshopt) {
        if (meshopt.flag("fallback")) buffer.fallbackOf = name;
      });
    }
  });
  return buffer;
}

GltfMeshopt readMeshopt(const GltfObject& object, BasicStringRef extension) {
  return {extension,
          object.requiredIndex("buffer", "buffers"),
          object.number("byteOffset", 0),
          object.requiredNumber("byteLength"),
          object.requiredNumber("byteStride"),
          object.requiredNumber("count"),
          object.text("mode"),
          object.text("filter")};
}

GltfBufferView readView(const GltfObject& object) {
  GltfBufferView view{object.requiredIndex("buffer", "buffers"), object.number("byteOffset", 0),
                      object.requiredNumber("byteLength"), object.number("byteStride", 0)};
  if (object.has("target")) view.target = object.requiredNumber("target");
  const bool isStride = view.byteStride >= 4 && view.byteStride <= 252 && view.byteStride % 4 == 0;
  if (object.has("byteStride") && !isStride) object.fail("has an impossible \"byteStride\"");
  object.object("extensions", [&](const GltfObject& extensions) {
    for (const BasicStringRef name : kMeshoptExtensions) {
      extensions.object(name, [&](const GltfObject& meshopt) { view.meshopt = readMeshopt(meshopt, name); });
    }
  });
  return view;
}

GltfComponent readComponent(const GltfObject& object, bool isForIndices) {
  const std::size_t number = object.requiredNumber("componentType");
  const auto component = static_cast<GltfComponent>(number);
  const bool isKnown = number >= 5120 && number <= 5126 && number != 5124;
  if (isKnown && (!isForIndices || isGltfIndexType(component))) return component;
  object.fail("has the unknown \"componentType\" " + std::to_string(number));
  return GltfComponent::uint8;
}

/// The bytes of one element; the columns of a matrix begin at multiples of 4.
std::size_t readElementSize(const GltfObject& object, const GltfAccessor& accessor) {
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
  if (accessor.type.empty()) object.fail("has no \"type\"");
  for (const ElementType& known : kTypes) {
    if (known.name != accessor.type) continue;
    const std::size_t column = gltfComponentSize(accessor.component) * known.rows;
    return known.columns == 1 ? column : known.columns * ((column + 3) / 4 * 4);
  }
  object.fail("has the unknown \"type\" " + quotedName(accessor.type));
  return 1;
}

GltfElementPlace readPlace(const GltfObject& object) {
  return {object.requiredIndex("bufferView", "bufferViews"), object.number("byteOffset", 0)};
}

GltfSparse readSparse(const GltfObject& object) {
  GltfSparse sparse;
  sparse.count = object.requiredNumber("count");
  object.requiredObject("indices", [&](const GltfObject& indices) {
    sparse.indexType = readComponent(indices, true);
    sparse.indices = readPlace(indices);
  });
  object.requiredObject("values", [&](const GltfObject& values) { sparse.values = readPlace(values); });
  return sparse;
}

GltfAccessor readAccessor(const GltfObject& object) {
  GltfAccessor accessor;
  accessor.component = readComponent(object, false);
  accessor.type = object.text("type");
  accessor.elementSize = readElementSize(object, accessor);
  accessor.count = object.requiredNumber("count");
  if (accessor.count == 0) object.fail("is empty");
  accessor.isNormalized = object.flag("normalized");
  const std::size_t byteOffset = object.number("byteOffset", 0);
  if (const auto view = object.index("bufferView", "bufferViews")) accessor.data = {*view, byteOffset};
  object.object("sparse", [&](const GltfObject& sparse) { accessor.sparse = readSparse(sparse); });
  return accessor;
}

GltfPrimitive readPrimitive(const GltfObject& object) {
  GltfPrimitive primitive;
  const std::size_t mode = object.number("mode", 0);
  if (mode > kLastMode) object.fail("has the unknown \"mode\" " + std::to_string(mode));
  object.requiredObject("attributes", [&](const GltfObject& attributes) {
    primitive.attributes = attributes.indicesByName("accessors");
  });
  object.objects("targets", [&](const GltfObject& target) {
    primitive.targets.push_back(target.indicesByName("accessors"));
  });
  primitive.indices = object.index("indices", "accessors");
  primitive.material = object.index("material", "materials");
  object.object("extensions", [&](const GltfObject& extensions) {
    extensions.object(kDracoExtension, [&](const GltfObject& draco) {
      primitive.draco = {draco.requiredIndex("bufferView", "bufferViews"), draco.numbersByName("attributes")};
    });
  });
  return primitive;
}

GltfMesh readMesh(const GltfObject& object) {
  GltfMesh mesh;
  object.text("name");
  object.requiredObjects("primitives", [&](const GltfObject& primitive) {
    mesh.primitives.push_back(readPrimitive(primitive));
  });
  object.reals("weights", mesh.primitives.empty() ? 0 : mesh.primitives.front().targets.size());
  return mesh;
}

GltfSkin readSkin(const GltfObject& object) {
  GltfSkin skin{object.indices("joints", "nodes"), object.index("inverseBindMatrices", "accessors")};
  if (skin.joints.empty()) object.fail("has no \"joints\"");
  object.index("skeleton", "nodes");
  return skin;
}

/// The map of a node; empty when it says none.
std::optional<Affine> readTransform(const GltfObject& object) {
  const std::vector<double> matrix = object.reals("matrix", 16);
  const std::vector<double> translation = object.reals("translation", 3);
  const std::vector<double> rotation = object.reals("rotation", 4);
  const std::vector<double> scale = object.reals("scale", 3);
  if (matrix.empty() && translation.empty() && rotation.empty() && scale.empty()) return std::nullopt;
  if (matrix.empty()) {
    const auto pointOf = [](const std::vector<double>& numbers, double otherwise) -> Point3 {
      if (numbers.empty()) return {otherwise, otherwise, otherwise};
      return {numbers[0], numbers[1], numbers[2]};
    };
    std::array<double, 4> turn = {0, 0, 0, 1};
    std::copy(rotation.begin(), rotation.end(), turn.begin());
    return affineOf(pointOf(translation, 0), turn, pointOf(scale, 1));
  }
  if (!translation.empty() || !rotation.empty() || !scale.empty())
    object.fail(R"(has a "matrix" and a "translation", "rotation" or "scale" beside it)");
  Affine local;
  for (std::size_t column = 0; column < 4; ++column)
    for (std::size_t row = 0; row < 3; ++row) local.columns[column][row] = matrix[column * 4 + row];
  return local;
}

GltfNode readNode(const GltfObject& object, std::vector<Affine>& transforms) {
  GltfNode node;
  if (object.isEmpty()) return node;  // nothing else is as short, so a document may hold millions
  node.name = trimmedText(object, "name");
  node.children = object.indices("children", "nodes");
  node.mesh = object.index("mesh", "meshes");
  node.skin = object.index("skin", "skins");
  object.index("camera", "cameras");
  if (node.skin && !node.mesh) object.fail("has a skin and no mesh");
  if (const auto transform = readTransform(object)) {
    node.transform = static_cast<std::uint32_t>(transforms.size());
    transforms.push_back(*transform);
  }
  object.anyObject("extras", [&](const GltfObject& extras) {
    // Modelling programs without a Boolean type for custom values write 1.
    node.isMarkedAsCollision = extras.isMarked("bsp");
  });
  object.object("extensions", [&](const GltfObject& extensions) {
    extensions.object(kInstancingExtension, [&](const GltfObject& instancing) {
      node.instancing = instancing.indicesByName("attributes", "accessors");
      if (!node.mesh) object.fail("has instances and no mesh");
    });
  });
  return node;
}

void checkTexture(const GltfObject& object, BasicStringRef key) {
  object.object(key, [](const GltfObject& texture) {
    texture.requiredIndex("index", "textures");
    texture.number("texCoord", 0);
    texture.real("scale");
    texture.real("strength");
  });
}

void checkLook(const GltfObject& object) {
  object.object("pbrMetallicRoughness", [](const GltfObject& look) {
    look.reals("baseColorFactor", 4);
    look.real("metallicFactor");
    look.real("roughnessFactor");
    checkTexture(look, "baseColorTexture");
    checkTexture(look, "metallicRoughnessTexture");
  });
  for (const char* const texture : {"normalTexture", "occlusionTexture", "emissiveTexture"})
    checkTexture(object, texture);
  object.reals("emissiveFactor", 3);
  object.real("alphaCutoff");
  object.flag("doubleSided");
  const std::string mode = object.text("alphaMode");
  if (!mode.empty() && mode != "OPAQUE" && mode != "MASK" && mode != "BLEND")
    object.fail("has the unknown \"alphaMode\" " + quotedName(mode));
}

GltfMaterial readMaterial(const GltfObject& object) {
  GltfMaterial material{trimmedText(object, "name")};
  checkLook(object);
  object.anyObject("extras", [&](const GltfObject& extras) {
    if (const auto kind = extras.wholeReal("materialKind")) material.kind = kind;
  });
  return material;
}

GltfImage readImage(const GltfObject& object) {
  GltfImage image{object.text("name"), object.text("uri"), object.text("mimeType"),
                  object.index("bufferView", "bufferViews")};
  if (image.view && object.has("uri")) object.fail(R"(has a "uri" and a "bufferView")");
  return image;
}

/// What nothing here reads is looked at where it refers to something that others do read.
void checkRest(const GltfObject& root) {
  root.objects("textures", [](const GltfObject& texture) {
    texture.index("source", "images");
    texture.index("sampler", "samplers");
  });
  root.objects("samplers", [](const GltfObject& sampler) {
    for (const char* const key : {"magFilter", "minFilter", "wrapS", "wrapT"}) sampler.number(key, 0);
  });
  root.objects("cameras", [](const GltfObject& /*camera*/) {});
  root.objects("animations", [](const GltfObject& animation) {
    animation.objects("channels", [](const GltfObject& channel) {
      channel.object("target", [](const GltfObject& target) { target.index("node", "nodes"); });
    });
    animation.objects("samplers", [](const GltfObject& sampler) {
      sampler.index("input", "accessors");
      sampler.index("output", "accessors");
    });
  });
}

template <class Element, class Read>
void readList(const GltfObject& root, BasicStringRef key, std::vector<Element>& elements, Read read) {
  elements.reserve(root.sizeOf(key));
  root.objects(key, [&](const GltfObject& object) { elements.push_back(read(object)); });
}

/// The top nodes of the default scene; empty when there is no scene.
std::optional<std::vector<std::uint32_t>> readScenes(const GltfObject& root) {
  const std::uint32_t chosen = root.index("scene", "scenes").value_or(0);
  std::vector<std::vector<std::uint32_t>> scenes;
  readList(root, "scenes", scenes, [](const GltfObject& scene) {
    scene.text("name");
    return scene.indices("nodes", "nodes");
  });
  if (chosen >= scenes.size()) return std::nullopt;
  return std::move(scenes[chosen]);
}

void readLists(const GltfObject& root, GltfDocument& document) {
  readList(root, "nodes", document.nodes,
           [&](const GltfObject& object) { return readNode(object, document.transforms); });
  readList(root, "materials", document.materials, readMaterial);
  readList(root, "meshes", document.meshes, readMesh);
  readList(root, "skins", document.skins, readSkin);
  readList(root, "buffers", document.buffers, readBuffer);
  readList(root, "bufferViews", document.views, readView);
  readList(root, "accessors", document.accessors, readAccessor);
  readList(root, "images", document.images, readImage);
  checkRest(root);
}

/// Nodes have at most one parent, and none is below itself.
Result<void> findParents(std::vector<GltfNode>& nodes) {
  const auto nodeText = [](std::size_t node) { return "nodes[" + std::to_string(node) + "]"; };
  for (std::uint32_t node = 0; node < nodes.size(); ++node) {
    for (const std::uint32_t child : nodes[node].children) {
      GltfIndex& parent = nodes[child].parent;
      if (parent) {
        return gltfFault("has " + nodeText(child) + " as the child of both " + nodeText(*parent) + " and " +
                         nodeText(node));
      }
      parent = node;
    }
  }
  // Walking up from each node, a node met again on the same way closes a cycle.
  std::vector<std::uint32_t> walkOf(nodes.size(), 0);
  for (std::uint32_t start = 0; start < nodes.size(); ++start) {
    for (GltfIndex node = start; node; node = nodes[*node].parent) {
      std::uint32_t& walk = walkOf[*node];
      if (walk == start + 1) return gltfFault("has " + nodeText(*node) + " below itself");
      if (walk != 0) break;
      walk = start + 1;
    }
  }
  return {};
}

Result<void> findRoots(GltfDocument& document, const std::optional<std::vector<std::uint32_t>>& scene) {
  if (!scene) {
    for (std::uint32_t node = 0; node < document.nodes.size(); ++node)
      if (!document.nodes[node].parent) document.roots.push_back(node);
    return {};
  }
  document.roots = *scene;
  std::vector<std::uint32_t> sorted = *scene;
  std::sort(sorted.begin(), sorted.end());
  for (const std::uint32_t root : *scene) {
    const auto& parent = document.nodes[root].parent;
    if (!parent) continue;
    return gltfFault("has nodes[" + std::to_string(root) +
                     "] at the top of its scene and as the child of nodes[" + std::to_string(*parent) + "]");
  }
  const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
  if (twice == sorted.end()) return {};
  return gltfFault("has nodes[" + std::to_string(*twice) + "] twice in its scene");
}

}  // namespace

GltfIndex gltfIndexNamed(const GltfIndicesByName& things, BasicStringRef name) {
  const auto found =
      std::lower_bound(things.begin(), things.end(), name,
                       [](const auto& one, BasicStringRef wanted) { return one.first < wanted; });
  return found != things.end() && found->first == name ? GltfIndex(found->second) : std::nullopt;
}

bool isGltfIndexType(GltfComponent component) noexcept {
  return component == GltfComponent::uint8 || component == GltfComponent::uint16 ||
         component == GltfComponent::uint32;
}

Result<void> readGltfJson(const GltfTree& tree, GltfDocument& document) {
  GltfAsset asset;
  if (auto read = tree.read([&](const GltfObject& root) { asset = readAsset(root); }); !read) return read;
  if (auto checked = checkAsset(asset); !checked) return checked;
  std::optional<std::vector<std::uint32_t>> scene;
  auto read = tree.read([&](const GltfObject& root) {
    scene = readScenes(root);
    document.isQuantized = contains(root.texts("extensionsUsed"), kQuantizationExtension) ||
                           contains(asset.neededExtensions, kQuantizationExtension);
    readLists(root, document);
  });
  if (!read) return read;
  if (auto found = findParents(document.nodes); !found) return found;
  return findRoots(document, scene);
}

}  // namespace Tal
