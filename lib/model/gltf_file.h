#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace Tal {

/// The first `most` bytes of a regular file, fewer when it has fewer. Throws GltfFault, the text beginning
/// with `lead`, when it is missing, something else than a regular file, or cannot be read.
std::string readGltfBytes(const std::filesystem::path& file, std::size_t most, const std::string& lead);

}  // namespace Tal
