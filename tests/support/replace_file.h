#pragma once

#include <files/atomic_file.h>

#include <filesystem>
#include <optional>

namespace support {

/// Replaces a file in a folder as a save does.
inline Tal::Result<void> replaceFileIn(const std::filesystem::path& folder, const std::filesystem::path& name,
                                       Tal::BasicStringRef content) {
  const auto place = Tal::files::OpenPlace::open({folder, name});
  if (!place) return place.fault();
  return Tal::files::replaceFile(*place, content);
}

}  // namespace support
