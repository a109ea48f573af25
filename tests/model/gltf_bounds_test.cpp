#include <cmath>
#include <limits>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::boxPoints;
using support::cubeBuilder;
using support::GltfBuilder;
using support::Points;

const float kHalfTurn = std::sqrt(0.5F);  // a quarter turn as a quaternion: (0, sin 45, 0, cos 45)

class TheBoundingBox : public support::ImportFixture {
 protected:
  void expectBox(const GltfBuilder& builder, const Vector3& min, const Vector3& max) {
    writeSource(builder.glb());
    const auto imported = import();
    ASSERT_TRUE(imported) << error_;
    expectNear(imported->boxMin, min);
    expectNear(imported->boxMax, max);
  }

 private:
  static void expectNear(const Vector3& actual, const Vector3& expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-5F);
    EXPECT_NEAR(actual.y, expected.y, 1e-5F);
    EXPECT_NEAR(actual.z, expected.z, 1e-5F);
  }
};

TEST_F(TheBoundingBox, IsMovedTurnedAndScaledWithItsNode) {
  GltfBuilder builder;
  builder.addNode("n", builder.addMesh(boxPoints({0, 0, 0}, {1, 2, 4}), -1));
  builder.root["nodes"][0]["translation"] = {10, 0, 0};
  builder.root["nodes"][0]["rotation"] = {0, kHalfTurn, 0, kHalfTurn};  // x to -z, z to x
  builder.root["nodes"][0]["scale"] = {2, 1, 1};
  expectBox(builder, {10, 0, -2}, {14, 2, 0});
}

TEST_F(TheBoundingBox, FollowsTheTransformsOfAllNodesAbove) {
  GltfBuilder builder;
  const int top = builder.addNode("top");
  builder.addChild(top, "n", builder.addMesh(boxPoints({0, 0, 0}, {1, 1, 1}), -1));
  builder.root["nodes"][0]["scale"] = {3, 3, 3};
  builder.root["nodes"][1]["translation"] = {1, 0, 0};
  expectBox(builder, {3, 0, 0}, {6, 3, 3});
}

TEST_F(TheBoundingBox, FollowsAMatrixColumnByColumn) {
  GltfBuilder builder;
  builder.addNode("n", builder.addMesh(boxPoints({0, 0, 0}, {1, 2, 3}), -1));
  // x to y, y to -x, then moved by (5, 6, 7).
  builder.root["nodes"][0]["matrix"] = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
  expectBox(builder, {3, 6, 7}, {5, 7, 10});
}

TEST_F(TheBoundingBox, FitsATurnedMeshAndNotItsCorners) {
  GltfBuilder builder;
  // A diamond: its own box has corners that reach further when turned by 45 degrees.
  builder.addNode("n", builder.addMesh({{1, 0, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, -1}, {0, 1, 0}}, -1));
  const double half = std::acos(-1.0) / 8;
  builder.root["nodes"][0]["rotation"] = {0, std::sin(half), 0, std::cos(half)};
  expectBox(builder, {-kHalfTurn, 0, -kHalfTurn}, {kHalfTurn, 1, kHalfTurn});
}

TEST_F(TheBoundingBox, IsThatOfTheDataWhateverTheAccessorClaims) {
  GltfBuilder builder = cubeBuilder();
  builder.root["accessors"][0]["min"] = {-100, -100, -100};
  builder.root["accessors"][0]["max"] = {100, 100, 100};
  expectBox(builder, {0, 0, 0}, {1, 1, 1});
}

TEST_F(TheBoundingBox, CountsAMeshAtEveryNodeThatShowsIt) {
  GltfBuilder builder = cubeBuilder();
  builder.addNode("second", 0);
  builder.root["nodes"][1]["translation"] = {-4, 0, 8};
  expectBox(builder, {-4, 0, 0}, {1, 1, 9});
}

TEST_F(TheBoundingBox, CountsOnlyTheDefaultScene) {
  GltfBuilder builder = cubeBuilder();
  builder.addNode("elsewhere", 0);
  builder.root["nodes"][1]["translation"] = {50, 0, 0};
  builder.root["scenes"] = {{{"nodes", {1}}}, {{"nodes", {0}}}};
  builder.root["scene"] = 1;
  expectBox(builder, {0, 0, 0}, {1, 1, 1});
}

TEST_F(TheBoundingBox, CountsTheFirstSceneOrEveryTopNodeWhenNoneIsTheDefault) {
  GltfBuilder builder = cubeBuilder();
  builder.addNode("elsewhere", 0);
  builder.root["nodes"][1]["translation"] = {50, 0, 0};
  builder.root["scenes"] = {{{"nodes", {1}}}, {{"nodes", {0}}}};
  builder.root.erase("scene");
  expectBox(builder, {50, 0, 0}, {51, 1, 1});
  builder.root.erase("scenes");
  ASSERT_TRUE(std::filesystem::remove_all(root() / "content") > 0);
  expectBox(builder, {0, 0, 0}, {51, 1, 1});
}

TEST_F(TheBoundingBox, ReadsInterleavedPositions) {
  GltfBuilder builder;
  // Every second triple is a normal.
  builder.addNode("n", builder.addMesh({{1, 1, 1}, {9, 9, 9}, {2, 3, 4}, {9, 9, 9}}, -1));
  builder.root["bufferViews"][0]["byteStride"] = 24;
  builder.root["accessors"][0]["count"] = 2;
  expectBox(builder, {1, 1, 1}, {2, 3, 4});
}

