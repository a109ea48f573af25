#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <files/byte_buffer.h>
#include <files/file_identity.h>
#include <files/open_place.h>

#include <cstddef>
#include <filesystem>
#include <functional>

namespace Tal::files {

/// A file's bytes, and the version that they are.
struct FileContent {
  ByteBuffer bytes;
  FileIdentity identity;
};

/// Reads a whole regular file of at most `largest` bytes. Usable on any thread.
Result<FileContent> readFile(const std::filesystem::path& file, std::size_t largest);
Result<FileContent> readFile(const OpenPlace& place, std::size_t largest);

/// The same of an open file, from its beginning.
Result<FileContent> readFile(int descriptor, std::size_t largest);

/// Hands an open file's bytes to `take` piece by piece, as long as that returns true. The version that they
/// are; a fault when `take` ended it, when the file cannot be read, and when it was changed meanwhile.
Result<FileIdentity> readPieces(int descriptor, const std::function<bool(BasicStringRef)>& take);
Result<FileIdentity> readPieces(const std::filesystem::path& file,
                                const std::function<bool(BasicStringRef)>& take);

}  // namespace Tal::files
