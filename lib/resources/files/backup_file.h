#pragma once

#include <resources/files/file_descriptor.h>
#include <resources/files/file_failure.h>

#include <filesystem>
#include <optional>

namespace Tal {

/// The present version of a file under a second name beside it, to be put back when what replaces it fails.
/// The name is one of those that isTemporaryName knows; the version is locked, so that a save does not take
/// it for the left-over of a killed process. It goes with the object. Usable on any thread.
class BackupFile {
 public:
  /// Keeps nothing yet.
  BackupFile() = default;
  BackupFile(BackupFile&& other) noexcept;
  BackupFile& operator=(BackupFile&&) = delete;
  ~BackupFile() { discard(); }

  /// Keeps the version of `file` that is there now: as a hard link, or as a copy where the file system has
  /// none. Empty when it succeeded. Links are not followed.
  [[nodiscard]] std::optional<FileFailure> keep(const std::filesystem::path& file);

  bool isKept() const noexcept { return !backup_.empty(); }

  /// Puts the kept version in the place of what replaced it, first of all that needs memory. Empty when it
  /// succeeded. A failure that says `isReplaced` leaves it there too, but not safe from a power cut. After
  /// any other the kept version stays under its second name, which the failure tells, also when this object
  /// is gone, until something saves that file.
  [[nodiscard]] std::optional<FileFailure> restore();

  /// Removes the second name, if any.
  void discard() noexcept;

 private:
  std::filesystem::path file_;
  std::filesystem::path backup_;
  bool isCopy_ = false;
  FileDescriptor descriptor_;
};

}  // namespace Tal
