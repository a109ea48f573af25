#include <model/gltf_bounds.h>
#include <model/gltf_fault.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace Tal {
namespace {

constexpr std::size_t kMaxPoints = 20'000'000;
constexpr std::size_t kCorners = 8;

using Point = std::array<double, 3>;

template <class Number>
Number readNumber(const unsigned char* bytes) {
  Number number;
  std::memcpy(&number, bytes, sizeof(number));
  return number;
}

/// A component as the format maps it to a number.
template <class Integer>
double readInteger(const unsigned char* bytes, bool isNormalized) {
  const double value = readNumber<Integer>(bytes);
  if (!isNormalized) return value;
  return std::max(value / std::numeric_limits<Integer>::max(), -1.0);
}

double readComponent(const unsigned char* bytes, int type, bool isNormalized) {
  switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
      return readInteger<std::int8_t>(bytes, isNormalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return readInteger<std::uint8_t>(bytes, isNormalized);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
      return readInteger<std::int16_t>(bytes, isNormalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return readInteger<std::uint16_t>(bytes, isNormalized);
    default:
      return readNumber<float>(bytes);
  }
}

std::size_t componentSize(int type) {
  return static_cast<std::size_t>(tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(type)));
}

/// The points of an accessor, in order.
class PositionReader {
 public:
  PositionReader(const tinygltf::Model& model, const tinygltf::Accessor& accessor)
      : model_(model), accessor_(accessor), componentSize_(componentSize(accessor.componentType)) {}

  template <class Visit>
  void forEach(Visit visit) const {
    const std::size_t sparseCount =
        accessor_.sparse.isSparse ? static_cast<std::size_t>(accessor_.sparse.count) : 0;
    // Without a buffer view every point that no sparse value replaces is the origin: one stands for all.
    if (accessor_.bufferView < 0) {
      if (sparseCount < accessor_.count) visit(Point{0, 0, 0});
      for (std::size_t index = 0; index < sparseCount; ++index) visit(sparsePoint(index));
      return;
    }
    const tinygltf::BufferView& view = viewAt(accessor_.bufferView);
    const std::size_t stride = view.byteStride != 0 ? view.byteStride : 3 * componentSize_;
    const unsigned char* bytes = dataAt(view, accessor_.byteOffset);
    std::size_t nextSparse = 0;
    for (std::size_t index = 0; index < accessor_.count; ++index) {
      if (nextSparse < sparseCount && sparseIndex(nextSparse) == index) {
        visit(sparsePoint(nextSparse++));
      } else {
        visit(pointAt(bytes + index * stride));
      }
    }
    if (nextSparse < sparseCount) throw GltfFault("has sparse positions whose indices do not rise");
  }

  std::size_t count() const {
    return accessor_.bufferView >= 0   ? accessor_.count
           : accessor_.sparse.isSparse ? static_cast<std::size_t>(accessor_.sparse.count) + 1
                                       : 1;
  }

 private:
  const tinygltf::BufferView& viewAt(int index) const {
    return model_.bufferViews[static_cast<std::size_t>(index)];
  }

  const unsigned char* dataAt(const tinygltf::BufferView& view, std::size_t offset) const {
    return model_.buffers[static_cast<std::size_t>(view.buffer)].data.data() + view.byteOffset + offset;
  }

  Point pointAt(const unsigned char* bytes) const {
    Point point{};
    for (double& component : point) {
      component = readComponent(bytes, accessor_.componentType, accessor_.normalized);
      bytes += componentSize_;
    }
    return point;
  }

  std::size_t sparseIndex(std::size_t index) const {
    const auto& indices = accessor_.sparse.indices;
    const std::size_t size = componentSize(indices.componentType);
    const unsigned char* bytes =
        dataAt(viewAt(indices.bufferView), static_cast<std::size_t>(indices.byteOffset)) + index * size;
    switch (size) {
      case 1:
        return *bytes;
      case 2:
        return readNumber<std::uint16_t>(bytes);
      default:
        return readNumber<std::uint32_t>(bytes);
    }
  }

  Point sparsePoint(std::size_t index) const {
    const auto& values = accessor_.sparse.values;
    return pointAt(dataAt(viewAt(values.bufferView), static_cast<std::size_t>(values.byteOffset)) +
                   index * 3 * componentSize_);
  }

