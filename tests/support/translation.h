#pragma once

#include <core/matrix.h>

namespace support {

/// A shift along the first axis, in metres.
inline Tal::Matrix translation(float x) {
  Tal::Matrix matrix;
  matrix.rows[3][0] = x;
  return matrix;
}

}  // namespace support
