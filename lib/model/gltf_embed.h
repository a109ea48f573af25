#pragma once

#include <model/gltf_container.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Tal {

/// The .glb that holds everything of a glTF file: buffers that stand in files of their own or in data URIs,
/// and images in files, are taken in. `container` is the file taken apart (see splitGltf), its document
/// checked (see checkGltfJson); `bytes` are the file's own, which are returned unchanged when it is a .glb
/// that needs nothing. Other files are looked for in `folder`, the file's own, and below it. An image that is
/// missing, or that is of an unknown format, stays out and adds a line to `warnings`. Throws GltfFault when a
/// buffer is missing or short, when a name leads out of `folder`, or when it all is larger than
/// kMaxGltfBytes. Usable on any thread.
std::string embedGltfData(const GltfContainer& container, BasicStringRef bytes,
                          const std::filesystem::path& folder, std::vector<std::string>& warnings);

}  // namespace Tal
