#pragma once

#include <core/string_ref.h>

namespace Tal {

/// Takes the first step off a path such as "boundingBox/min"; an empty step stands for the section itself.
inline BasicStringRef takeStep(BasicStringRef& path) noexcept {
  const auto slash = path.find('/');
  const BasicStringRef step = path.substr(0, slash);
  path.remove_prefix(slash == BasicStringRef::npos ? path.size() : slash + 1);
  return step;
}

}  // namespace Tal
