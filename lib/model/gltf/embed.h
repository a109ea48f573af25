#pragma once

#include <core/result.h>
#include <model/gltf/container.h>
#include <model/gltf/document.h>
#include <model/gltf/sources.h>

#include <string>
#include <vector>

namespace Tal {

/// Embeds the data of a checked document (see checkGltf): makes its `glb` and points its views into that.
///
/// A .glb that refers to no other file is kept byte for byte. Otherwise a .glb is composed:
///
/// - Buffers in files or data URIs, and images in files, become one buffer.
/// - The lists "buffers", "bufferViews" and "images" are rewritten with their standard members only.
/// - The rest of the JSON keeps its text, with extras and all extensions.
///
/// `container` is the split file (see splitGltf), views of `bytes`; `tree` is its JSON.
///
/// An image that is missing, may not be read (see GltfSources) or has an unknown format is left out with a
/// warning. A fault when a buffer is missing, short or may not be read, or when the .glb exceeds
/// kMaxGltfBytes. Usable on any thread.
Result<void> embedGltfData(std::string bytes, const GltfContainer& container, const GltfTree& tree,
                           const GltfSources& sources, GltfDocument& document,
                           std::vector<std::string>& warnings);

}  // namespace Tal
