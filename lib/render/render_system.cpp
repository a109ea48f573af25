#include <render/render_system.h>

namespace Tal {

RenderSystem& rs() noexcept {
  static RenderSystem renderSystem;
  return renderSystem;
}

}  // namespace Tal
