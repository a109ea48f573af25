#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <memory>

namespace Tal::files {

/// Bytes of a fixed number, owned; moving them leaves them in their place. A 0 stands behind the last one,
/// for readers that look one further.
class ByteBuffer {
 public:
  ByteBuffer() noexcept = default;
  /// Room for so many bytes, which have no value yet.
  explicit ByteBuffer(std::size_t size);
  static ByteBuffer copyOf(BasicStringRef text);

  /// Leaves only the first bytes, `size` of them, which are there.
  void cutTo(std::size_t size) noexcept {
    size_ = size;
    bytes_[size] = 0;
  }

  char* data() noexcept { return bytes_.get(); }
  std::size_t size() const noexcept { return size_; }
  BasicStringRef view() const noexcept { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;  // NOLINT(modernize-avoid-c-arrays): a vector would fill it first
  std::size_t size_ = 0;
};

}  // namespace Tal::files