TEST_F(TheBoundingBox, ReadsSparsePositions) {
  GltfBuilder builder = cubeBuilder();
  builder.addPositions({{5, 6, 7}});
  const std::string indices("\x07\0\0\0", 4);
  builder.root["bufferViews"].push_back(
      {{"buffer", 0}, {"byteOffset", builder.bin.size()}, {"byteLength", 1}});
  builder.bin += indices;
  builder.root["buffers"][0]["byteLength"] = builder.bin.size();
  builder.root["accessors"][0]["sparse"] = {{"count", 1},
                                            {"indices", {{"bufferView", 2}, {"componentType", 5121}}},
                                            {"values", {{"bufferView", 1}}}};
  expectBox(builder, {0, 0, 0}, {5, 6, 7});
}

TEST_F(TheBoundingBox, CountsTheOriginForSparsePositionsOverNothing) {
  GltfBuilder builder = cubeBuilder();
  builder.addPositions({{5, 6, 7}});
  builder.root["bufferViews"].push_back(
      {{"buffer", 0}, {"byteOffset", builder.bin.size()}, {"byteLength", 1}});
  builder.bin += std::string(4, '\0');
  builder.root["buffers"][0]["byteLength"] = builder.bin.size();
  builder.root["accessors"][0] = {{"componentType", 5126},
                                  {"count", 20'000'000},
                                  {"type", "VEC3"},
                                  {"sparse",
                                   {{"count", 1},
                                    {"indices", {{"bufferView", 2}, {"componentType", 5121}}},
                                    {"values", {{"bufferView", 1}}}}}};
  expectBox(builder, {0, 0, 0}, {5, 6, 7});
}

TEST_F(TheBoundingBox, ReadsQuantizedPositions) {
  GltfBuilder builder = cubeBuilder();
  builder.root["extensionsRequired"] = {"KHR_mesh_quantization"};
  const std::string bytes("\x7f\0\0\0\x81\x40\x7f\0",
                          8);  // (127, 0, 0) and (-127, 64, 127), four bytes apart
  builder.root["bufferViews"][0] = {
      {"buffer", 0}, {"byteOffset", builder.bin.size()}, {"byteLength", 8}, {"byteStride", 4}};
  builder.bin += bytes;
  builder.root["buffers"][0]["byteLength"] = builder.bin.size();
  builder.root["accessors"][0]["componentType"] = 5120;
  builder.root["accessors"][0]["count"] = 2;
  expectBox(builder, {-127, 0, 0}, {127, 64, 127});
  builder.root["accessors"][0]["normalized"] = true;
  ASSERT_TRUE(std::filesystem::remove_all(root() / "content") > 0);
  expectBox(builder, {-1, 0, 0}, {1, 64.0F / 127, 1});
}

TEST_F(TheBoundingBox, CountsAMeshAtEachOfItsInstances) {
  GltfBuilder builder = cubeBuilder();
  builder.root["nodes"][0]["translation"] = {100, 0, 0};
  auto& attributes = builder.root["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"];
  attributes["TRANSLATION"] = builder.addPositions({{0, 0, 0}, {10, 0, 0}, {0, 20, 0}});
  expectBox(builder, {100, 0, 0}, {111, 21, 1});
  attributes["SCALE"] = builder.addPositions({{1, 1, 1}, {2, 2, 2}, {1, 1, -3}});
  // A quarter turn of the second: x to y, y to -x.
  attributes["ROTATION"] = builder.addWeights({{0, 0, 0, 1}, {0, 0, kHalfTurn, kHalfTurn}, {0, 0, 0, 1}});
  ASSERT_TRUE(std::filesystem::remove_all(root() / "content") > 0);
  expectBox(builder, {100, 0, -3}, {110, 21, 2});
}

TEST_F(TheBoundingBox, IsFoundQuicklyForAMillionInstancesInOnePlace) {
  GltfBuilder builder = cubeBuilder();
  builder.root["accessors"].push_back({{"componentType", 5126}, {"count", 1'000'000}, {"type", "VEC3"}});
  builder.root["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"]["TRANSLATION"] = 1;
  expectBox(builder, {0, 0, 0}, {1, 1, 1});
}

TEST_F(TheBoundingBox, SkipsPrimitivesWithoutPositions) {
  GltfBuilder builder = cubeBuilder();
  builder.root["meshes"][0]["primitives"].push_back({{"attributes", nlohmann::json::object()}});
  expectBox(builder, {0, 0, 0}, {1, 1, 1});
}

TEST_F(TheBoundingBox, IsFoundUnderAHundredThousandNestedNodes) {
  GltfBuilder builder = cubeBuilder();
  auto nodes = nlohmann::json::array();
  constexpr int kDepth = 100'000;
  for (int node = 0; node + 1 < kDepth; ++node) {
    nodes.push_back({{"children", {node + 1}}, {"translation", {0, 0, 1}}});
  }
  nodes.push_back({{"mesh", 0}});
  builder.root["nodes"] = std::move(nodes);
  expectBox(builder, {0, 0, kDepth - 1}, {1, 1, kDepth});
}

TEST_F(TheBoundingBox, IsFoundQuicklyForAMeshThatStandsInManyPlaces) {
  GltfBuilder builder;
  const int mesh = builder.addMesh(Points(20'000, {1, 1, 1}), -1);
  for (int count = 0; count < 1'000; ++count) builder.addNode("", mesh);
  expectBox(builder, {1, 1, 1}, {1, 1, 1});
}

}  // namespace
}  // namespace Tal
