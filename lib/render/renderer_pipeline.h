#pragma once

#include <render/speed_tree_render.h>

#include <memory>
#include <utility>

namespace Tal {

/// The renderers of a frame that other code controls. Main thread only.
class IRendererPipeline {
 public:
  virtual ~IRendererPipeline() = default;

  /// The tree renderer; null when trees are not drawn. It belongs to the pipeline.
  virtual zelkor::SpeedTreeRender* speedTreeRender() = 0;
};

/// The pipeline of a host without one of its own.
class RendererPipeline final : public IRendererPipeline {
 public:
  zelkor::SpeedTreeRender* speedTreeRender() override { return speedTreeRender_.get(); }

  /// Takes ownership of a tree renderer and destroys the old one; null when trees are not drawn.
  void setSpeedTreeRender(std::unique_ptr<zelkor::SpeedTreeRender> render) {
    speedTreeRender_ = std::move(render);
  }

 private:
  std::unique_ptr<zelkor::SpeedTreeRender> speedTreeRender_;
};

/// The process's renderer pipeline; at first a RendererPipeline without renderers.
IRendererPipeline& rp();

/// Makes this the process's pipeline and destroys the old one, which ends references from rp(). Null restores
/// the initial one.
void setRendererPipeline(std::unique_ptr<IRendererPipeline> pipeline);

}  // namespace Tal
