#include <gmock/gmock.h>

#include <cstdint>
#include <vector>

#include "gltf_builder.h"
#include "gltf_damage.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using nlohmann::json;
using support::Damage;
using support::GltfBuilder;
using support::Points;

using AGltfWithIndices = support::ImportFixture;
using AGltfWithManyPoints = support::ImportFixture;
using AGltfWithOffsets = support::ImportFixture;

/// A cube of 8 points (accessor 0) and normals (accessor 1).
GltfBuilder cubeWithNormals() {
  GltfBuilder builder = support::cubeBuilder();
  builder.root["meshes"][0]["primitives"][0]["attributes"]["NORMAL"] =
      builder.addPositions(Points(8, {0, 1, 0}));
  return builder;
}

template <class Index>
GltfBuilder indexedCube(const std::vector<Index>& indices) {
  GltfBuilder builder = cubeWithNormals();
  builder.root["meshes"][0]["primitives"][0]["indices"] = builder.addIndices(indices);
  return builder;
}

class DamagedGeometry : public support::DamageFixture {};

// Accessor 2 and buffer view 2 are the indices.
TEST_P(DamagedGeometry, IsRefusedWithThePlaceOfTheDamage) {
  EXPECT_EQ(refusalOf(indexedCube<std::uint16_t>({0, 1, 2, 7, 6, 5})), GetParam().fault);
}

/// Lets an accessor stand on no data but one sparse value.
void makeSparse(json& accessor) {
  accessor.erase("bufferView");
  accessor["sparse"] = {{"count", 1},
                        {"indices", {{"bufferView", 2}, {"componentType", 5123}}},
                        {"values", {{"bufferView", 0}}}};
}

const std::vector<Damage> kDamages = {
    {"positions over nothing",
     [](json& root) {
       root["accessors"][0].erase("bufferView");
       root["accessors"][0]["count"] = 2'147'483'647;
     },
     "accessors[0] has 2147483647 elements that no buffer view holds; at most 20000000 can be imported"},
    {"normals over nothing",
     [](json& root) {
       root["accessors"][1].erase("bufferView");
       root["accessors"][1]["count"] = 20'000'001;
     },
     "accessors[1] has 20000001 elements that no buffer view holds; at most 20000000 can be imported"},
    {"sparse over nothing",
     [](json& root) {
       makeSparse(root["accessors"][0]);
       root["accessors"][0]["count"] = 2'147'483'647;
     },
     "accessors[0] has 2147483647 elements that no buffer view holds; at most 20000000 can be imported"},
    {"sparse order over nothing",
     [](json& root) {
       makeSparse(root["accessors"][1]);
       root["accessors"][1]["sparse"]["count"] = 5;
     },
     "accessors[1].sparse has indices that do not rise or lie beyond its elements"},
    {"sparse index",
     [](json& root) {
       root["accessors"].push_back(root["accessors"][1]);
       makeSparse(root["accessors"][3]);
       root["accessors"][3]["sparse"]["indices"]["byteOffset"] = 6;  // a 7
       root["accessors"][3]["count"] = 7;
     },
     "accessors[3].sparse has indices that do not rise or lie beyond its elements"},
    {"sparse index over data",
     [](json& root) {
       root["accessors"].push_back(root["accessors"][1]);
       makeSparse(root["accessors"][3]);
       root["accessors"][3]["bufferView"] = 1;
       root["accessors"][3]["sparse"]["indices"]["byteOffset"] = 6;  // a 7
       root["accessors"][3]["count"] = 7;
     },
     "accessors[3].sparse has indices that do not rise or lie beyond its elements"},
    {"float indices",
     [](json& root) {
       root["accessors"][2]["componentType"] = 5126;
       root["accessors"][2]["count"] = 3;
     },
     "meshes[0].primitives[0] has indices that are not unsigned integers"},
    {"signed indices", [](json& root) { root["accessors"][2]["componentType"] = 5122; },
     "meshes[0].primitives[0] has indices that are not unsigned integers"},
    {"triple indices",
     [](json& root) {
       root["accessors"][2]["type"] = "VEC3";
       root["accessors"][2]["count"] = 2;
     },
     "meshes[0].primitives[0] has indices that are not unsigned integers"},
    {"normalized indices", [](json& root) { root["accessors"][2]["normalized"] = true; },
     "meshes[0].primitives[0] has indices that are normalized"},
    {"normalized", [](json& root) { root["accessors"][0]["normalized"] = 1; },
     "accessors[0].normalized is neither true nor false"},
    {"few normals", [](json& root) { root["accessors"][1]["count"] = 3; },
     "meshes[0].primitives[0].attributes.NORMAL has 3 elements, but POSITION has 8"},
    {"few attributes",
     [](json& root) {
       root["meshes"][0]["primitives"][0]["attributes"] = {{"COLOR_0", 0}, {"NORMAL", 1}};
       root["accessors"][1]["count"] = 3;
     },
     "meshes[0].primitives[0].attributes.NORMAL has 3 elements, but COLOR_0 has 8"},
    {"few morphed points",
     [](json& root) {
       root["accessors"].push_back(root["accessors"][1]);
       root["accessors"][3]["count"] = 3;
       root["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", 1}}, {{"POSITION", 3}}};
     },
     "meshes[0].primitives[0].targets[1].POSITION has 3 elements, but POSITION has 8"},
    {"mode", [](json& root) { root["meshes"][0]["primitives"][0]["mode"] = 7; },
     "meshes[0].primitives[0] has the unknown \"mode\" 7"},
    {"negative mode", [](json& root) { root["meshes"][0]["primitives"][0]["mode"] = -1; },
     "meshes[0].primitives[0].mode is not a whole number from 0 up"},
    {"mode text", [](json& root) { root["meshes"][0]["primitives"][0]["mode"] = "4"; },
     "meshes[0].primitives[0].mode is not a whole number from 0 up"},
    {"misaligned accessor",
     [](json& root) {
       root["accessors"][1]["byteOffset"] = 2;
       root["accessors"][1]["count"] = 7;
     },
     "accessors[1] begins at byte 98 of its buffer, which is not a multiple of its component size 4"},
    {"misaligned view", [](json& root) { root["bufferViews"][1]["byteOffset"] = 95; },
     "accessors[1] begins at byte 95 of its buffer, which is not a multiple of its component size 4"},
    {"misaligned indices",
     [](json& root) {
       root["accessors"][2]["byteOffset"] = 1;
       root["accessors"][2]["count"] = 5;
     },
     "accessors[2] begins at byte 193 of its buffer, which is not a multiple of its component size 2"},
    {"misaligned sparse indices",
     [](json& root) {
       makeSparse(root["accessors"][1]);
       root["accessors"][1]["sparse"]["indices"]["byteOffset"] = 3;
     },
     "accessors[1].sparse.indices begins at byte 195 of its buffer, which is not a multiple of its component "
     "size 2"},
    {"misaligned sparse values",
     [](json& root) {
       makeSparse(root["accessors"][1]);
       root["accessors"][1]["sparse"]["values"]["byteOffset"] = 6;
     },
     "accessors[1].sparse.values begins at byte 6 of its buffer, which is not a multiple of its component "
     "size "
     "4"},
};

