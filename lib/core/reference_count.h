#pragma once

#include <atomic>
#include <cstdint>

namespace Tal {

/// The base of objects that are shared through SmartPointer. The count starts at 0 and is atomic: references
/// may be taken and dropped on any thread. Otherwise an object is only as thread-safe as its class says.
class SafeReferenceCount {
 public:
  SafeReferenceCount(const SafeReferenceCount&) noexcept {}
  SafeReferenceCount& operator=(const SafeReferenceCount&) noexcept { return *this; }

  /// Takes one reference.
  void incRef() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }

  /// Drops one reference; the drop of the last one deletes the object.
  void decRef() const noexcept {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy();
  }

  /// How many references are held at this moment.
  std::uint32_t refCount() const noexcept { return count_.load(std::memory_order_relaxed); }

 protected:
  SafeReferenceCount() noexcept = default;
  virtual ~SafeReferenceCount() = default;

 private:
  void destroy() const noexcept;

  mutable std::atomic<std::uint32_t> count_{0};
};

}  // namespace Tal
