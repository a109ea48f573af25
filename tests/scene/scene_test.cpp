#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <scene/destruction_feature.h>
#include <scene/matrix_provider.h>
#include <scene/scene.h>
#include <support/message_recorder.h>
#include <support/translation.h>

#include <memory>

namespace Tal {
namespace {

using support::translation;
using testing::ElementsAre;
using testing::IsEmpty;

struct Weather : SceneFeature {
  static constexpr SceneFeatureTypeID kTypeIndex = 77;
};

TEST(AMatrix, IsTheIdentityAtFirst) {
  const Matrix matrix;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column)
      EXPECT_EQ(matrix.rows[row][column], row == column ? 1.0F : 0.0F);
  EXPECT_EQ(matrix, Matrix::identity());
  EXPECT_NE(translation(5), Matrix::identity());
}

TEST(AScene, FindsItsFeaturesByTheirType) {
  const support::MessageRecorder messages;
  Scene scene;
  EXPECT_FALSE(scene.has<DestructionFeature>());
  DestructionFeature& destruction = scene.add(std::make_unique<DestructionFeature>());
  Weather& weather = scene.add(std::make_unique<Weather>());
  EXPECT_TRUE(scene.has<DestructionFeature>());
  EXPECT_EQ(scene.get<DestructionFeature>(), &destruction);
  EXPECT_EQ(scene.get<Weather>(), &weather);
  EXPECT_THAT(messages.texts(), IsEmpty());
  scene.remove<Weather>();
  EXPECT_FALSE(scene.has<Weather>());
}

TEST(AScene, HoldsOneFeatureOfAType) {
  Scene scene;
  scene.add(std::make_unique<DestructionFeature>()).setChunkMatrix(1, translation(1));
  const DestructionFeature& second = scene.add(std::make_unique<DestructionFeature>());
  EXPECT_EQ(scene.get<DestructionFeature>(), &second);
  Matrix matrix;
  EXPECT_FALSE(second.chunkMatrix(1, matrix));
}

TEST(AScene, ReportsAFeatureThatIsMissing) {
  const support::MessageRecorder messages;
  EXPECT_EQ(Scene().get<DestructionFeature>(), nullptr);
  ASSERT_THAT(messages.texts(), ElementsAre("ASSERTION FAILED: has<Feature>()\r\nlib/scene/scene(87)\r\n"));
  EXPECT_TRUE(messages.messages()[0].isCritical);
  EXPECT_EQ(messages.messages()[0].file, "lib/scene/scene");
  EXPECT_EQ(messages.messages()[0].line, 87U);
}

TEST(TheDestructionFeature, HoldsTheMatrixOfEachChunk) {
  DestructionFeature destruction;
  destruction.setChunkMatrix(3, translation(1));
  destruction.setChunkMatrix(4, translation(2));
  destruction.setChunkMatrix(3, translation(5));
  Matrix matrix;
  EXPECT_TRUE(destruction.chunkMatrix(3, matrix));
  EXPECT_EQ(matrix, translation(5));
  EXPECT_TRUE(destruction.chunkMatrix(4, matrix));
  EXPECT_EQ(matrix, translation(2));
}

TEST(TheDestructionFeature, LeavesTheMatrixAloneForAChunkThatIsNotThere) {
  Matrix matrix = translation(9);
  EXPECT_FALSE(DestructionFeature().chunkMatrix(3, matrix));
  EXPECT_EQ(matrix, translation(9));
}

TEST(AnInplaceProvider, HoldsACopyOfItsMatrix) {
  InplaceMatrixProvider provider;
  Matrix read = translation(9);
  provider.matrix(read);
  EXPECT_EQ(read, Matrix::identity());
  Matrix given = translation(4);
  provider.set(given);
  given = translation(8);
  provider.matrix(read);
  EXPECT_EQ(read, translation(4));
}

}  // namespace
}  // namespace Tal
