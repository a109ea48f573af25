#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::cubeBuilder;
using support::GltfBuilder;
using support::Points;

using TheBoundingBox = support::ImportFixture;

TEST_F(TheBoundingBox, IsFoundUnderAHundredThousandNestedNodes) {
  GltfBuilder builder = cubeBuilder();
  auto nodes = nlohmann::json::array();
  constexpr int kDepth = 100'000;
  for (int node = 0; node + 1 < kDepth; ++node) {
    nodes.push_back({{"children", {node + 1}}, {"translation", {0, 0, 1}}});
  }
  nodes.push_back({{"mesh", 0}});
  builder.root["nodes"] = std::move(nodes);
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->boxMin, (Vector3{0, 0, kDepth - 1}));
  EXPECT_EQ(imported->boxMax, (Vector3{1, 1, kDepth}));
}

TEST_F(TheBoundingBox, IsFoundQuicklyForAMeshThatStandsInManyPlaces) {
  GltfBuilder builder;
  const int mesh = builder.addMesh(Points(20'000, {1, 1, 1}), -1);
  for (int count = 0; count < 1'000; ++count) builder.addNode("", mesh);
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->boxMin, (Vector3{1, 1, 1}));
  EXPECT_EQ(imported->boxMax, (Vector3{1, 1, 1}));
}

}  // namespace
}  // namespace Tal
