#pragma once

#include <model/gltf/document.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Tal {

/// A number from any place in a buffer, aligned or not.
template <class Number>
Number readNumber(const char* bytes) {
  Number number;
  std::memcpy(&number, bytes, sizeof(number));
  return number;
}

/// A whole number of 1, 2 or 4 bytes, as `size` says.
inline std::uint32_t readUnsigned(const char* bytes, std::size_t size) {
  switch (size) {
    case 1:
      return readNumber<std::uint8_t>(bytes);
    case 2:
      return readNumber<std::uint16_t>(bytes);
    default:
      return readNumber<std::uint32_t>(bytes);
  }
}

/// The elements of an accessor, from its buffer view and its sparse values. A view of the document, which was
/// checked (see checkGltf) and holds its data (see embedGltfData).
class GltfElements {
 public:
  GltfElements(const GltfDocument& document, const GltfAccessor& accessor);

  /// Calls `visit` with the first byte of every element, in order. Elements that no buffer view holds are
  /// zero; null then stands for all of them together. The sparse indices were checked (see checkGltfData).
  template <class Visit>
  void forEach(Visit visit) const {
    std::size_t nextSparse = 0;
    if (data_ == nullptr) {
      if (sparseCount_ < count_) visit(static_cast<const char*>(nullptr));
      for (; nextSparse < sparseCount_; ++nextSparse) visit(sparseValue(nextSparse));
      return;
    }
    for (std::size_t index = 0; index < count_; ++index) {
      const bool isReplaced = nextSparse < sparseCount_ && sparseIndex(nextSparse) == index;
      visit(isReplaced ? sparseValue(nextSparse++) : data_ + index * stride_);
    }
  }

  /// The first byte of one element; null when it is zero because no buffer view holds it.
  const char* at(std::size_t index) const;

  /// The number of elements, including those that sparse values replace.
  std::size_t count() const noexcept { return count_; }

  /// The number of elements that sparse values replace.
  std::size_t sparseCount() const noexcept { return sparseCount_; }
  /// The index of the element that a sparse value replaces; `index` is below sparseCount().
  std::size_t sparseIndex(std::size_t index) const {
    return readUnsigned(sparseIndices_ + index * sparseIndexSize_, sparseIndexSize_);
  }

  /// A component of an element as the format maps it to a number; 0 of an element that is null.
  double component(const char* element, std::size_t index) const;

 private:
  const char* sparseValue(std::size_t index) const { return sparseValues_ + index * elementSize_; }

  const char* data_ = nullptr;  // null without a buffer view
  GltfComponent component_;
  bool isNormalized_;
  std::size_t count_;
  std::size_t elementSize_;
  std::size_t stride_ = 0;
  const char* sparseIndices_ = nullptr;
  const char* sparseValues_ = nullptr;
  std::size_t sparseCount_ = 0;
  std::size_t sparseIndexSize_ = 0;
};

}  // namespace Tal
