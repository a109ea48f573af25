#pragma once

#include <resources/bytes/byte_buffer.h>
#include <resources/file_identity.h>
#include <resources/files/file_failure.h>
#include <resources/files/open_place.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>

namespace Tal {

struct FileContent {
  ByteBuffer bytes;
  FileIdentity identity;  ///< of the version that the bytes are
};

/// Reads a whole regular file of at most `largest` bytes. Returns why that failed; empty when it succeeded.
[[nodiscard]] std::optional<FileFailure> readFile(const std::filesystem::path& file, std::size_t largest,
                                                  FileContent& content);
[[nodiscard]] std::optional<FileFailure> readFile(const OpenPlace& place, std::size_t largest,
                                                  FileContent& content);

/// Hands a regular file's bytes to `take` piece by piece, from the first to the last, as long as that returns
/// true. False when it did not, when the file cannot be read, and when it was changed meanwhile; else
/// `identity` is that of the version that the bytes are.
[[nodiscard]] bool readPieces(const std::filesystem::path& file,
                              const std::function<bool(BasicStringRef)>& take, FileIdentity& identity);

}  // namespace Tal
