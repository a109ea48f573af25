#pragma once

#include <cerrno>

namespace Tal::files {

/// Makes a system call again as long as a signal interrupts it; its result, -1 for a failure.
template <class Call>
auto retryOnEintr(const Call& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

}  // namespace Tal::files
