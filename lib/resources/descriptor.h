#pragma once

#include <utility>

namespace Tal {

/// Owns a file descriptor and closes it; for files whose close has nothing to report.
class Descriptor {
 public:
  Descriptor() noexcept = default;
  explicit Descriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  int get() const noexcept { return descriptor_; }
  explicit operator bool() const noexcept { return descriptor_ >= 0; }

  /// Gives the descriptor away.
  int release() noexcept { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

}  // namespace Tal
