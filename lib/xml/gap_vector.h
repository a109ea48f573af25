#pragma once

#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace Tal {

/// A vector whose unused room may lie in the middle: an erasure costs the distance to the one before it, so
/// that a walk which erases many elements stays linear. Access by index takes constant time.
template <class T>
class GapVector {
 public:
  GapVector() = default;
  explicit GapVector(std::vector<T> items) : items_(std::move(items)), gap_(items_.size()) {}

  std::size_t size() const noexcept { return items_.size() - gapSize_; }
  bool empty() const noexcept { return size() == 0; }

  T& operator[](std::size_t index) noexcept { return items_[index < gap_ ? index : index + gapSize_]; }
  const T& operator[](std::size_t index) const noexcept {
    return items_[index < gap_ ? index : index + gapSize_];
  }
  T& back() noexcept { return (*this)[size() - 1]; }
  const T& back() const noexcept { return (*this)[size() - 1]; }

  void pushBack(T item) {
    if (gapSize_ != 0 && gap_ == size()) {
      items_[gap_] = std::move(item);
      ++gap_;
      --gapSize_;
      return;
    }
    items_.push_back(std::move(item));
    if (gapSize_ == 0) gap_ = items_.size();
  }

  void erase(std::size_t index) {
    moveGapTo(index);
    ++gapSize_;  // the element is the first behind the gap
  }

  void clear() noexcept {
    items_.clear();
    gap_ = 0;
    gapSize_ = 0;
  }

 private:
  void moveGapTo(std::size_t index) {
    const auto at = [this](std::size_t place) { return items_.begin() + static_cast<std::ptrdiff_t>(place); };
    if (gapSize_ != 0 && index < gap_) {
      std::move_backward(at(index), at(gap_), at(gap_ + gapSize_));
    } else if (gapSize_ != 0) {
      std::move(at(gap_ + gapSize_), at(index + gapSize_), at(gap_));
    }
    gap_ = index;
  }

  std::vector<T> items_;
  std::size_t gap_ = 0;      ///< where the unused room begins
  std::size_t gapSize_ = 0;  ///< how many unused places there are
};

}  // namespace Tal
