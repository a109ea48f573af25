#pragma once

#include <cstddef>
#include <functional>

namespace Tal {

/// Runs `work` on a stack of its own of at least `bytes` bytes and returns when it is done. For code that
/// recurses with its input. Rethrows what `work` throws; throws std::bad_alloc when there is no memory for
/// the stack. `work` runs on another thread, so thread-local state is not the caller's.
void runOnLargeStack(std::size_t bytes, const std::function<void()>& work);

}  // namespace Tal
