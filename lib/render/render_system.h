#pragma once

#include <cstdint>

namespace Tal {

/// The part of the render system that tells frames apart. Main thread only.
class RenderSystem {
 public:
  /// A number that changes once per rendered frame; 0 before the first frame. It wraps.
  std::uint32_t frameStamp() const noexcept { return frameStamp_; }

  /// Begins the next frame; called once per frame by the host, before it pumps the file system.
  void beginFrame() noexcept { ++frameStamp_; }

 private:
  std::uint32_t frameStamp_ = 0;
};

/// The process's render system.
RenderSystem& rs() noexcept;

}  // namespace Tal
