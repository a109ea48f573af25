#pragma once

#include <core/result.h>
#include <files/file_descriptor.h>
#include <files/file_identity.h>
#include <files/rooted_path.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tal::files {

/// A folder that was opened once as the root of what is done below it. Usable on any thread.
class OpenRoot {
 public:
  /// Links on the way are followed. With `taken` it has to be that folder still.
  static Result<OpenRoot> open(const std::filesystem::path& folder,
                               const std::optional<FileIdentity>& taken = {});

  int folder() const noexcept { return folder_.get(); }
  /// The path that led there, resolved.
  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  FileDescriptor folder_;
  std::filesystem::path path_;
};

/// What stands at a place.
struct Standing {
  std::optional<FileIdentity> file;  ///< what is no link; empty when there is none
  bool isLink = false;               ///< which leads to nothing: one that leads on was followed
  std::uint32_t mode = 0;            ///< the kind and the permissions of what is there
};

/// The place of a file in a folder that was opened once. What is done here stays in that folder and under
/// that name, whatever is put meanwhile where the path that led there goes. Usable on any thread.
class OpenPlace {
 public:
  /// Resolves `place` and opens the folder of the resulting file. Links that stay below the root are
  /// followed. A dangling final link counts as the place itself. Folders that are missing are made, each
  /// flushed into the one above it; after a fault they are removed again.
  static Result<OpenPlace> open(const RootedPath& place);
  static Result<OpenPlace> open(const OpenRoot& root, const std::filesystem::path& name);

  /// No place yet; to be assigned to.
  OpenPlace() = default;

  /// The place of another file in the same folder, which stays the same whatever happens to the path. A link
  /// that stands there is not followed.
  Result<OpenPlace> beside(const std::string& name) const;

  /// Whether the folder of another place is the same.
  bool isInFolderOf(const OpenPlace& other) const;

  /// Removes the folders that it has made, as far as they are empty.
  void removeMadeFolders() noexcept;

  /// The open folder.
  int folder() const noexcept { return folder_.get(); }
  /// The file's name in it.
  const std::string& name() const noexcept { return name_; }
  /// The path that led there, for messages.
  const std::filesystem::path& path() const noexcept { return path_; }

  /// What stood there when the place was opened.
  const Standing& found() const noexcept { return found_; }

  /// What stands there now. A fault when that cannot be examined.
  Result<Standing> examine() const;

  /// Renames a file of the open folder, this one or another, to a name that no file there has. Where the file
  /// system cannot do that, a file that has it is replaced. False, with errno, when that fails: EEXIST when
  /// there is such a file.
  bool renameToFree(const std::string& from, const std::string& to) const;

  /// The file, opened for reading; holds nothing, with errno, when that fails. A link is not followed.
  FileDescriptor openToRead() const;

 private:
  /// A folder in an open one.
  struct Folder {
    FileDescriptor above;
    std::string name;
  };

  /// The place, if no link leads there and its folder exists; empty when that is not so or is unknown.
  static std::optional<OpenPlace> withoutLinks(const OpenRoot& root, const std::filesystem::path& name);
  /// The place whose folder is open, with what stands there.
  static Result<OpenPlace> examined(OpenPlace place);
  /// Opens a folder step by step, and makes those that are missing.
  Result<void> walk(const OpenRoot& root, const std::filesystem::path& folder);

  FileDescriptor folder_;
  std::string name_;
  std::filesystem::path path_;
  Standing found_;
  std::vector<Folder> made_;  ///< the highest first
};

}  // namespace Tal::files
