#include <model/gltf/bounds.h>
#include <model/gltf/elements.h>
#include <model/gltf/fault.h>
#include <model/gltf_limits.h>
#include <model/model_names.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace Tal {
namespace {

constexpr std::size_t kCorners = 8;

/// The point that an element is; the origin when it is null.
Point3 pointAt(const GltfElements& elements, const char* element) {
  return {elements.component(element, 0), elements.component(element, 1), elements.component(element, 2)};
}

bool isFinite(const Point3& point) {
  return std::ranges::all_of(point, [](double component) { return std::isfinite(component); });
}

template <class Box>
void extend(Box& box, const Point3& point) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    box.min[axis] = std::min(box.min[axis], point[axis]);
    box.max[axis] = std::max(box.max[axis], point[axis]);
  }
}

Vector3 rounded(const Point3& point) {
  return {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
}

Affine matrixAt(const GltfElements& elements, const char* element) {
  if (element == nullptr) return {{{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}}};
  Affine matrix;
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 3; ++row)
      matrix.columns[column][row] = elements.component(element, column * 4 + row);
  }
  return matrix;
}

/// Modelling programs write the mark into the name or the extras.
bool isMarkedAsCollision(const GltfNode& node) {
  return node.isMarkedAsCollision || node.name.starts_with(model_names::kCollisionPrefix);
}

/// Walks without recursion, since nodes may be nested as deeply as a file can say.
Result<void> walk(const GltfDocument& document, const std::vector<std::uint32_t>& roots,
                  const std::function<Result<void>(const GltfVisit&)>& visit) {
  std::vector<GltfVisit> open;
  std::size_t visited = 0;
  for (auto root = roots.rbegin(); root != roots.rend(); ++root) open.push_back({*root, {}, false, {}});
  while (!open.empty()) {
    GltfVisit at = open.back();
    open.pop_back();
    const GltfNode& node = document.nodes[at.node];
    at.isCollision |= isMarkedAsCollision(node);
    at.world = at.world * gltfLocalOf(document, node);
    if (auto done = visit(at); !done) return done;
    const std::size_t place = visited++;
    for (auto child = node.children.rbegin(); child != node.children.rend(); ++child)
      open.push_back({*child, place, at.isCollision, at.world});
  }
  return {};
}

/// The sets of joints and weights of a primitive, each with the accessors of its two attributes.
struct JointSet {
  GltfElements joints;
  GltfElements weights;
};

std::vector<JointSet> jointSetsOf(const GltfDocument& document, const GltfPrimitive& primitive) {
  constexpr BasicStringRef kJoints = "JOINTS_";
  std::vector<JointSet> sets;
  for (const auto& [name, joints] : primitive.attributes) {
    if (!name.starts_with(kJoints)) continue;
    const auto weights = primitive.attribute("WEIGHTS_" + name.substr(kJoints.size()));
    if (!weights) continue;
    sets.push_back({{document, document.accessors[joints]}, {document, document.accessors[*weights]}});
  }
  return sets;
}

/// Where the joints put a point of a mesh; empty when a joint is none of them, or a weight is no weight.
std::optional<Point3> skinned(const Point3& point, std::size_t index, const std::vector<JointSet>& sets,
                              const std::vector<Affine>& joints) {
  Point3 sum{};
  double total = 0;
  for (const JointSet& set : sets) {
    const char* const names = set.joints.at(index);
    const char* const weights = set.weights.at(index);
    for (std::size_t corner = 0; corner < 4; ++corner) {
      const double weight = set.weights.component(weights, corner);
      if (weight == 0) continue;
      const auto joint = static_cast<std::size_t>(set.joints.component(names, corner));
      if (!(weight > 0) || !std::isfinite(weight) || joint >= joints.size()) return std::nullopt;
      const Point3 image = joints[joint](point);
      for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += weight * image[axis];
      total += weight;
    }
  }
  if (total == 0) {
    const auto first =
        static_cast<std::size_t>(sets.front().joints.component(sets.front().joints.at(index), 0));
    return first < joints.size() ? std::optional(joints[first](point)) : std::nullopt;
  }
  for (double& component : sum) component /= total;
  return sum;
}

}  // namespace

