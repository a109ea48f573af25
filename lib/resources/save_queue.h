#pragma once

#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <resources/file_lock.h>
#include <resources/section_document.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// The saves that wait for the outermost open SaveGroup. Main thread only.
class SaveQueue {
 public:
  static SaveQueue& instance();

  void open() noexcept { ++depth_; }

  bool isOpen() const noexcept { return depth_ > 0; }

  /// Keeps other programs from saving a file until the outermost group is closed. False, with a critical
  /// message, when one of them does not let go of it.
  bool lock(const std::filesystem::path& file);

  /// The same until `letGo`, however many groups are opened and closed meanwhile.
  bool hold(const std::filesystem::path& file);
  void letGo(const std::filesystem::path& file) { held_.erase(file); }

  /// How long `lock` waits; for tests.
  void setPatience(std::chrono::milliseconds patience) noexcept { patience_ = patience; }

  /// Puts a document down to be written once when the outermost group commits; false when no group is open.
  bool put(const SmartPointer<SectionDocument>& document, BasicStringRef resourceName);

  /// Notes that a value was refused: the open group, if any, will not write.
  void noteRefusedValue() noexcept { isValueRefused_ = depth_ > 0; }

  /// Closes a group; the outermost one writes what was put down, or forgets it.
  bool close(bool isCommitted);

 private:
  /// Empty, with a critical message, when another program does not let go of the file.
  std::optional<FileLock> acquire(const std::filesystem::path& file) const;

  using Save = std::pair<SmartPointer<SectionDocument>, std::string>;

  int depth_ = 0;
  bool isValueRefused_ = false;
  std::vector<Save> saves_;
  std::map<std::filesystem::path, FileLock> locks_;  ///< of the open group
  std::map<std::filesystem::path, FileLock> held_;
  std::chrono::milliseconds patience_{10'000};
};

}  // namespace Tal
