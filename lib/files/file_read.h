#pragma once

#include <core/result.h>
#include <files/byte_buffer.h>
#include <files/file_identity.h>
#include <files/open_place.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>

namespace Tal::files {

struct FileContent {
  ByteBuffer bytes;
  FileIdentity identity;  ///< of the version that the bytes are
};

/// Reads a whole regular file of at most `largest` bytes. Usable on any thread.
Result<FileContent> readFile(const std::filesystem::path& file, std::size_t largest);
Result<FileContent> readFile(const OpenPlace& place, std::size_t largest);

/// Hands a regular file's bytes to `take` piece by piece, from the first to the last, as long as that returns
/// true. The identity of the version that the bytes are; empty when it did not, when the file cannot be read,
/// and when it was changed meanwhile.
std::optional<FileIdentity> readPieces(const std::filesystem::path& file,
                                       const std::function<bool(BasicStringRef)>& take);

}  // namespace Tal::files
