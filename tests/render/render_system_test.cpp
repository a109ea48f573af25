#include <gtest/gtest.h>
#include <render/render_system.h>

#include <cstdint>
#include <type_traits>

namespace {

TEST(ARenderSystem, IsBeforeItsFirstFrameWithStampZero) {
  EXPECT_EQ(Tal::RenderSystem().frameStamp(), 0U);
}

TEST(ARenderSystem, ChangesItsStampOncePerFrame) {
  Tal::RenderSystem renderSystem;
  renderSystem.beginFrame();
  const std::uint32_t first = renderSystem.frameStamp();
  EXPECT_NE(first, 0U);
  EXPECT_EQ(renderSystem.frameStamp(), first) << "reading does not begin a frame";
  renderSystem.beginFrame();
  EXPECT_NE(renderSystem.frameStamp(), first);
}

TEST(ARenderSystem, HasAStampOfThirtyTwoBits) {
  EXPECT_TRUE((std::is_same_v<decltype(Tal::rs().frameStamp()), std::uint32_t>));
}

TEST(TheRenderSystem, IsTheSameWhereverItIsAskedFor) {
  EXPECT_EQ(&Tal::rs(), &Tal::rs());
  const std::uint32_t before = Tal::rs().frameStamp();
  Tal::rs().beginFrame();
  EXPECT_NE(Tal::rs().frameStamp(), before);
}

}  // namespace
