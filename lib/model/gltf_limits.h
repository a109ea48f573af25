#pragma once

#include <cstddef>

namespace Tal {

/// No file that an import reads or makes is larger, in bytes.
inline constexpr std::size_t kMaxGltfBytes = std::size_t{512} << 20U;

}  // namespace Tal
