#pragma once

#include <model/gltf_container.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Tal {

/// The .glb that holds everything of a checked glTF file (see checkGltfJson): buffers and images that stand
/// in files of their own, below `folder`, or in data URIs are taken in. Of a .glb that needs nothing it is
/// the bytes as they are. An image that is missing stays out and gets a line in `warnings`. Throws GltfFault.
std::string embedGltfData(const GltfContainer& container, BasicStringRef bytes,
                          const std::filesystem::path& folder, std::vector<std::string>& warnings);

}  // namespace Tal
