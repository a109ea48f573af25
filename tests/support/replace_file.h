#pragma once

#include <resources/files/atomic_file.h>

#include <filesystem>
#include <optional>

namespace support {

/// Replaces a file in a folder as a save does; why that failed, empty when it succeeded.
[[nodiscard]] inline std::optional<Tal::FileFailure> replaceFileIn(const std::filesystem::path& folder,
                                                                   const std::filesystem::path& name,
                                                                   Tal::BasicStringRef content) {
  Tal::OpenPlace place;
  if (auto failure = place.open({folder, name})) return failure;
  return Tal::replaceFile(place, content);
}

}  // namespace support
