#pragma once

#include <functional>

namespace support {

/// Makes the renames of files that this process asks for fail from a certain one on, with "no space left on
/// the device", for the scope.
class FailingRename {
 public:
  /// `succeeding` renames still succeed; `failing` fail after that, later ones succeed again.
  FailingRename(int succeeding, int failing);
  ~FailingRename();
  FailingRename(const FailingRename&) = delete;
  FailingRename& operator=(const FailingRename&) = delete;
};

/// Calls a function before each rename of a file that this process asks for, for the scope.
class WatchedRename {
 public:
  explicit WatchedRename(std::function<void()> watch);
  ~WatchedRename();
  WatchedRename(const WatchedRename&) = delete;
  WatchedRename& operator=(const WatchedRename&) = delete;
};

}  // namespace support
