#include <gmock/gmock.h>

#include <cmath>
#include <vector>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::cubeBuilder;
using support::FourBytes;
using support::FourFloats;
using support::GltfBuilder;
using support::Matrix4;
using testing::HasSubstr;

Matrix4 moved(float x, float y, float z) {
  Matrix4 matrix;
  matrix.numbers[12] = x;
  matrix.numbers[13] = y;
  matrix.numbers[14] = z;
  return matrix;
}

Matrix4 scaled(float factor) {
  Matrix4 matrix;
  for (const std::size_t place : {0U, 5U, 10U}) matrix.numbers[place] = factor;
  return matrix;
}

/// A unit cube (node 0, at x = 100) that two joints (nodes 1 and 2) place; all of it follows the first.
class ASkinnedMesh : public support::ImportFixture {
 protected:
  ASkinnedMesh() {
    builder_.addNode("first");
    builder_.addNode("second");
    builder_.root["nodes"][0]["translation"] = {100, 0, 0};
    builder_.root["nodes"][0]["skin"] = 0;
    builder_.root["skins"] = {{{"joints", {1, 2}}}};
    attributes()["JOINTS_0"] = builder_.addJoints(joints_);
    attributes()["WEIGHTS_0"] = builder_.addWeights(weights_);
  }

  nlohmann::json& attributes() { return builder_.root["meshes"][0]["primitives"][0]["attributes"]; }

  void setWeights(const std::vector<FourFloats>& weights) {
    attributes()["WEIGHTS_0"] = builder_.addWeights(weights);
  }

  void expectBox(const Vector3& min, const Vector3& max) {
    writeSource(builder_.glb());
    const auto imported = import({.overwrite = true});
    ASSERT_TRUE(imported) << error_;
    EXPECT_EQ(imported->boxMin, min);
    EXPECT_EQ(imported->boxMax, max);
  }

  std::string refusalOfFile() {
    writeSource(builder_.glb());
    return refusal();
  }

  GltfBuilder builder_ = cubeBuilder();
  const std::vector<FourBytes> joints_{8, {0, 1, 0, 0}};
  const std::vector<FourFloats> weights_{8, {1, 0, 0, 0}};
};

TEST_F(ASkinnedMesh, StandsWhereItsJointsPutItAndNotWhereItsNodeDoes) {
  expectBox({0, 0, 0}, {1, 1, 1});
  builder_.root["nodes"][1]["translation"] = {5, 0, 0};
  expectBox({5, 0, 0}, {6, 1, 1});
}

TEST_F(ASkinnedMesh, FollowsTheNodesAboveItsJoints) {
  builder_.root["nodes"][2]["children"] = {1};
  builder_.root["nodes"][2]["scale"] = {100, 100, 100};
  builder_.root["nodes"][1]["translation"] = {0, 0.25, 0};
  builder_.root["scenes"][0]["nodes"] = {0, 2};
  expectBox({0, 25, 0}, {100, 125, 100});
}

TEST_F(ASkinnedMesh, FollowsJointsThatStandInNoScene) {
  builder_.root["nodes"][1]["translation"] = {5, 0, 0};
  builder_.root["scenes"][0]["nodes"] = {0};
  expectBox({5, 0, 0}, {6, 1, 1});
}

// Exporters put the scale of an armature into its joints and take it out again in these matrices.
TEST_F(ASkinnedMesh, IsTakenBackByItsInverseBindMatricesFirst) {
  builder_.root["nodes"][1]["scale"] = {100, 100, 100};
  builder_.root["nodes"][1]["translation"] = {0, 3, 0};
  builder_.root["skins"][0]["inverseBindMatrices"] = builder_.addMatrices({scaled(0.01F), {}});
  expectBox({0, 3, 0}, {1, 4, 1});
  builder_.root["skins"][0]["inverseBindMatrices"] = builder_.addMatrices({moved(0, 0, -1), {}});
  expectBox({0, 3, -100}, {100, 103, 0});
}

