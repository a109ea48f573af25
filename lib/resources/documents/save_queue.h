#pragma once

#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <files/file_lock.h>
#include <resources/documents/section_document.h>
#include <resources/file_system.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// Why a value is refused; see SaveQueue::refuseValue.
constexpr BasicStringRef kUnholdable =
    "holds control characters or is not valid UTF-8 and was not written; take them out";
constexpr BasicStringRef kNotFinite = "is not finite and was not written; give a finite number";

/// The saves that wait for the outermost open SaveGroup, and the locks that keep other programs from saving
/// meanwhile. Main thread only.
class SaveQueue {
 public:
  static SaveQueue& instance();

  void open() noexcept { ++depth_; }

  bool isOpen() const noexcept { return depth_ > 0; }

  /// Locks the file against other programs; shared within this process. A fault when another program does not
  /// let go of it.
  Result<std::shared_ptr<const files::FileLock>> hold(const FS::Location& location);

  /// Has that lock until the outermost group closes; a group must be open.
  Result<void> lock(const FS::Location& location);

  /// How long `hold` and `lock` wait for another program; for tests.
  void setPatience(std::chrono::milliseconds patience) noexcept { patience_ = patience; }

  /// Puts a document down to be written once when the outermost group commits; false when no group is open.
  [[nodiscard]] bool put(const SmartPointer<SectionDocument>& document, BasicStringRef resourceName);

  /// Reports with priority 5 that the value for `key` was refused, and makes the open group, if any, write
  /// nothing when it is committed. `reason` is a clause about the value. Always false, for a write that fails
  /// so.
  bool refuseValue(BasicStringRef key, BasicStringRef reason);

  /// Closes a group; the outermost one writes what was put down, or forgets it. A fault when a document could
  /// not be written, or a value was refused and nothing was written; none of an inner group.
  Result<void> close(bool isCommitted);

 private:
  /// Says once for a file that nothing keeps other programs from saving it.
  void warnOfNoLock(const std::filesystem::path& file, const std::string& reason);

  using Save = std::pair<SmartPointer<SectionDocument>, std::string>;

  int depth_ = 0;
  bool isValueRefused_ = false;
  std::vector<Save> saves_;
  std::map<std::filesystem::path, std::shared_ptr<const files::FileLock>> locks_;  ///< of the open group
  std::vector<std::weak_ptr<const files::FileLock>> shared_;                       ///< those that anybody has
  std::set<std::filesystem::path> unlockable_;  ///< those whose file system was said to have no locks
  std::chrono::milliseconds patience_{10'000};
};

}  // namespace Tal
