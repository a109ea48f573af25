#pragma once

#include <core/reference_count.h>
#include <scene/scene.h>

namespace Tal {

/// One world that is open in the editor. Its references may be taken and dropped on any thread; everything
/// else is for the main thread.
class ClientSpace : public SafeReferenceCount {
 public:
  explicit ClientSpace(int id) noexcept : id_(id) {}

  int id() const noexcept { return id_; }
  Scene& scene() noexcept { return scene_; }
  const Scene& scene() const noexcept { return scene_; }

 private:
  int id_;
  Scene scene_;
};

}  // namespace Tal