INSTANTIATE_TEST_SUITE_P(Each, DamagedGeometry, testing::ValuesIn(kDamages), support::nameOfDamage);

TEST_F(AGltfWithOffsets, IsTakenWhenViewAndAccessorTogetherAreAligned) {
  GltfBuilder builder = indexedCube<std::uint16_t>({0, 1, 2, 7, 6, 5});
  builder.root["bufferViews"][1]["byteOffset"] = 94;
  builder.root["bufferViews"][1]["byteLength"] = 98;
  builder.root["accessors"][1]["byteOffset"] = 2;
  writeSource(builder.glb());
  EXPECT_TRUE(import()) << error_;
}

constexpr const char* kIndexEight = "meshes[0].primitives[0] has the index 8, but there are 8 points";

TEST_F(AGltfWithIndices, IsTakenUpToTheLastPoint) {
  writeSource(indexedCube<std::uint8_t>({0, 7, 1}).glb());
  EXPECT_TRUE(import({.overwrite = true})) << error_;
  writeSource(indexedCube<std::uint16_t>({0, 7, 1}).glb());
  EXPECT_TRUE(import({.overwrite = true})) << error_;
  writeSource(indexedCube<std::uint32_t>({0, 7, 1}).glb());
  EXPECT_TRUE(import({.overwrite = true})) << error_;
}

TEST_F(AGltfWithIndices, IsRefusedWhenOneLiesBehindTheLastPoint) {
  writeSource(indexedCube<std::uint8_t>({0, 8, 1}).glb());
  EXPECT_EQ(refusal(), kIndexEight);
  writeSource(indexedCube<std::uint16_t>({8, 0, 1}).glb());
  EXPECT_EQ(refusal(), kIndexEight);
  writeSource(indexedCube<std::uint32_t>({0, 1, 8}).glb());
  EXPECT_EQ(refusal(), kIndexEight);
}

