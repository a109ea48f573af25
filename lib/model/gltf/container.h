#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <cstddef>
#include <string>

namespace Tal {

/// What the chunks of a .glb, and the views that are stored in one, are padded to, in bytes.
inline constexpr std::size_t kGlbAlignment = 4;

/// The two things that a glTF file holds; both are views of the file's bytes, which must outlive them.
struct GltfContainer {
  BasicStringRef json;
  BasicStringRef bin;     ///< empty when the file carries no binary data of its own
  bool isBinary = false;  ///< whether the file is a .glb
};

/// Takes a .glb or .gltf apart; which of the two it is, its first bytes say. A fault when it is
/// neither, or when the parts of a .glb do not fit together. What the JSON says is not looked at. Usable on
/// any thread, as is joinGlb.
Result<GltfContainer> splitGltf(BasicStringRef bytes);

/// The bytes of the .glb of a document's JSON text and its binary data, which may be empty; both are padded
/// as the format demands. Together they must be smaller than 4 GiB.
std::string joinGlb(BasicStringRef text, BasicStringRef bin);

}  // namespace Tal
