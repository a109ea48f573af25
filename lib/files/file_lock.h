#pragma once

#include <core/result.h>
#include <files/file_descriptor.h>
#include <files/file_identity.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace Tal::files {

/// An advisory lock on a file, against other programs that save it through this library; readers do not mind.
/// It ends with the object, and with the process however that ends. Whoever holds it may replace the file; a
/// waiting program then goes on with the new one.
class FileLock {
 public:
  /// Waits for another holder, of this process too, as long as `patience`. A fault of the kind `busy` names
  /// the one that still has the lock then ("process 123 (destructibles)"). If the file is missing or
  /// cannot be opened, the lock holds nothing. The same is true on a file system without locks; `absence`
  /// then gives the reason. Usable on any thread.
  static Result<FileLock> acquire(const std::filesystem::path& file, std::chrono::milliseconds patience);

  /// The version of the locked file as it is now; empty when the lock holds nothing.
  std::optional<FileIdentity> identity() const;

  /// The locked file, open for reading and owned by the lock; -1 when it holds nothing.
  int descriptor() const noexcept { return descriptor_.get(); }

  /// Lets go of the file and holds the one that has replaced it, which `replacement` has locked.
  void moveTo(FileDescriptor replacement) noexcept { descriptor_ = std::move(replacement); }

  /// Why the lock holds nothing though the file is there: the system's reason. Else empty.
  const std::string& absence() const noexcept { return absence_; }

 private:
  explicit FileLock(FileDescriptor descriptor, std::string absence = {}) noexcept
      : descriptor_(std::move(descriptor)), absence_(std::move(absence)) {}

  FileDescriptor descriptor_;
  std::string absence_;
};

/// Takes the lock of an open file or folder, waiting for another holder as long as `patience`. A fault of the
/// kind `busy` names the one that still has it then. A success also where there are no locks.
Result<void> waitForLock(int descriptor, std::chrono::milliseconds patience);

/// Takes the lock of an open file if nobody has it; false, with errno, when somebody has or it has no locks.
bool tryLock(int descriptor) noexcept;

}  // namespace Tal::files
