#pragma once

#include <core/interned_string.h>

#include <utility>
#include <vector>

namespace Tal::Skeleton {

/// The nodes of a model's skeleton, in file order.
class SkeletonInstance {
 public:
  explicit SkeletonInstance(std::vector<interned_string> nodeNames = {}) : nodeNames_(std::move(nodeNames)) {}

  unsigned size() const noexcept { return static_cast<unsigned>(nodeNames_.size()); }

  /// The name of a node; `index` must be below size().
  const interned_string& nodeName(unsigned index) const { return nodeNames_[index]; }

 private:
  std::vector<interned_string> nodeNames_;
};

}  // namespace Tal::Skeleton
