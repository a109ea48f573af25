#pragma once

#include <core/result.h>
#include <files/file_descriptor.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Tal::files {

/// Creates a folder and its missing parents, and flushes each to disk before returning. The flush is skipped
/// if the parent folder is not readable. A folder that is there already is left as it is. After a fault the
/// folder that could not be made is not there; those above it may be. Usable on any thread.
Result<void> makeFolder(const std::filesystem::path& folder);

/// The same for one folder in an open one; `shown` is its path, for messages.
Result<void> makeFolderIn(int above, const std::string& name, const std::filesystem::path& shown);

/// Removes at its end the folders of a path that were not there at its beginning, as far as they are empty.
class NewFolders {
 public:
  explicit NewFolders(std::filesystem::path folder);
  ~NewFolders();
  NewFolders(const NewFolders&) = delete;
  NewFolders& operator=(const NewFolders&) = delete;

  /// Removes none of them.
  void keep() noexcept { missing_.clear(); }

 private:
  std::vector<std::filesystem::path> missing_;  ///< the lowest first
};

/// The folder that a path stands in: "." for a name alone.
std::filesystem::path folderAbove(const std::filesystem::path& path);

/// Brings to the disk which files an open folder holds; `file` is the one that the fault names. A file system
/// that has no such call keeps its own order, and counts as a success.
Result<void> flushFolder(int folder, const std::filesystem::path& file);

}  // namespace Tal::files
