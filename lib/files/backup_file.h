#pragma once

#include <core/result.h>
#include <files/file_descriptor.h>
#include <files/open_place.h>

#include <string>

namespace Tal::files {

/// The present version of a file under a second name beside it, to be put back when what replaces it fails.
/// The name is one of those that isTemporaryName knows; the version is locked, so that a save does not take
/// it for the left-over of a killed process. It goes with the object. Usable on any thread.
class BackupFile {
 public:
  /// Keeps nothing yet of the file at `place`, which must outlive this object.
  explicit BackupFile(const OpenPlace& place) noexcept : place_(place) {}
  BackupFile(const BackupFile&) = delete;
  BackupFile& operator=(const BackupFile&) = delete;
  ~BackupFile() { discard(); }

  /// Keeps the version of the file that is there now: as a hard link, or as a copy where the file system has
  /// none. A link is kept as itself.
  Result<void> keep();

  /// Keeps that version by giving it the second name alone, so that there is no file any more. Returns when
  /// the disk knows.
  Result<void> take();

  /// The second name; empty when nothing is kept.
  const std::string& name() const noexcept { return backup_; }

  bool isKept() const noexcept { return !backup_.empty(); }

  /// Puts the kept version back where there is no file, first of all that needs memory. After a fault of the
  /// kind `unflushed` it is there, too. After any other it stays under its second name, which the fault
  /// names: also when this object is gone, until something saves that file.
  Result<void> restore();

  /// Removes the second name, if any.
  void discard() noexcept;

 private:
  template <class Make>
  Result<void> makeWith(const Make& make);
  bool linkOrCopy();
  bool copyFile() const;

  const OpenPlace& place_;
  std::string backup_;
  bool isCopy_ = false;
  FileDescriptor descriptor_;
};

}  // namespace Tal::files
