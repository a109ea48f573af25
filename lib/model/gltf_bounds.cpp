#include <model/gltf_bounds.h>
#include <model/gltf_elements.h>
#include <model/gltf_fault.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace Tal {
namespace {

constexpr std::size_t kCorners = 8;

using Point = std::array<double, 3>;

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

/// Calls `visit` with the points of an accessor, in order; those that no data holds are one origin.
template <class Visit>
void forEachPoint(const tinygltf::Model& model, std::size_t accessor, Visit visit) {
  const int type = model.accessors[accessor].componentType;
  const bool isNormalized = model.accessors[accessor].normalized;
  const std::size_t size = gltfComponentSize(type);
  GltfElements(model, accessor).forEach([&](const unsigned char* bytes) {
    Point point{};
    for (std::size_t axis = 0; axis < 3 && bytes != nullptr; ++axis) {
      point[axis] = readComponent(bytes + axis * size, type, isNormalized);
    }
    visit(point);
  });
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
  for (const std::size_t accessor : positionsOf(mesh)) {
    countPoints(accessor);
    const Box& local = localBoxOf(accessor);
    // Inside the corners lies everything, so a mesh that cannot enlarge the box is not looked through.
    if (holds(local, world)) continue;
    forEachPoint(model_, accessor, [&](const Point& point) { grow(world(point)); });
  }
}

void GltfBounds::check(int mesh) {
  for (const std::size_t accessor : positionsOf(mesh)) {
    countPoints(accessor);
    localBoxOf(accessor);
  }
}

std::optional<BoundingBox> GltfBounds::box() const {
  if (!box_) return std::nullopt;
  return BoundingBox{rounded(box_->min), rounded(box_->max)};
}

const std::vector<std::size_t>& GltfBounds::positionsOf(int mesh) {
  const auto [entry, isNew] = positions_.try_emplace(mesh);
  std::vector<std::size_t>& accessors = entry->second;
  if (!isNew) return accessors;
  for (const tinygltf::Primitive& primitive : model_.meshes[static_cast<std::size_t>(mesh)].primitives) {
    const auto position = primitive.attributes.find("POSITION");
    if (position == primitive.attributes.end()) continue;
    accessors.push_back(static_cast<std::size_t>(position->second));
  }
  std::sort(accessors.begin(), accessors.end());
  accessors.erase(std::unique(accessors.begin(), accessors.end()), accessors.end());
  return accessors;
}

const GltfBounds::Box& GltfBounds::localBoxOf(std::size_t accessor) {
  const auto [entry, isNew] = localBoxes_.try_emplace(accessor);
  Box& box = entry->second;
  if (!isNew) return box;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  box = {{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};
  forEachPoint(model_, accessor, [&](const Point& point) {
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

void GltfBounds::countPoints(std::size_t accessor) {
  points_ += model_.accessors[accessor].count;
  if (points_ <= kMaxGltfPoints) return;
  throw GltfFault("shows more than " + std::to_string(kMaxGltfPoints) + " points, counted at every node");
}

}  // namespace Tal