TEST_F(ASkinnedMesh, StandsBetweenItsJointsByTheirWeights) {
  builder_.root["nodes"][2]["translation"] = {0, 8, 0};
  setWeights(std::vector<FourFloats>(8, {0.75F, 0.25F, 0, 0}));
  expectBox({0, 2, 0}, {1, 3, 1});
}

TEST_F(ASkinnedMesh, StandsThereToWhateverItsWeightsAddUp) {
  builder_.root["nodes"][2]["translation"] = {0, 8, 0};
  setWeights(std::vector<FourFloats>(8, {6, 2, 0, 0}));
  expectBox({0, 2, 0}, {1, 3, 1});
  setWeights(std::vector<FourFloats>(8, {0, 0, 0, 0}));
  expectBox({0, 0, 0}, {1, 1, 1});
}

TEST_F(ASkinnedMesh, FollowsItsSecondSetOfJoints) {
  builder_.root["nodes"][2]["translation"] = {0, 8, 0};
  setWeights(std::vector<FourFloats>(8, {0.5F, 0, 0, 0}));
  attributes()["JOINTS_1"] = builder_.addJoints(std::vector<FourBytes>(8, {1, 0, 0, 0}));
  attributes()["WEIGHTS_1"] = builder_.addWeights(std::vector<FourFloats>(8, {0.5F, 0, 0, 0}));
  expectBox({0, 4, 0}, {1, 5, 1});
}

TEST_F(ASkinnedMesh, TakesWeightsThatAreNormalizedBytes) {
  builder_.root["nodes"][2]["translation"] = {0, 5, 0};
  const int weights = builder_.addJoints(std::vector<FourBytes>(8, {204, 51, 0, 0}));
  builder_.root["accessors"][static_cast<std::size_t>(weights)]["normalized"] = true;
  attributes()["WEIGHTS_0"] = weights;
  expectBox({0, 1, 0}, {1, 2, 1});
}

TEST_F(ASkinnedMesh, MayNameJointsWithoutWeightThatItsSkinDoesNotHave) {
  attributes()["JOINTS_0"] = builder_.addJoints(std::vector<FourBytes>(8, {0, 77, 0, 0}));
  expectBox({0, 0, 0}, {1, 1, 1});
}

TEST_F(ASkinnedMesh, IsRefusedWhenAPointHasAJointThatItsSkinDoesNot) {
  const std::string fault =
      "has a point with a joint that its skin does not have, or with a weight that is not from 0 to 1";
  attributes()["JOINTS_0"] = builder_.addJoints(std::vector<FourBytes>(8, {2, 0, 0, 0}));
  EXPECT_EQ(refusalOfFile(), fault);
  attributes()["JOINTS_0"] = builder_.addJoints(joints_);
  setWeights(std::vector<FourFloats>(8, {1, -0.5F, 0, 0}));
  EXPECT_EQ(refusalOfFile(), fault);
  setWeights(std::vector<FourFloats>(8, {std::nanf(""), 0, 0, 0}));
  EXPECT_EQ(refusalOfFile(), fault);
}

TEST_F(ASkinnedMesh, IsRefusedWhenItLiesBeyondAllNumbers) {
  builder_.root["nodes"][1]["scale"] = {1e300, 1e300, 1e300};
  EXPECT_EQ(refusalOfFile(), "has a mesh that lies beyond all numbers");
}

TEST_F(ASkinnedMesh, CountsItsPointsForEverySetOfJoints) {
  constexpr int kCount = 11'000'000;
  const auto stretch = [&](const char* attribute) {
    auto& accessor = builder_.root["accessors"][attributes()[attribute].get<std::size_t>()];
    accessor.erase("bufferView");
    accessor["count"] = kCount;
  };
  for (const char* const attribute : {"POSITION", "JOINTS_0", "WEIGHTS_0"}) stretch(attribute);
  attributes()["JOINTS_1"] = attributes()["JOINTS_0"];
  attributes()["WEIGHTS_1"] = attributes()["WEIGHTS_0"];
  EXPECT_THAT(refusalOfFile(), HasSubstr("shows more than 20000000 points"));
}

}  // namespace
}  // namespace Tal
