#pragma once

#include <resources/file_identity.h>
#include <resources/files/file_descriptor.h>
#include <resources/files/file_failure.h>
#include <resources/files/rooted_path.h>

#include <filesystem>
#include <optional>
#include <string>

namespace Tal {

/// The place of a file in a folder that was opened once. What is done here stays in that folder and under
/// that name, whatever is put meanwhile where the path that led there goes. Usable on any thread.
class OpenPlace {
 public:
  /// Opens the folder of the file that `place` means in the end: a link is followed as long as it leads to
  /// another place below the root, and a last link that leads to nothing is itself the place. Folders that
  /// are missing are made, each flushed into the one above it. Empty when it succeeded.
  [[nodiscard]] std::optional<FileFailure> open(const RootedPath& place);

  /// The open folder.
  int folder() const noexcept { return folder_.get(); }
  /// The file's name in it.
  const std::string& name() const noexcept { return name_; }
  /// The path that led there, for messages.
  const std::filesystem::path& path() const noexcept { return path_; }

  /// The identity of the file that is there now; empty when there is none. A link is none.
  std::optional<FileIdentity> identity() const;

  /// The file, opened for reading; holds nothing, with errno, when that fails. A link is not followed.
  FileDescriptor openToRead() const;

 private:
  FileDescriptor folder_;
  std::string name_;
  std::filesystem::path path_;
};

}  // namespace Tal
