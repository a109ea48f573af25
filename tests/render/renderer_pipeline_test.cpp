#include <gtest/gtest.h>
#include <render/renderer_pipeline.h>

#include <memory>

namespace Tal {
namespace {

TEST(TheRendererPipeline, HasNoTreeRendererAtFirst) {
  EXPECT_EQ(rp().speedTreeRender(), nullptr);
}

TEST(TheRendererPipeline, IsTheOneThatTheHostSets) {
  auto pipeline = std::make_unique<RendererPipeline>();
  const RendererPipeline* const own = pipeline.get();
  pipeline->setSpeedTreeRender(std::make_unique<zelkor::SpeedTreeRender>());
  setRendererPipeline(std::move(pipeline));
  EXPECT_EQ(&rp(), own);
  EXPECT_NE(rp().speedTreeRender(), nullptr);
  setRendererPipeline(nullptr);
  EXPECT_EQ(rp().speedTreeRender(), nullptr);
}

TEST(TheTreeRenderer, ShowsWhatItWasTold) {
  zelkor::SpeedTreeRender trees;
  EXPECT_FALSE(trees.isHidingClosest());
  trees.setHideClosest(true);
  EXPECT_TRUE(trees.isHidingClosest());
  trees.setHidingParams(5.5F, -1.0F);
  EXPECT_EQ(trees.hiddenRadius(), 5.5F);
  EXPECT_EQ(trees.fadeRadius(), -1.0F);
}

}  // namespace
}  // namespace Tal
