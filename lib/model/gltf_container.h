#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <string>

namespace Tal {

/// No file that an import reads or makes is larger, in bytes.
constexpr std::size_t kMaxGltfBytes = std::size_t{512} << 20U;

/// The two things that a glTF file holds; both are views of the file's bytes.
struct GltfContainer {
  BasicStringRef json;
  BasicStringRef bin;     ///< empty when the file carries no binary data of its own
  bool isBinary = false;  ///< whether the file is a .glb
};

/// Takes a .glb or .gltf apart; which of the two it is, its first bytes say. Throws GltfFault.
GltfContainer splitGltf(BasicStringRef bytes);

/// The .glb of a document and its binary data, which may be empty; both are padded as the format demands.
std::string joinGlb(BasicStringRef json, BasicStringRef bin);

}  // namespace Tal
