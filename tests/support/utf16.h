#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace support {

/// The bytes of UTF-16, the lower one of each unit first.
inline std::string littleEndian(std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFFU);
    bytes += static_cast<char>(unit >> 8U);
  }
  return bytes;
}

/// The same, the higher one first.
inline std::string bigEndian(std::u16string_view text) {
  std::string bytes = littleEndian(text);
  for (std::size_t i = 0; i < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return bytes;
}

}  // namespace support