Result<void> walkGltfScene(const GltfDocument& document,
                           const std::function<Result<void>(const GltfVisit& node)>& visit) {
  return walk(document, document.roots, visit);
}

Result<void> GltfBounds::add(const GltfNode& node, const Affine& world) {
  // Joints alone place a mesh with a skin, whatever its node says.
  if (!node.skin) return node.instancing.empty() ? addPlaced(*node.mesh, world) : addInstances(node, world);
  const auto joints = jointMatrices(document_.skins[*node.skin]);
  if (!joints) return joints.fault();
  for (const GltfPrimitive& primitive : document_.meshes[*node.mesh].primitives)
    if (auto added = addSkinned(primitive, *joints); !added) return added;
  return {};
}

Result<void> GltfBounds::addPlaced(std::uint32_t mesh, const Affine& world) {
  for (const std::uint32_t accessor : positionsOf(mesh)) {
    if (auto counted = countPoints(document_.accessors[accessor].count); !counted) return counted;
    const auto local = localBoxOf(accessor);
    if (!local) return local.fault();
    // Inside the corners lies everything, so a mesh that cannot enlarge the box is not looked through.
    if (holds(*local, world)) continue;
    const GltfElements elements(document_, document_.accessors[accessor]);
    Result<void> grown;
    elements.forEach([&](const char* element) {
      if (grown) grown = grow(world(pointAt(elements, element)));
    });
    if (!grown) return grown;
  }
  return {};
}

Result<void> GltfBounds::addInstances(const GltfNode& node, const Affine& world) {
  std::map<BasicStringRef, GltfElements> attributes;
  std::size_t count = 0;
  for (const auto& [name, accessor] : node.instancing) {
    attributes.emplace(name, GltfElements(document_, document_.accessors[accessor]));
    count = document_.accessors[accessor].count;
  }
  const auto pointOf = [&](BasicStringRef name, std::size_t index, const Point3& otherwise) {
    const auto found = attributes.find(name);
    return found == attributes.end() ? otherwise : pointAt(found->second, found->second.at(index));
  };
  for (std::size_t index = 0; index < count; ++index) {
    std::array<double, 4> rotation = {0, 0, 0, 1};
    if (const auto found = attributes.find("ROTATION"); found != attributes.end()) {
      const char* const element = found->second.at(index);
      for (std::size_t axis = 0; axis < 4; ++axis) rotation[axis] = found->second.component(element, axis);
    }
    const Affine place =
        affineOf(pointOf("TRANSLATION", index, {0, 0, 0}), rotation, pointOf("SCALE", index, {1, 1, 1}));
    // An instance of nothing is work, too.
    if (auto counted = countPoints(1); !counted) return counted;
    if (auto added = addPlaced(*node.mesh, world * place); !added) return added;
  }
  return {};
}

Result<void> GltfBounds::addSkinned(const GltfPrimitive& primitive, const std::vector<Affine>& joints) {
  const auto position = primitive.attribute("POSITION");
  const std::vector<JointSet> sets = jointSetsOf(document_, primitive);
  if (!position || sets.empty()) return {};
  const GltfElements elements(document_, document_.accessors[*position]);
  if (auto counted = countPoints(elements.count() * sets.size()); !counted) return counted;
  for (std::size_t index = 0; index < elements.count(); ++index) {
    const auto point = skinned(pointAt(elements, elements.at(index)), index, sets, joints);
    if (!point) {
      return gltfFault(
          "has a point with a joint that its skin does not have, or with a weight that is not from 0 "
          "to 1");
    }
    if (auto grown = grow(*point); !grown) return grown;
  }
  return {};
}

