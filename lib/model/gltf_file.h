#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace Tal {

/// The whole of a regular file of at most kMaxGltfBytes; a larger one is not read. Throws GltfFault, the text
/// beginning with `lead`, when it is larger, missing, something else than a regular file, or cannot be read.
std::string readGltfFile(const std::filesystem::path& file, const std::string& lead);

/// The first `most` bytes of a regular file, fewer when it has fewer. Throws GltfFault as readGltfFile, but
/// for the size.
std::string readGltfBytes(const std::filesystem::path& file, std::size_t most, const std::string& lead);

}  // namespace Tal
