#include <meshoptimizer.h>
#include <model/gltf/fault.h>
#include <model/gltf/uncompress.h>

#include <string>

namespace Tal {
namespace {

constexpr BasicStringRef kAttributes = "ATTRIBUTES";
constexpr BasicStringRef kTriangles = "TRIANGLES";
constexpr BasicStringRef kIndices = "INDICES";
constexpr const char* kCompressAgain = "compress it again, or not at all";
constexpr const char* kCompressOtherwise = "compress it with EXT_meshopt_compression, or not at all";

/// The version that a stream's first byte says in its lower four bits.
unsigned versionOf(BasicStringRef stream) {
  return static_cast<unsigned char>(stream.front()) & 0xFU;
}

/// What the decoders demand of the sizes; they do not look at them.
bool isDecodable(const GltfMeshopt& form) {
  const bool isIndex = form.byteStride == 2 || form.byteStride == 4;
  if (form.mode == kTriangles) return isIndex && form.count % 3 == 0;
  if (form.mode == kIndices) return isIndex;
  return form.mode == kAttributes && form.byteStride >= 4 && form.byteStride <= 256 &&
         form.byteStride % 4 == 0;
}

bool isFilterable(const GltfMeshopt& form) {
  if (form.filter.empty() || form.filter == "NONE") return true;
  if (form.mode != kAttributes) return false;
  if (form.filter == "OCTAHEDRAL") return form.byteStride == 4 || form.byteStride == 8;
  if (form.filter == "QUATERNION") return form.byteStride == 8;
  return form.filter == "EXPONENTIAL";
}

bool decode(const GltfMeshopt& form, BasicStringRef stream, std::string& bytes) {
  const auto* const begin = reinterpret_cast<const unsigned char*>(stream.data());
  if (form.mode == kTriangles)
    return meshopt_decodeIndexBuffer(bytes.data(), form.count, form.byteStride, begin, stream.size()) == 0;
  if (form.mode == kIndices)
    return meshopt_decodeIndexSequence(bytes.data(), form.count, form.byteStride, begin, stream.size()) == 0;
  return meshopt_decodeVertexBuffer(bytes.data(), form.count, form.byteStride, begin, stream.size()) == 0;
}

void filter(const GltfMeshopt& form, std::string& bytes) {
  if (form.filter == "OCTAHEDRAL") meshopt_decodeFilterOct(bytes.data(), form.count, form.byteStride);
  if (form.filter == "QUATERNION") meshopt_decodeFilterQuat(bytes.data(), form.count, form.byteStride);
  if (form.filter == "EXPONENTIAL") meshopt_decodeFilterExp(bytes.data(), form.count, form.byteStride);
}

Result<std::string> uncompressed(const GltfMeshopt& form, BasicStringRef stream, const std::string& place,
                                 GltfBudget& budget) {
  const bool isNewer = form.filter == "COLOR" || (form.mode == kAttributes && versionOf(stream) > 0);
  if (isNewer)
    return gltfFault(place + " is compressed in a newer way than can be imported", kCompressOtherwise);
  if (!isDecodable(form) || !isFilterable(form))
    return gltfFault(place + R"( has a "mode", "filter" or "byteStride" that do not fit)");
  const std::size_t size = form.count * form.byteStride;
  if (!budget.take(size)) {
    return gltfFault(place + " announces more than its compressed bytes can hold", kCompressAgain);
  }
  std::string bytes(size, '\0');
  if (!decode(form, stream, bytes)) return gltfFault(place + " cannot be uncompressed", kCompressAgain);
  filter(form, bytes);
  return bytes;
}

}  // namespace

Result<void> uncompressGltfViews(GltfDocument& document, GltfBudget& budget) {
  const BasicStringRef bin = document.bin;
  for (std::size_t index = 0; index < document.views.size(); ++index) {
    GltfBufferView& view = document.views[index];
    if (!view.meshopt) continue;
    const GltfMeshopt& form = *view.meshopt;
    auto bytes = uncompressed(
        form, bin.substr(form.byteOffset, form.byteLength),
        "bufferViews[" + std::to_string(index) + "].extensions." + std::string(form.extension), budget);
    if (!bytes) return std::move(bytes).fault();
    view.bytes = document.uncompressed.emplace_back(*std::move(bytes));
  }
  return {};
}

}  // namespace Tal
