#include <files/byte_buffer.h>

#include <cstring>

namespace Tal::files {

ByteBuffer::ByteBuffer(std::size_t size)
    : bytes_(std::make_unique_for_overwrite<char[]>(size + 1)),  // NOLINT(modernize-avoid-c-arrays)
      size_(size) {
  bytes_[size] = 0;
}

ByteBuffer ByteBuffer::copyOf(BasicStringRef text) {
  ByteBuffer copy(text.size());
  if (!text.empty()) std::memcpy(copy.data(), text.data(), text.size());
  return copy;
}

}  // namespace Tal::files
