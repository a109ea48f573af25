#pragma once

#include <filesystem>

namespace Tal {

/// The place of a file that is not to be looked for outside a folder.
struct RootedPath {
  std::filesystem::path root;
  std::filesystem::path name;  ///< relative, without ".."

  std::filesystem::path path() const { return root / name; }
  bool operator==(const RootedPath&) const = default;
};

}  // namespace Tal
