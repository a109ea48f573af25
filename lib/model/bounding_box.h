#pragma once

#include <core/vector3.h>

namespace Tal {

/// A box with its sides along the axes; no coordinate of `min` is above that of `max`.
struct BoundingBox {
  Vector3 min;
  Vector3 max;
};

}  // namespace Tal
