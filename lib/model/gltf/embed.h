#pragma once

#include <core/result.h>
#include <model/gltf/container.h>
#include <model/gltf/document.h>
#include <model/gltf/sources.h>

#include <string>
#include <vector>

namespace Tal {

/// Takes in the data of a checked document (see checkGltf): makes its `glb` and points its views into that.
///
/// A .glb that refers to no other file stays as it is, byte for byte. Else the .glb is put together: buffers
/// in files or data URIs, and images in files, become one buffer. The lists "buffers", "bufferViews" and
/// "images" are written anew, with their standard members alone. The rest of the JSON keeps its text, extras
/// and all extensions included. `container` is the file taken apart (see splitGltf), views of `bytes`; `tree`
/// is its JSON.
///
/// An image that is missing, may not be read (see GltfSources) or is of an unknown format stays out and adds
/// to `warnings`. A fault when a buffer is missing, short or may not be read, or when it all is larger than
/// kMaxGltfBytes. Usable on any thread.
Result<void> embedGltfData(std::string bytes, const GltfContainer& container, const GltfTree& tree,
                           const GltfSources& sources, GltfDocument& document,
                           std::vector<std::string>& warnings);

}  // namespace Tal
