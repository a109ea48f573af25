#include <model/gltf/container.h>
#include <model/gltf/elements.h>
#include <model/gltf/fault.h>

#include <cstdint>
#include <utility>

namespace Tal {
namespace {

constexpr BasicStringRef kMagic = "glTF";
constexpr BasicStringRef kByteOrderMark = "\xef\xbb\xbf";
constexpr std::uint32_t kContainerVersion = 2;
constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::uint32_t kJsonChunk = 0x4e4f534a;
constexpr std::uint32_t kBinChunk = 0x004e4942;

struct Chunk {
  std::uint32_t type;
  BasicStringRef data;
};

std::uint32_t readUint32(BasicStringRef bytes, std::size_t offset) {
  return readNumber<std::uint32_t>(bytes.data() + offset);
}

void appendUint32(std::string& bytes, std::size_t value) {
  const auto number = static_cast<std::uint32_t>(value);
  bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
}

Result<void> checkHeader(BasicStringRef bytes) {
  if (bytes.size() < kHeaderSize) return gltfFault("is cut off inside its header");
  const std::uint32_t version = readUint32(bytes, 4);
  if (version != kContainerVersion) {
    return gltfFault("is a .glb of version " + std::to_string(version) + "; only version 2 can be imported");
  }
  const std::uint32_t length = readUint32(bytes, 8);
  if (length == bytes.size()) return {};
  return gltfFault("is " + std::string(length > bytes.size() ? "cut off" : "followed by other data") +
                   ": its header announces " + std::to_string(length) + " bytes, the file has " +
                   std::to_string(bytes.size()));
}

/// The chunk that begins at `offset`, which is moved behind it.
Result<Chunk> takeChunk(BasicStringRef bytes, std::size_t& offset) {
  if (bytes.size() - offset < kChunkHeaderSize) return gltfFault("is cut off inside a chunk's header");
  const std::uint32_t length = readUint32(bytes, offset);
  const std::uint32_t type = readUint32(bytes, offset + 4);
  offset += kChunkHeaderSize;
  if (length > bytes.size() - offset) {
    return gltfFault("has a chunk of " + std::to_string(length) + " bytes with " +
                     std::to_string(bytes.size() - offset) + " bytes left in the file");
  }
  if (length % kGlbAlignment != 0) {
    return gltfFault("has a chunk of " + std::to_string(length) + " bytes, which is not a multiple of 4");
  }
  const BasicStringRef data = bytes.substr(offset, length);
  offset += length;
  return Chunk{type, data};
}

Result<GltfContainer> splitGlb(BasicStringRef bytes) {
  if (const auto checked = checkHeader(bytes); !checked) return checked.fault();
  std::size_t offset = kHeaderSize;
  const auto text = takeChunk(bytes, offset);
  if (!text) return text.fault();
  if (text->type != kJsonChunk) return gltfFault("does not begin with a JSON chunk");
  GltfContainer container{text->data, {}, true};
  while (offset < bytes.size()) {
    const auto chunk = takeChunk(bytes, offset);
    if (!chunk) return chunk.fault();
    // Only the second chunk can be the binary one; chunks of other types are to be ignored.
    if (chunk->type == kBinChunk && container.bin.empty()) container.bin = chunk->data;
  }
  return container;
}

void appendChunk(std::string& glb, std::uint32_t type, BasicStringRef data, char padding) {
  const std::size_t padded = (data.size() + kGlbAlignment - 1) / kGlbAlignment * kGlbAlignment;
  appendUint32(glb, padded);
  appendUint32(glb, type);
  glb += data;
  glb.append(padded - data.size(), padding);
}

}  // namespace

Result<GltfContainer> splitGltf(BasicStringRef bytes) {
  if (bytes.empty()) return gltfFault("is empty");
  if (bytes.starts_with(kMagic)) return splitGlb(bytes);
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first == BasicStringRef::npos || bytes[first] != '{') {
    return gltfFault("is neither a .glb nor a .gltf file");
  }
  return GltfContainer{bytes, {}, false};
}

std::string joinGlb(BasicStringRef text, BasicStringRef bin) {
  std::string chunks;
  chunks.reserve(text.size() + bin.size() + 2 * (kChunkHeaderSize + kGlbAlignment));
  appendChunk(chunks, kJsonChunk, text, ' ');
  if (!bin.empty()) appendChunk(chunks, kBinChunk, bin, '\0');
  std::string glb(kMagic);
  appendUint32(glb, kContainerVersion);
  appendUint32(glb, kHeaderSize + chunks.size());
  return glb + chunks;
}

}  // namespace Tal
