#pragma once

#include <filesystem>

namespace Tal::files {

/// The path's place when every link on it is followed; empty when it does not exist or cannot be
/// followed to its end.
std::filesystem::path resolvedPath(const std::filesystem::path& path);

/// Whether a resolved path is a resolved folder or lies below it.
bool isPathBelow(const std::filesystem::path& path, const std::filesystem::path& folder);

}  // namespace Tal::files
