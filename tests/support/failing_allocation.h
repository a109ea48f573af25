#pragma once

namespace support {

/// Makes one allocation of this thread fail, as long as it lives. A program that links this replaces the
/// process's allocation functions.
class FailingAllocation {
 public:
  /// The allocation after `place` others fails; those behind it succeed again.
  explicit FailingAllocation(long place) noexcept;
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether that allocation has been asked for.
  bool hasFailed() const noexcept;
};

}  // namespace support
