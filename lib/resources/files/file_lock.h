#pragma once

#include <resources/file_identity.h>
#include <resources/files/file_descriptor.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace Tal {

/// An advisory lock on a file, against other programs that save it through this library; readers do not mind.
/// It ends with the object, and with the process however that ends. Whoever holds it may replace the file; a
/// waiting program then goes on with the new one.
class FileLock {
 public:
  /// Waits for another holder, of this process too, as long as `patience`. Empty when it still holds the
  /// lock: `holder` then names it ("process 123 (destructibles)"). A file that is not there, or cannot be
  /// opened, gives a lock that holds nothing; so does a file system without locks, and then `fault` says why.
  /// Usable on any thread.
  [[nodiscard]] static std::optional<FileLock> acquire(const std::filesystem::path& file,
                                                       std::chrono::milliseconds patience,
                                                       std::string& holder);

  /// Whether it holds the file of that identity: not when it holds nothing, nor when that has replaced the
  /// one that it was acquired for.
  bool isOf(const FileIdentity& file) const;

  /// Why the lock holds nothing though the file is there: the system's reason. Else empty.
  const std::string& fault() const noexcept { return fault_; }

 private:
  explicit FileLock(FileDescriptor descriptor, std::string fault = {}) noexcept
      : descriptor_(std::move(descriptor)), fault_(std::move(fault)) {}

  FileDescriptor descriptor_;
  std::string fault_;
};

/// Takes the lock of an open file or folder, waiting for another holder as long as `patience`. Names the one
/// that still has it then, as FileLock::acquire does; empty when it was taken, and where there are no locks.
std::string waitForLock(int descriptor, std::chrono::milliseconds patience);

/// Takes the lock of an open file if nobody has it; false, with errno, when somebody has or it has no locks.
bool tryLock(int descriptor) noexcept;

}  // namespace Tal
