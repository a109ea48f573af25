#include <core/display_text.h>
#include <draco/compression/mesh/mesh_edgebreaker_decoder.h>
#include <draco/compression/mesh/mesh_sequential_decoder.h>
#include <draco/core/varint_decoding.h>
#include <draco/metadata/metadata_decoder.h>
#include <model/gltf/fault.h>
#include <model/gltf/uncompress.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace Tal {
namespace {

constexpr const char* kUncompressIt = "export it without mesh compression, or compress it again";

// The memory that connectivity takes for a face, measured generously: the tables of corners, and one more for
// each set of attributes with seams of its own.
constexpr std::size_t kBytesPerFace = 128;
constexpr std::size_t kBytesPerSeamedFace = 64;

/// What a stream announces at its beginning, before anything of that is made.
struct DracoCounts {
  std::uint32_t faces = 0;
  std::uint32_t points = 0;  ///< of an edgebreaker stream at least so many
  std::uint8_t seams = 0;
  bool isEdgebreaker = false;
};

bool readCount(draco::DecoderBuffer& buffer, std::uint32_t& count) {
  // The number has another form since version 2.2 of the format.
  if (buffer.bitstream_version() < DRACO_BITSTREAM_VERSION(2, 2)) return buffer.Decode(&count);
  return draco::DecodeVarint(&count, &buffer);
}

draco::DecoderBuffer bufferOf(BasicStringRef stream) {
  draco::DecoderBuffer buffer;
  buffer.Init(stream.data(), stream.size());
  return buffer;
}

/// Follows the beginning of a stream as its decoders do ("Draco bitstream specification", 3.1 to 3.7).
std::optional<DracoCounts> countsOf(BasicStringRef stream) {
  draco::DecoderBuffer buffer = bufferOf(stream);
  draco::DracoHeader header{};
  if (!draco::PointCloudDecoder::DecodeHeader(&buffer, &header).ok()) return std::nullopt;
  if (header.encoder_type != draco::TRIANGULAR_MESH) return std::nullopt;
  buffer.set_bitstream_version(
      static_cast<std::uint16_t>(DRACO_BITSTREAM_VERSION(header.version_major, header.version_minor)));
  if (buffer.bitstream_version() >= DRACO_BITSTREAM_VERSION(1, 3) &&
      (header.flags & METADATA_FLAG_MASK) != 0) {
    draco::GeometryMetadata metadata;
    if (!draco::MetadataDecoder().DecodeGeometryMetadata(&buffer, &metadata)) return std::nullopt;
  }
  DracoCounts counts;
  counts.isEdgebreaker = header.encoder_method == draco::MESH_EDGEBREAKER_ENCODING;
  if (!counts.isEdgebreaker) {
    const bool isRead = readCount(buffer, counts.faces) && readCount(buffer, counts.points);
    return isRead ? std::optional(counts) : std::nullopt;
  }
  std::uint8_t traversal = 0;
  std::uint32_t newVertices = 0;
  const bool isOld = buffer.bitstream_version() < DRACO_BITSTREAM_VERSION(2, 2);
  const bool isRead = buffer.Decode(&traversal) && (!isOld || buffer.Decode(&newVertices)) &&
                      readCount(buffer, counts.points) && readCount(buffer, counts.faces) &&
                      buffer.Decode(&counts.seams);
  return isRead ? std::optional(counts) : std::nullopt;
}

/// A decoder that looks at what the attributes take before it makes them.
template <class Decoder>
class BoundedDecoder : public Decoder {
 public:
  explicit BoundedDecoder(GltfBudget& budget) : budget_(budget) {}

 private:
  bool DecodeAllAttributes() override {
    const auto& mesh = *this->mesh();
    std::size_t bytesPerPoint = 0;
    for (int index = 0; index < mesh.num_attributes(); ++index) {
      const auto components = static_cast<std::size_t>(mesh.attribute(index)->num_components());
      const auto own = static_cast<std::size_t>(mesh.attribute(index)->byte_stride());
      bytesPerPoint += own + components * sizeof(std::int32_t);
    }
    const std::size_t points = mesh.num_points();
    return budget_.take(bytesPerPoint * points) && Decoder::DecodeAllAttributes();
  }

