#pragma once

#include <resources/descriptor.h>
#include <resources/file_failure.h>

#include <filesystem>
#include <optional>

namespace Tal {

/// Makes a folder, and those above it that are missing, and does not return before the disk has them, where
/// they stand in a folder that may be read. A folder that is there already is none of its business. After a
/// failure the folder in question is not there; those above it may be.
std::optional<FileFailure> makeFolder(const std::filesystem::path& folder);

/// The folder that a path stands in: "." for a name alone.
std::filesystem::path folderAbove(const std::filesystem::path& path);

/// Brings to the disk which files a folder holds. False, with errno, when that fails; a file system that
/// keeps its own order is left to it.
bool flushFolder(int descriptor);

/// A folder opened to be flushed.
Descriptor openFolder(const std::filesystem::path& folder);

}  // namespace Tal
