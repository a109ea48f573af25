#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>

namespace support {

/// A file's first `size` bytes as memory that is written to the file; the mapping ends with the last pointer.
/// Null, with a failed expectation, when the file cannot be mapped.
std::shared_ptr<char> mapFile(const std::filesystem::path& file, std::size_t size);

/// Hands what was stored to the file.
void flushMapped(const std::shared_ptr<char>& memory, std::size_t size);

}  // namespace support
