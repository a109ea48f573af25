#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <render/renderer_pipeline.h>
#include <scene/destruction_feature.h>
#include <scene/matrix_provider.h>
#include <scene/space_manager.h>
#include <support/message_recorder.h>
#include <support/translation.h>

#include <memory>

namespace Tal {
namespace {

using support::translation;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSpace = 12;

Matrix matrixOf(const std::shared_ptr<MatrixProvider>& provider) {
  Matrix matrix;
  provider->matrix(matrix);
  return matrix;
}

/// A pipeline with a tree renderer.
class TreeHiding : public ::testing::Test {
 protected:
  TreeHiding() {
    auto pipeline = std::make_unique<RendererPipeline>();
    pipeline->setSpeedTreeRender(std::make_unique<zelkor::SpeedTreeRender>());
    trees_ = pipeline->speedTreeRender();
    setRendererPipeline(std::move(pipeline));
  }
  ~TreeHiding() override { setRendererPipeline(nullptr); }
  TreeHiding(const TreeHiding&) = delete;
  TreeHiding& operator=(const TreeHiding&) = delete;

  zelkor::SpeedTreeRender* trees_;
};

TEST_F(TreeHiding, IsSwitchedOnAndOff) {
  ks_enableTreeHiding(true);
  EXPECT_TRUE(trees_->isHidingClosest());
  ks_enableTreeHiding(false);
  EXPECT_FALSE(trees_->isHidingClosest());
}

TEST_F(TreeHiding, TakesBothRadiiInTheirOrder) {
  ks_setTreeHidingRadius(12.5F, 3.0F);
  EXPECT_EQ(trees_->hiddenRadius(), 12.5F);
  EXPECT_EQ(trees_->fadeRadius(), 3.0F);
  ks_setTreeHidingRadius(-1.0F, 0.0F);
  EXPECT_EQ(trees_->hiddenRadius(), -1.0F);
  EXPECT_EQ(trees_->fadeRadius(), 0.0F);
}

TEST_F(TreeHiding, OfOneKindLeavesTheOtherAlone) {
  ks_setTreeHidingRadius(12.5F, 3.0F);
  EXPECT_FALSE(trees_->isHidingClosest());
  ks_enableTreeHiding(true);
  EXPECT_EQ(trees_->hiddenRadius(), 12.5F);
}

TEST(TreeHidingWithoutATreeRenderer, DoesNothing) {
  const support::MessageRecorder messages;
  ks_enableTreeHiding(false);
  ks_enableTreeHiding(true);
  ks_setTreeHidingRadius(1.0F, 2.0F);
  EXPECT_EQ(rp().speedTreeRender(), nullptr);
  EXPECT_THAT(messages.texts(), IsEmpty());
}

/// A space with two chunks.
class AChunkMatrix : public ::testing::Test {
 protected:
  AChunkMatrix() : space_(&SpaceManager::instance().createSpace(kSpace)) {
    destruction_ = &space_->scene().add(std::make_unique<DestructionFeature>());
    destruction_->setChunkMatrix(1, translation(10));
    destruction_->setChunkMatrix(2, translation(20));
  }
  ~AChunkMatrix() override { SpaceManager::instance().removeSpace(kSpace); }
  AChunkMatrix(const AChunkMatrix&) = delete;
  AChunkMatrix& operator=(const AChunkMatrix&) = delete;

  /// The references beside that of the test and that of the manager.
  std::uint32_t heldReferences() const { return space_->refCount() - 2; }

  SmartPointer<ClientSpace> space_;
  DestructionFeature* destruction_;
};

TEST_F(AChunkMatrix, IsThatOfTheChunkInTheWorld) {
  EXPECT_EQ(matrixOf(ks_getChunkMatrix(kSpace, 1)), translation(10));
  EXPECT_EQ(matrixOf(ks_getChunkMatrix(kSpace, 2)), translation(20));
  EXPECT_EQ(heldReferences(), 0U);
}

TEST_F(AChunkMatrix, IsAProviderOfItsOwnForEachCall) {
  const auto first = ks_getChunkMatrix(kSpace, 1);
  const auto second = ks_getChunkMatrix(kSpace, 1);
  EXPECT_NE(first, second);
  EXPECT_EQ(first.use_count(), 1);
  auto* const inplace = dynamic_cast<InplaceMatrixProvider*>(first.get());
  ASSERT_NE(inplace, nullptr);
  inplace->set(translation(99));
  EXPECT_EQ(matrixOf(second), translation(10));
}

TEST_F(AChunkMatrix, DoesNotFollowLaterChangesOfTheChunk) {
  const auto before = ks_getChunkMatrix(kSpace, 1);
  destruction_->setChunkMatrix(1, translation(11));
  EXPECT_EQ(matrixOf(before), translation(10));
  EXPECT_EQ(matrixOf(ks_getChunkMatrix(kSpace, 1)), translation(11));
}

TEST_F(AChunkMatrix, OutlivesItsSpace) {
  const auto provider = ks_getChunkMatrix(kSpace, 1);
  SpaceManager::instance().removeSpace(kSpace);
  EXPECT_EQ(space_->refCount(), 1U);
  EXPECT_EQ(matrixOf(provider), translation(10));
}

TEST_F(AChunkMatrix, OfAnUnknownSpaceIsEmptyAndHoldsNoReference) {
  const support::MessageRecorder messages;
  EXPECT_EQ(ks_getChunkMatrix(kSpace + 1, 1), nullptr);
  EXPECT_EQ(heldReferences(), 0U);
  EXPECT_THAT(messages.texts(), IsEmpty());
}

TEST_F(AChunkMatrix, OfAnUnknownChunkIsTheIdentity) {
  EXPECT_EQ(matrixOf(ks_getChunkMatrix(kSpace, 3)), Matrix::identity());
  EXPECT_EQ(heldReferences(), 0U);
}

TEST_F(AChunkMatrix, OfASpaceWithoutDestructionDataIsReportedAndEmpty) {
  space_->scene().remove<DestructionFeature>();
  const support::MessageRecorder messages;
  EXPECT_EQ(ks_getChunkMatrix(kSpace, 1), nullptr);
  EXPECT_THAT(messages.texts(), ElementsAre("ASSERTION FAILED: has<Feature>()\r\nlib/scene/scene(87)\r\n"));
  EXPECT_EQ(messages.criticalCount(), 1);
  EXPECT_EQ(heldReferences(), 0U);
}

TEST_F(AChunkMatrix, HoldsTheSpaceWhileItLooks) {
  space_->scene().remove<DestructionFeature>();
  std::uint32_t heldMeanwhile = 0;
  const auto before =
      DebugMessageHelper::setSink([&](const DebugMessage&) { heldMeanwhile = heldReferences(); });
  EXPECT_EQ(ks_getChunkMatrix(kSpace, 1), nullptr);
  DebugMessageHelper::setSink(before);
  EXPECT_EQ(heldMeanwhile, 1U);
  EXPECT_EQ(heldReferences(), 0U);
}

}  // namespace
}  // namespace Tal