  const tinygltf::Model& model_;
  const tinygltf::Accessor& accessor_;
  std::size_t componentSize_;
};

const tinygltf::Accessor& accessorAt(const tinygltf::Model& model, int index) {
  return model.accessors[static_cast<std::size_t>(index)];
}

Vector3 rounded(const Point& point) {
  return {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
}

}  // namespace

Point Affine::operator()(const Point& point) const noexcept {
  Point image = columns[3];
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (std::size_t row = 0; row < 3; ++row) image[row] += columns[axis][row] * point[axis];
  }
  return image;
}

Affine Affine::operator*(const Affine& inner) const noexcept {
  Affine product;
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 3; ++row) {
      double sum = column == 3 ? columns[3][row] : 0;
      for (std::size_t axis = 0; axis < 3; ++axis) sum += columns[axis][row] * inner.columns[column][axis];
      product.columns[column][row] = sum;
    }
  }
  return product;
}

void GltfBounds::add(int mesh, const Affine& world) {
  for (const int accessor : positionsOf(mesh)) {
    const Box& local = localBoxOf(accessor);
    countWork(kCorners);
    // Inside the corners lies everything, so a mesh that cannot enlarge the box is not looked through.
    if (holds(local, world)) continue;
    const PositionReader reader(model_, accessorAt(model_, accessor));
    countWork(reader.count());
    reader.forEach([&](const Point& point) { grow(world(point)); });
  }
}

void GltfBounds::check(int mesh) {
  for (const int accessor : positionsOf(mesh)) localBoxOf(accessor);
}

std::optional<BoundingBox> GltfBounds::box() const {
  if (!box_) return std::nullopt;
  return BoundingBox{rounded(box_->min), rounded(box_->max)};
}

const std::vector<int>& GltfBounds::positionsOf(int mesh) {
  const auto [entry, isNew] = positions_.try_emplace(mesh);
  if (!isNew) return entry->second;
  std::vector<int>& accessors = entry->second;
  for (const tinygltf::Primitive& primitive : model_.meshes[static_cast<std::size_t>(mesh)].primitives) {
    const auto position = primitive.attributes.find("POSITION");
    if (position != primitive.attributes.end()) accessors.push_back(position->second);
  }
  std::sort(accessors.begin(), accessors.end());
  accessors.erase(std::unique(accessors.begin(), accessors.end()), accessors.end());
  return accessors;
}

const GltfBounds::Box& GltfBounds::localBoxOf(int accessor) {
  const auto [entry, isNew] = localBoxes_.try_emplace(accessor);
  Box& box = entry->second;
  if (!isNew) return box;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  box = {{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};
  const PositionReader reader(model_, accessorAt(model_, accessor));
  countWork(reader.count());
  reader.forEach([&](const Point& point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (!std::isfinite(point[axis])) {
        throw GltfFault("has a position that is no finite number in accessors[" + std::to_string(accessor) +
                        "]");
      }
      box.min[axis] = std::min(box.min[axis], point[axis]);
      box.max[axis] = std::max(box.max[axis], point[axis]);
    }
  });
  return box;
}

void GltfBounds::grow(const Point& point) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  for (const double component : point) {
    if (!(std::abs(component) <= kLargest)) throw GltfFault("has a mesh that lies beyond all numbers");
  }
  if (!box_) box_ = {point, point};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    box_->min[axis] = std::min(box_->min[axis], point[axis]);
    box_->max[axis] = std::max(box_->max[axis], point[axis]);
  }
}

bool GltfBounds::holds(const Box& local, const Affine& world) const {
  if (!box_) return false;
  for (std::size_t corner = 0; corner < kCorners; ++corner) {
    const Point point = world({(corner & 1U) != 0 ? local.max[0] : local.min[0],
                               (corner & 2U) != 0 ? local.max[1] : local.min[1],
                               (corner & 4U) != 0 ? local.max[2] : local.min[2]});
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const bool isInside = point[axis] >= box_->min[axis] && point[axis] <= box_->max[axis];
      if (!isInside) return false;
    }
  }
  return true;
}

void GltfBounds::countWork(std::size_t points) {
  work_ += points;
  if (work_ > kMaxPoints) {
    throw GltfFault("shows more than " + std::to_string(kMaxPoints) + " points, counted at every node");
  }
}

}  // namespace Tal
