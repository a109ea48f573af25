#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace Tal {

/// The whole of a regular file of at most kMaxGltfBytes; a larger one is not read. Throws GltfFault when it
/// is larger, missing, something else than a regular file, or cannot be read: `lead`, which may be empty,
/// then stands before what is wrong ("is no regular file"). Usable on any thread, as is readGltfBytes.
std::string readGltfFile(const std::filesystem::path& file, const std::string& lead);

/// The first `most` bytes of a regular file, fewer when it has fewer. Throws GltfFault as readGltfFile does,
/// except that the file may have any size.
std::string readGltfBytes(const std::filesystem::path& file, std::size_t most, const std::string& lead);

}  // namespace Tal