  GltfBudget& budget_;
};

template <class Decoder>
std::unique_ptr<draco::Mesh> decodedBy(BasicStringRef stream, GltfBudget& budget) {
  draco::DecoderBuffer buffer = bufferOf(stream);
  auto mesh = std::make_unique<draco::Mesh>();
  BoundedDecoder<Decoder> decoder(budget);
  const bool isDecoded = decoder.Decode(draco::DecoderOptions(), &buffer, mesh.get()).ok();
  return isDecoded ? std::move(mesh) : nullptr;
}

/// The mesh of a stream; null when it cannot be decoded, or is another than is announced.
std::unique_ptr<draco::Mesh> decoded(BasicStringRef stream, std::size_t faces, std::size_t points,
                                     GltfBudget& budget) {
  const auto counts = countsOf(stream);
  if (!counts || counts->faces != faces || counts->points > points) return nullptr;
  if (!budget.take(faces * (kBytesPerFace + kBytesPerSeamedFace * counts->seams))) return nullptr;
  auto mesh = counts->isEdgebreaker ? decodedBy<draco::MeshEdgebreakerDecoder>(stream, budget)
                                    : decodedBy<draco::MeshSequentialDecoder>(stream, budget);
  if (mesh == nullptr || mesh->num_points() != points || mesh->num_faces() != faces) return nullptr;
  return mesh;
}

std::string indicesOf(const draco::Mesh& mesh) {
  std::string bytes;
  bytes.reserve(std::size_t{mesh.num_faces()} * 3 * sizeof(std::uint32_t));
  for (draco::FaceIndex face(0); face < mesh.num_faces(); ++face) {
    for (const draco::PointIndex& point : mesh.face(face)) {
      const std::uint32_t index = point.value();
      bytes.append(reinterpret_cast<const char*>(&index), sizeof(index));
    }
  }
  return bytes;
}

/// The values of an attribute of at most 16 components, one for each point; empty when they cannot be numbers
/// of this type.
template <class Number>
std::string valuesOf(const draco::Mesh& mesh, const draco::PointAttribute& attribute) {
  const auto components = static_cast<std::size_t>(attribute.num_components());
  std::string bytes(mesh.num_points() * components * sizeof(Number), '\0');
  const auto componentCount = static_cast<std::int8_t>(components);
  std::vector<Number> value(components);
  char* place = bytes.data();
  for (draco::PointIndex point(0); point < mesh.num_points(); ++point) {
    if (!attribute.ConvertValue(attribute.mapped_index(point), componentCount, value.data())) return {};
    std::memcpy(place, value.data(), components * sizeof(Number));
    place += components * sizeof(Number);
  }
  return bytes;
}

std::string valuesOf(const draco::Mesh& mesh, const draco::PointAttribute& attribute,
                     const GltfAccessor& accessor) {
  const std::size_t components = accessor.elementSize / gltfComponentSize(accessor.component);
  if (static_cast<std::size_t>(attribute.num_components()) != components) return {};
  return visitGltfNumber(accessor.component,
                         [&](auto number) { return valuesOf<decltype(number)>(mesh, attribute); });
}

/// Adds a view of new bytes and an accessor that is all of it; its place.
std::uint32_t addAccessor(GltfDocument& document, GltfAccessor accessor, std::string bytes) {
  GltfBufferView view;
  view.byteLength = bytes.size();
  view.bytes = document.uncompressed.emplace_back(std::move(bytes));
  accessor.data = {static_cast<std::uint32_t>(document.views.size()), 0};
  accessor.sparse.reset();
  document.views.push_back(std::move(view));
  document.accessors.push_back(std::move(accessor));
  return static_cast<std::uint32_t>(document.accessors.size() - 1);
}

Result<void> uncompressPrimitive(GltfDocument& document, GltfPrimitive& primitive, const std::string& place,
                                 GltfBudget& budget) {
  const auto position = primitive.attribute("POSITION");
  if (!primitive.indices || !position)
    return gltfFault(place + " is compressed and has no \"indices\" or no POSITION");
  const std::size_t faces = document.accessors[*primitive.indices].count / 3;
  const std::size_t points = document.accessors[*position].count;
  const auto mesh = decoded(document.views[primitive.draco->view].bytes, faces, points, budget);
  if (mesh == nullptr) {
    return gltfFault(place +
                         " holds a mesh that cannot be uncompressed, or that has another number of points "
                         "or triangles than its accessors",
                     kUncompressIt);
  }
  for (auto& [name, index] : primitive.attributes) {
    const GltfIndex stream = gltfIndexNamed(primitive.draco->attributes, name);
    if (!stream) continue;  // stands beside the compressed ones
    const draco::PointAttribute* const attribute = mesh->GetAttributeByUniqueId(*stream);
    GltfAccessor accessor = document.accessors[index];
    std::string values;
    if (attribute != nullptr && budget.take(points * accessor.elementSize))
      values = valuesOf(*mesh, *attribute, accessor);
    if (values.empty()) {
      return gltfFault(place + " has another attribute " + shownName(name) + " in its compressed mesh",
                       kUncompressIt);
    }
    index = addAccessor(document, std::move(accessor), std::move(values));
  }
  GltfAccessor indices;
  indices.component = GltfComponent::uint32;
  indices.type = "SCALAR";
  indices.count = faces * 3;
  indices.elementSize = sizeof(std::uint32_t);
  primitive.indices = addAccessor(document, std::move(indices), indicesOf(*mesh));
  return {};
}

}  // namespace

Result<void> uncompressGltfMeshes(GltfDocument& document, GltfBudget& budget) {
  for (std::size_t mesh = 0; mesh < document.meshes.size(); ++mesh) {
    auto& primitives = document.meshes[mesh].primitives;
    for (std::size_t index = 0; index < primitives.size(); ++index) {
      if (!primitives[index].draco) continue;
      auto done = uncompressPrimitive(
          document, primitives[index],
          "meshes[" + std::to_string(mesh) + "].primitives[" + std::to_string(index) + "]", budget);
      if (!done) return done;
    }
  }
  return {};
}

}  // namespace Tal
