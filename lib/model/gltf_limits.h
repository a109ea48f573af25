#pragma once

#include <cstddef>

namespace Tal {

/// No file that an import reads or makes is larger, in bytes.
inline constexpr std::size_t kMaxGltfBytes = std::size_t{512} << 20U;

/// No JSON text of a glTF file is longer, in bytes.
inline constexpr std::size_t kMaxGltfText = std::size_t{64} << 20U;

/// No import shows more points than this, each counted at every node that shows it.
inline constexpr std::size_t kMaxGltfPoints = 20'000'000;

}  // namespace Tal
