#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <model/gltf/affine.h>
#include <model/gltf/json.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace Tal {

/// The index of an element in a list of the document; empty when there is none.
using GltfIndex = std::optional<std::uint32_t>;

/// The number of a thing of that name; empty when there is none.
GltfIndex gltfIndexNamed(const GltfIndicesByName& things, BasicStringRef name);

/// A buffer. Names are those of glTF 2.0, sizes and offsets are in bytes.
struct GltfBuffer {
  std::size_t byteLength = 0;
  std::optional<std::string> uri = {};
  BasicStringRef fallbackOf = {};  ///< the extension whose compressed views it holds no data for; or empty
};

/// How the bytes of a view are compressed (EXT_meshopt_compression and its KHR form).
struct GltfMeshopt {
  BasicStringRef extension;  ///< its name
  std::uint32_t buffer = 0;  ///< of the compressed bytes, and where they stand in it
  std::size_t byteOffset = 0;
  std::size_t byteLength = 0;
  std::size_t byteStride = 0;  ///< of the elements that they hold
  std::size_t count = 0;
  std::string mode;
  std::string filter;
};

struct GltfBufferView {
  std::uint32_t buffer = 0;
  std::size_t byteOffset = 0;
  std::size_t byteLength = 0;
  std::size_t byteStride = 0;  ///< 0 when the elements are tightly packed
  GltfIndex target = {};
  std::optional<GltfMeshopt> meshopt = {};
  BasicStringRef bytes = {};  ///< its data, uncompressed, once embedded; else null
};

/// Component types, as the format numbers them.
enum class GltfComponent : std::uint16_t {
  int8 = 5120,
  uint8 = 5121,
  int16 = 5122,
  uint16 = 5123,
  uint32 = 5125,
  float32 = 5126
};

/// The location of elements of an accessor.
struct GltfElementPlace {
  std::uint32_t view = 0;
  std::size_t byteOffset = 0;
};

struct GltfSparse {
  std::size_t count = 0;
  GltfComponent indexType = GltfComponent::uint8;
  GltfElementPlace indices;
  GltfElementPlace values;
};

struct GltfAccessor {
  std::optional<GltfElementPlace> data = {};  ///< without it all elements are 0
  GltfComponent component = GltfComponent::float32;
  std::string type;  ///< "SCALAR", "VEC3" and so on
  std::size_t count = 0;
  std::size_t elementSize = 0;
  bool isNormalized = false;
  std::optional<GltfSparse> sparse = {};
};

/// The compressed form of a primitive (KHR_draco_mesh_compression).
struct GltfDraco {
  std::uint32_t view = 0;
  GltfIndicesByName attributes;  ///< the names of the primitive's attributes and their numbers in the stream
};

struct GltfPrimitive {
  GltfIndicesByName attributes;
  std::vector<GltfIndicesByName> targets;
  GltfIndex indices = {};
  GltfIndex material = {};
  std::optional<GltfDraco> draco = {};

  /// The accessor of an attribute; empty when there is none of that name.
  GltfIndex attribute(BasicStringRef name) const { return gltfIndexNamed(attributes, name); }
};

struct GltfMesh {
  std::vector<GltfPrimitive> primitives;
};

struct GltfSkin {
  std::vector<std::uint32_t> joints;  ///< nodes
  GltfIndex inverseBindMatrices = {};
};

struct GltfNode {
  std::string name;  ///< without surrounding white space
  std::vector<std::uint32_t> children;
  GltfIndex parent = {};
  GltfIndex mesh = {};
  GltfIndex skin = {};
  GltfIndex transform = {};          ///< among the document's transforms; none moves nothing
  bool isMarkedAsCollision = false;  ///< `extras.bsp`
  GltfIndicesByName instancing;      ///< the accessors of EXT_mesh_gpu_instancing
};

struct GltfMaterial {
  std::string name;                        ///< without surrounding white space
  std::optional<std::uint32_t> kind = {};  ///< `extras.materialKind`
};

struct GltfImage {
  std::string name;
  std::string uri;  ///< empty when a view holds the image, or nothing does
  std::string mimeType;
  GltfIndex view = {};
};

/// A glTF 2.0 file, read once and shared by all that works on it. It is not moved, so that views of its data
/// stay valid as long as it lives.
struct GltfDocument {
  GltfDocument() = default;
  GltfDocument(const GltfDocument&) = delete;
  GltfDocument& operator=(const GltfDocument&) = delete;

  std::vector<GltfBuffer> buffers;
  std::vector<GltfBufferView> views;
  std::vector<GltfAccessor> accessors;
  std::vector<GltfMesh> meshes;
  std::vector<GltfSkin> skins;
  std::vector<GltfNode> nodes;
  std::vector<Affine> transforms;  ///< of nodes, into the space of the one above
  std::vector<GltfMaterial> materials;
  std::vector<GltfImage> images;
  std::vector<std::uint32_t> roots;  ///< the top nodes of the default scene; of the file when it has no scene
  bool isQuantized = false;          ///< whether it uses KHR_mesh_quantization

  std::string glb;                      ///< the file as a .glb with everything that it refers to
  BasicStringRef bin;                   ///< the binary data in that
  std::list<std::string> uncompressed;  ///< what compressed views and primitives hold
};

/// The transform from a node's space to its parent's.
inline Affine gltfLocalOf(const GltfDocument& document, const GltfNode& node) {
  return node.transform ? document.transforms[*node.transform] : Affine();
}

/// Calls `visit` with a number of the component type and returns its result.
template <class Visit>
auto visitGltfNumber(GltfComponent component, const Visit& visit) {
  switch (component) {
    case GltfComponent::int8:
      return visit(std::int8_t{});
    case GltfComponent::uint8:
      return visit(std::uint8_t{});
    case GltfComponent::int16:
      return visit(std::int16_t{});
    case GltfComponent::uint16:
      return visit(std::uint16_t{});
    case GltfComponent::uint32:
      return visit(std::uint32_t{});
    default:
      return visit(float{});
  }
}

/// The size in bytes of a component.
inline std::size_t gltfComponentSize(GltfComponent component) {
  return visitGltfNumber(component, [](auto number) { return sizeof(number); });
}

/// Whether numbers of this type can be indices: they are unsigned integers.
bool isGltfIndexType(GltfComponent component) noexcept;

/// Fills `document` from its JSON. A fault when a value has the wrong type, an index is out of range, or a
/// later version or an unknown extension is required. Nothing else is checked (see checkGltf). Usable on any
/// thread.
Result<void> readGltfJson(const GltfTree& tree, GltfDocument& document);

}  // namespace Tal
