#pragma once

#include <cstddef>
#include <string>

namespace support {

/// `text`, `count` times in a row.
inline std::string repeated(const std::string& text, int count) {
  std::string all;
  all.reserve(text.size() * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

}  // namespace support
