#include <render/renderer_pipeline.h>

namespace Tal {
namespace {

std::unique_ptr<IRendererPipeline>& current() {
  static std::unique_ptr<IRendererPipeline> pipeline = std::make_unique<RendererPipeline>();
  return pipeline;
}

}  // namespace

IRendererPipeline& rp() {
  return *current();
}

void setRendererPipeline(std::unique_ptr<IRendererPipeline> pipeline) {
  current() = pipeline ? std::move(pipeline) : std::make_unique<RendererPipeline>();
}

}  // namespace Tal
