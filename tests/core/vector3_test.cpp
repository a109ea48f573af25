#include <core/vector3.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using Tal::Vector3;

TEST(AVector3, StartsAtZero) {
  const Vector3 vector;
  EXPECT_EQ(vector.x, 0.0F);
  EXPECT_EQ(vector.y, 0.0F);
  EXPECT_EQ(vector.z, 0.0F);
  EXPECT_EQ(vector, Vector3::zero());
}

TEST(AVector3, HoldsThreePackedFloats) {
  EXPECT_EQ(sizeof(Vector3), 3 * sizeof(float));
}

TEST(AVector3, IsSubtractedByComponents) {
  EXPECT_EQ((Vector3{5.0F, 1.0F, -2.0F} - Vector3{1.0F, 4.0F, -3.0F}), (Vector3{4.0F, -3.0F, 1.0F}));
}

TEST(AVector3, DiffersWhenAnyComponentDoes) {
  const Vector3 vector{1.0F, 2.0F, 3.0F};
  EXPECT_EQ(vector, (Vector3{1.0F, 2.0F, 3.0F}));
  EXPECT_NE(vector, (Vector3{9.0F, 2.0F, 3.0F}));
  EXPECT_NE(vector, (Vector3{1.0F, 9.0F, 3.0F}));
  EXPECT_NE(vector, (Vector3{1.0F, 2.0F, 9.0F}));
}

TEST(AVector3, ComparesComponentsAsNumbers) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ((Vector3{0.0F, 0.0F, 0.0F}), (Vector3{-0.0F, -0.0F, -0.0F}));
  EXPECT_NE((Vector3{nan, 0.0F, 0.0F}), (Vector3{nan, 0.0F, 0.0F}));
}

}  // namespace
