#include <model/gltf/elements.h>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace Tal {
namespace {

const char* dataAt(const GltfDocument& document, const GltfElementPlace& place) {
  return document.views[place.view].bytes.data() + place.byteOffset;
}

template <class Number>
double readComponent(const char* bytes, bool isNormalized) {
  const double value = readNumber<Number>(bytes);
  if (std::is_floating_point_v<Number> || !isNormalized) return value;
  return std::max(value / static_cast<double>(std::numeric_limits<Number>::max()), -1.0);
}

}  // namespace

GltfElements::GltfElements(const GltfDocument& document, const GltfAccessor& accessor)
    : component_(accessor.component),
      isNormalized_(accessor.isNormalized),
      count_(accessor.count),
      elementSize_(accessor.elementSize) {
  if (accessor.data) {
    const std::size_t stride = document.views[accessor.data->view].byteStride;
    data_ = dataAt(document, *accessor.data);
    stride_ = stride != 0 ? stride : elementSize_;
  }
  if (!accessor.sparse) return;
  sparseCount_ = accessor.sparse->count;
  sparseIndexSize_ = gltfComponentSize(accessor.sparse->indexType);
  sparseIndices_ = dataAt(document, accessor.sparse->indices);
  sparseValues_ = dataAt(document, accessor.sparse->values);
}

const char* GltfElements::at(std::size_t index) const {
  std::size_t begin = 0;
  for (std::size_t end = sparseCount_; begin < end;) {
    const std::size_t middle = begin + (end - begin) / 2;
    (sparseIndex(middle) < index ? begin : end) = sparseIndex(middle) < index ? middle + 1 : middle;
  }
  if (begin < sparseCount_ && sparseIndex(begin) == index) return sparseValue(begin);
  return data_ == nullptr ? nullptr : data_ + index * stride_;
}

double GltfElements::component(const char* element, std::size_t index) const {
  if (element == nullptr) return 0;
  const char* const bytes = element + index * gltfComponentSize(component_);
  return visitGltfNumber(component_,
                         [&](auto number) { return readComponent<decltype(number)>(bytes, isNormalized_); });
}

}  // namespace Tal
