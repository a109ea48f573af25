#pragma once

#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <resources/section_document.h>

#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// The saves that wait for the outermost open SaveGroup. Main thread only.
class SaveQueue {
 public:
  static SaveQueue& instance();

  void open() noexcept { ++depth_; }

  /// Puts a document down to be written once when the outermost group commits; false when no group is open.
  bool put(const SmartPointer<SectionDocument>& document, BasicStringRef resourceName);

  /// Notes that a value was refused: the open group, if any, will not write.
  void noteRefusedValue() noexcept { isValueRefused_ = depth_ > 0; }

  /// Closes a group; the outermost one writes what was put down, or forgets it.
  bool close(bool isCommitted);

 private:
  using Save = std::pair<SmartPointer<SectionDocument>, std::string>;

  int depth_ = 0;
  bool isValueRefused_ = false;
  std::vector<Save> saves_;
};

}  // namespace Tal
