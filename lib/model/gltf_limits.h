#pragma once

#include <cstddef>

namespace Tal {

/// The largest file that an import reads or writes, in bytes.
inline constexpr std::size_t kMaxGltfBytes = std::size_t{512} << 20U;

/// The longest JSON text of a glTF file, in bytes.
inline constexpr std::size_t kMaxGltfText = std::size_t{64} << 20U;

/// The most points that an import shows, each counted at every node that shows it.
inline constexpr std::size_t kMaxGltfPoints = 20'000'000;

}  // namespace Tal
