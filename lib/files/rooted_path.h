#pragma once

#include <files/file_identity.h>

#include <filesystem>
#include <optional>

namespace Tal::files {

/// The place of a file below a folder, outside which it is not to be searched for.
struct RootedPath {
  std::filesystem::path root;
  std::filesystem::path name;  ///< relative, without ".."
  std::optional<FileIdentity> taken =
      {};  ///< the folder that the root has to be still; empty when any will do

  std::filesystem::path path() const { return root / name; }
  /// Whether the paths are equal.
  bool operator==(const RootedPath& other) const { return root == other.root && name == other.name; }
};

}  // namespace Tal::files
