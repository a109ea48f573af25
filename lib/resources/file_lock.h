#pragma once

#include <resources/descriptor.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace Tal {

/// An advisory lock on a file, against other programs that save it through this library; readers do not mind.
/// It ends with the object, and with the process however that ends. Whoever holds it may replace the file; a
/// waiting program then goes on with the new one.
class FileLock {
 public:
  /// Waits for another holder as long as `patience`. Empty when he still holds it: `holder` then names him
  /// ("process 123 (destructibles)"). A file that is not there, or a file system without locks, gives a lock
  /// that holds nothing.
  static std::optional<FileLock> acquire(const std::filesystem::path& file,
                                         std::chrono::milliseconds patience, std::string& holder);

 private:
  explicit FileLock(Descriptor descriptor) noexcept : descriptor_(std::move(descriptor)) {}

  Descriptor descriptor_;
};

/// Takes the lock of an open file if nobody has it.
bool tryLock(int descriptor) noexcept;

}  // namespace Tal
