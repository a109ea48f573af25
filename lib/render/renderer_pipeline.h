#pragma once

#include <render/speed_tree_render.h>

#include <memory>
#include <utility>

namespace Tal {

/// The renderers that draw a frame, as far as others steer them. Main thread only.
class IRendererPipeline {
 public:
  virtual ~IRendererPipeline() = default;

  /// The tree renderer; null when trees are not drawn. It belongs to the pipeline.
  virtual zelkor::SpeedTreeRender* speedTreeRender() = 0;
};

/// The pipeline of a host that has none of its own: it holds what the host puts in.
class RendererPipeline final : public IRendererPipeline {
 public:
  zelkor::SpeedTreeRender* speedTreeRender() override { return speedTreeRender_.get(); }

  /// Takes a tree renderer over; null when trees are not to be drawn. The old one is destroyed.
  void setSpeedTreeRender(std::unique_ptr<zelkor::SpeedTreeRender> render) {
    speedTreeRender_ = std::move(render);
  }

 private:
  std::unique_ptr<zelkor::SpeedTreeRender> speedTreeRender_;
};

/// The process's renderer pipeline. Before one is set it is a RendererPipeline without any renderer.
IRendererPipeline& rp();

/// Makes this the process's pipeline; null restores the one that it begins with. The old one is destroyed,
/// and with it whatever rp() gave out.
void setRendererPipeline(std::unique_ptr<IRendererPipeline> pipeline);

}  // namespace Tal