TEST_F(AGltfWithIndices, IsRefusedForTheLargestOfThem) {
  writeSource(indexedCube<std::uint8_t>({9, 255, 1}).glb());
  EXPECT_EQ(refusal(), "meshes[0].primitives[0] has the index 255, but there are 8 points");
  writeSource(indexedCube<std::uint16_t>({9, 65'535, 1}).glb());
  EXPECT_EQ(refusal(), "meshes[0].primitives[0] has the index 65535, but there are 8 points");
  writeSource(indexedCube<std::uint32_t>({9, 4'294'967'295, 1}).glb());
  EXPECT_EQ(refusal(), "meshes[0].primitives[0] has the index 4294967295, but there are 8 points");
}

TEST_F(AGltfWithIndices, ReadsNoMoreThanTheAccessorSays) {
  GltfBuilder builder = indexedCube<std::uint16_t>({99, 99, 0, 7, 1, 99});
  builder.root["accessors"][2]["byteOffset"] = 4;
  builder.root["accessors"][2]["count"] = 3;
  writeSource(builder.glb());
  EXPECT_TRUE(import()) << error_;
}

TEST_F(AGltfWithIndices, ReadsThemByTheirStride) {
  // Every second one is padding.
  GltfBuilder good = indexedCube<std::uint16_t>({0, 99, 7, 99, 1, 99});
  good.root["bufferViews"][2]["byteStride"] = 4;
  good.root["accessors"][2]["count"] = 3;
  writeSource(good.glb());
  EXPECT_TRUE(import()) << error_;
  std::filesystem::remove_all(root() / "content");
  GltfBuilder bad = indexedCube<std::uint16_t>({0, 0, 7, 0, 8, 0});
  bad.root["bufferViews"][2]["byteStride"] = 4;
  bad.root["accessors"][2]["count"] = 3;
  writeSource(bad.glb());
  EXPECT_EQ(refusal(), kIndexEight);
}

TEST_F(AGltfWithIndices, ReadsSparseOnes) {
  for (const std::uint16_t replacement : {std::uint16_t{7}, std::uint16_t{8}}) {
    GltfBuilder builder = indexedCube<std::uint16_t>({0, 1, 99});
    builder.root["accessors"][2]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", builder.addView("\x02")}, {"componentType", 5121}}},
        {"values", {{"bufferView", builder.addView({reinterpret_cast<const char*>(&replacement), 2})}}}};
    writeSource(builder.glb());
    if (replacement == 8) {
      std::filesystem::remove_all(root() / "content");
      EXPECT_EQ(refusal(), kIndexEight);
    } else {
      EXPECT_TRUE(import()) << error_;
    }
  }
}

TEST_F(AGltfWithIndices, IsRefusedWhenOneLiesBehindTheSmallestMeshThatUsesThem) {
  GltfBuilder builder = indexedCube<std::uint16_t>({0, 7, 1});
  builder.addMesh({{0, 0, 0}, {1, 1, 1}}, -1);  // shown by no node
  builder.root["meshes"][1]["primitives"][0]["indices"] = 2;
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "meshes[1].primitives[0] has the index 7, but there are 2 points");
}

TEST_F(AGltfWithIndices, IsRefusedWhenThereAreNoPoints) {
  GltfBuilder builder = indexedCube<std::uint16_t>({0, 7, 1});
  builder.root["meshes"][0]["primitives"].push_back({{"attributes", json::object()}, {"indices", 2}});
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "meshes[0].primitives[1] has the index 7, but there are 0 points");
}

TEST_F(AGltfWithIndices, AreReadOnceThoughManyPrimitivesShareThem) {
  GltfBuilder builder = indexedCube(std::vector<std::uint8_t>(1 << 20, 7));
  auto& primitives = builder.root["meshes"][0]["primitives"];
  for (int count = 0; count < 600; ++count) primitives.push_back(json(primitives[0]));
  writeSource(builder.glb());
  EXPECT_TRUE(import()) << error_;
}

TEST_F(AGltfWithIndices, IsRefusedWhenManyAccessorsOverlapInThem) {
  GltfBuilder builder = indexedCube(std::vector<std::uint8_t>(1 << 20, 7));
  auto& primitives = builder.root["meshes"][0]["primitives"];
  for (int count = 0; count < 512; ++count) {
    builder.root["accessors"].push_back(json(builder.root["accessors"][2]));
    primitives.push_back(json(primitives[0]));
    primitives.back()["indices"] = 3 + count;
  }
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "has more than 512 MiB of indices, counted at every accessor of them");
}

/// A mesh of points that no data stands behind.
int addOrigins(GltfBuilder& builder, int count) {
  const int mesh = builder.addMesh({{0, 0, 0}}, -1);
  auto& accessor = builder.root["accessors"].back();
  accessor.erase("bufferView");
  accessor["count"] = count;
  return mesh;
}

constexpr const char* kTooMany = "shows more than 20000000 points, counted at every node";

TEST_F(AGltfWithManyPoints, IsTakenUpToTheLimit) {
  GltfBuilder builder;
  builder.addNode("a", addOrigins(builder, 12'000'000));
  builder.addNode("b", addOrigins(builder, 8'000'000));
  writeSource(builder.glb());
  EXPECT_TRUE(import()) << error_;
}

TEST_F(AGltfWithManyPoints, IsRefusedWhenItsMeshesTogetherHaveMore) {
  for (const char* second : {"b", "BSP_b"}) {
    GltfBuilder builder;
    builder.addNode("a", addOrigins(builder, 12'000'000));
    builder.addNode(second, addOrigins(builder, 8'000'001));
    writeSource(builder.glb());
    EXPECT_EQ(refusal(), kTooMany);
  }
}

TEST_F(AGltfWithManyPoints, IsRefusedWhenItsNodesTogetherShowMore) {
  GltfBuilder builder;
  const int mesh = builder.addMesh(Points(20'000, {1, 1, 1}), -1);
  for (int count = 0; count < 1'001; ++count) builder.addNode("", mesh);
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), kTooMany);
}

}  // namespace
}  // namespace Tal