Result<std::vector<Affine>> GltfBounds::jointMatrices(const GltfSkin& skin) {
  if (auto counted = countPoints(skin.joints.size()); !counted) return std::move(counted).fault();
  findJoints();
  std::vector<Affine> matrices;
  matrices.reserve(skin.joints.size());
  for (const std::uint32_t joint : skin.joints) matrices.push_back(joints_->at(joint));
  if (!skin.inverseBindMatrices) return matrices;
  const GltfElements inverse(document_, document_.accessors[*skin.inverseBindMatrices]);
  for (std::size_t joint = 0; joint < matrices.size(); ++joint)
    matrices[joint] = matrices[joint] * matrixAt(inverse, inverse.at(joint));
  return matrices;
}

/// Joints may stand in no scene.
void GltfBounds::findJoints() {
  if (joints_) return;
  joints_.emplace();
  for (const GltfSkin& skin : document_.skins)
    for (const std::uint32_t joint : skin.joints) joints_->try_emplace(joint);
  std::vector<std::uint32_t> tops;
  for (std::uint32_t node = 0; node < document_.nodes.size(); ++node)
    if (!document_.nodes[node].parent) tops.push_back(node);
  const Result<void> walked = walk(document_, tops, [this](const GltfVisit& at) -> Result<void> {
    if (const auto joint = joints_->find(at.node); joint != joints_->end()) joint->second = at.world;
    return {};
  });
  static_cast<void>(walked);  // that visit has no fault
}

Result<void> GltfBounds::check(std::uint32_t mesh) {
  for (const std::uint32_t accessor : positionsOf(mesh)) {
    if (auto counted = countPoints(document_.accessors[accessor].count); !counted) return counted;
    if (const auto local = localBoxOf(accessor); !local) return local.fault();
  }
  return {};
}

std::optional<BoundingBox> GltfBounds::box() const {
  if (!box_) return std::nullopt;
  return BoundingBox{rounded(box_->min), rounded(box_->max)};
}

const std::vector<std::uint32_t>& GltfBounds::positionsOf(std::uint32_t mesh) {
  const auto [entry, isNew] = positions_.try_emplace(mesh);
  std::vector<std::uint32_t>& accessors = entry->second;
  if (!isNew) return accessors;
  for (const GltfPrimitive& primitive : document_.meshes[mesh].primitives)
    if (const auto position = primitive.attribute("POSITION")) accessors.push_back(*position);
  std::ranges::sort(accessors);
  accessors.erase(std::ranges::unique(accessors).begin(), accessors.end());
  return accessors;
}

Result<GltfBounds::Box> GltfBounds::localBoxOf(std::uint32_t accessor) {
  if (const auto known = localBoxes_.find(accessor); known != localBoxes_.end()) return known->second;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Box box{{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};
  bool isWhole = true;
  const GltfElements elements(document_, document_.accessors[accessor]);
  elements.forEach([&](const char* element) {
    const Point3 point = pointAt(elements, element);
    isWhole = isWhole && isFinite(point);
    extend(box, point);
  });
  if (!isWhole) {
    return gltfFault("has a position that is not a finite number in accessors[" + std::to_string(accessor) +
                     "]");
  }
  localBoxes_.emplace(accessor, box);
  return box;
}

Result<void> GltfBounds::grow(const Point3& point) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  for (const double component : point)
    if (!(std::abs(component) <= kLargest)) return gltfFault("has a mesh that lies beyond all numbers");
  if (!box_) box_ = {point, point};
  extend(*box_, point);
  return {};
}

bool GltfBounds::holds(const Box& local, const Affine& world) const {
  if (!box_) return false;
  for (std::size_t corner = 0; corner < kCorners; ++corner) {
    const Point3 point = world({(corner & 1U) != 0 ? local.max[0] : local.min[0],
                                (corner & 2U) != 0 ? local.max[1] : local.min[1],
                                (corner & 4U) != 0 ? local.max[2] : local.min[2]});
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const bool isInside = point[axis] >= box_->min[axis] && point[axis] <= box_->max[axis];
      if (!isInside) return false;
    }
  }
  return true;
}

Result<void> GltfBounds::countPoints(std::size_t count) {
  points_ += count;
  if (points_ <= kMaxGltfPoints) return {};
  return gltfFault("shows more than " + std::to_string(kMaxGltfPoints) + " points, counted at every node");
}

}  // namespace Tal
