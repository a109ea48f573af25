#pragma once

#include <core/result.h>
#include <model/gltf/document.h>
#include <model/gltf/sources.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Tal {

/// Reads and checks a .glb or .gltf file of at most kMaxGltfBytes and the files that it refers to. Adds a
/// line to `warnings` for each image that is left out. The fault's text follows the file's name. Usable on
/// any thread.
Result<std::unique_ptr<GltfDocument>> readGltf(const std::filesystem::path& file, const GltfSources& sources,
                                               std::vector<std::string>& warnings);

}  // namespace Tal
