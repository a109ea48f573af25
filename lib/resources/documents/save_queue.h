#pragma once

#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <resources/document_source.h>
#include <resources/documents/section_document.h>

#include <memory>
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

  /// Keeps a document from other programs until the outermost group closes; a group must be open.
  Result<void> lock(DocumentSource& source, const Location& location);

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
  using Save = std::pair<SmartPointer<SectionDocument>, std::string>;

  int depth_ = 0;
  bool isValueRefused_ = false;
  std::vector<Save> saves_;
  std::set<std::shared_ptr<const void>> locks_;  ///< of the open group
};

}  // namespace Tal
