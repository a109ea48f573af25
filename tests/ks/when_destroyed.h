#pragma once

#include <functional>
#include <memory>

namespace ks::testing {

/// Something to capture in a callback: runs `action` when the last copy of it is destroyed.
inline std::shared_ptr<void> whenDestroyed(std::function<void()> action) {
  return {static_cast<void*>(nullptr), [run = std::move(action)](void*) { run(); }};
}

}  // namespace ks::testing
