#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <cstddef>
#include <string>

namespace Tal {

/// The alignment of the chunks of a .glb and of the views in it, in bytes.
inline constexpr std::size_t kGlbAlignment = 4;

/// The two parts of a glTF file; both are views of its bytes, which must outlive them.
struct GltfContainer {
  BasicStringRef json;
  BasicStringRef bin;     ///< empty when the file carries no binary data of its own
  bool isBinary = false;  ///< whether the file is a .glb
};

/// Splits a .glb or .gltf, told apart by the first bytes. A fault when it is neither, or a malformed .glb.
/// The JSON is not parsed. Usable on any thread, as is joinGlb.
Result<GltfContainer> splitGltf(BasicStringRef bytes);

/// The .glb of a JSON text and binary data, which may be empty, both padded as the format requires. Together
/// they must be smaller than 4 GiB.
std::string joinGlb(BasicStringRef text, BasicStringRef bin);

}  // namespace Tal
