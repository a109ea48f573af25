#include <gmock/gmock.h>
#include <model/gltf/reader.h>
#include <model/gltf/scene.h>

#include <cmath>
#include <string>
#include <vector>

#include "gltf_compression.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::compressView;
using support::DracoMethod;
using support::GltfBuilder;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ACompressedGltf : public support::ImportFixture {
 protected:
  /// Imports and expects that the source is stored as it is; quantization moves points by less than 0.001.
  void expectBox(const GltfBuilder& builder, const Vector3& min, const Vector3& max) {
    writeSource(builder.glb());
    const auto imported = import({.overwrite = true});
    ASSERT_TRUE(imported) << error_;
    for (float Vector3::*axis : {&Vector3::x, &Vector3::y, &Vector3::z}) {
      EXPECT_NEAR(imported->boxMin.*axis, min.*axis, 1e-3F);
      EXPECT_NEAR(imported->boxMax.*axis, max.*axis, 1e-3F);
    }
    EXPECT_TRUE(folder_.read("root/content/house.glb") == builder.glb());
  }

  void expectReadOrRefused(const GltfBuilder& builder) {
    writeSource(builder.glb());
    std::vector<std::string> warnings;
    const auto document = readGltf(source_, {folder_.path(), {}}, warnings);
    const Result<GltfScene> scene = document ? sceneOf(**document) : Result<GltfScene>(document.fault());
    if (scene) {
      EXPECT_LE(scene->box.min.x, scene->box.max.x);
    } else {
      EXPECT_THAT(scene.fault().what, testing::Not(IsEmpty()));
    }
  }

  std::string refusalOf(const GltfBuilder& builder) {
    writeSource(builder.glb());
    return refusal();
  }
};

constexpr const char* kNoMesh =
    "meshes[0].primitives[0] holds a mesh that cannot be uncompressed, or that has another number of points "
    "or "
    "triangles than its accessors; export it without mesh compression, or compress it again";

nlohmann::json& primitiveOf(GltfBuilder& builder) {
  return builder.root["meshes"][0]["primitives"][0];
}

nlohmann::json& dracoOf(GltfBuilder& builder) {
  return primitiveOf(builder)["extensions"]["KHR_draco_mesh_compression"];
}

nlohmann::json& meshoptOf(GltfBuilder& builder, const std::string& extension = "EXT_meshopt_compression") {
  return builder.root["bufferViews"][0]["extensions"][extension];
}

TEST_F(ACompressedGltf, IsMeasuredWhenDracoCompressedIt) {
  expectBox(support::dracoBuilder(DracoMethod::edgebreaker), {0, 0, 0}, {1, 1, 1});
  expectBox(support::dracoBuilder(DracoMethod::sequential), {0, 0, 0}, {1, 1, 1});
}

TEST_F(ACompressedGltf, IsMeasuredWhenDracoIsUsedAndNotRequired) {
  GltfBuilder builder = support::dracoBuilder(DracoMethod::edgebreaker);
  builder.root.erase("extensionsRequired");
  builder.root["accessors"][0]["bufferView"] = builder.addView(std::string(96, '\0'));
  expectBox(builder, {0, 0, 0}, {1, 1, 1});
}

TEST_F(ACompressedGltf, StandsWhereItsJointsPutIt) {
  expectBox(support::dracoBuilder(DracoMethod::edgebreaker, true), {5, 0, 0}, {6, 1, 1});
  expectBox(support::dracoBuilder(DracoMethod::sequential, true), {5, 0, 0}, {6, 1, 1});
}

TEST_F(ACompressedGltf, IsRefusedWhenItsMeshHasAnotherSize) {
  GltfBuilder builder = support::dracoBuilder(DracoMethod::edgebreaker);
  builder.root["accessors"][0]["count"] = 9;
  EXPECT_EQ(refusalOf(builder), kNoMesh);
  builder.root["accessors"][0]["count"] = 8;
  builder.root["accessors"][1]["count"] = 21;
  EXPECT_EQ(refusalOf(builder), kNoMesh);
}

TEST_F(ACompressedGltf, IsRefusedWhenItsMeshHasOtherAttributes) {
  GltfBuilder builder = support::dracoBuilder(DracoMethod::edgebreaker);
  const std::string fault =
      "meshes[0].primitives[0] has another attribute POSITION in its compressed mesh; export it without mesh "
      "compression, or compress it again";
  dracoOf(builder)["attributes"]["POSITION"] = 7;
  EXPECT_EQ(refusalOf(builder), fault);
  builder = support::dracoBuilder(DracoMethod::edgebreaker, true);
  dracoOf(builder)["attributes"]["POSITION"] = dracoOf(builder)["attributes"]["JOINTS_0"];
  EXPECT_EQ(refusalOf(builder), fault);
}

TEST_F(ACompressedGltf, IsRefusedWithoutIndicesOrPositions) {
  GltfBuilder builder = support::dracoBuilder(DracoMethod::edgebreaker);
  primitiveOf(builder).erase("indices");
  EXPECT_EQ(refusalOf(builder),
            "meshes[0].primitives[0] is compressed and has no \"indices\" or no POSITION");
}

TEST_F(ACompressedGltf, IsImportedOrRefusedWhateverByteOfDracosIsAnother) {
  for (const DracoMethod method : {DracoMethod::edgebreaker, DracoMethod::sequential}) {
    const GltfBuilder whole = support::dracoBuilder(method, true);
    for (std::size_t place = 0; place < whole.bin.size(); ++place) {
      GltfBuilder builder = whole;
      builder.bin[place] = static_cast<char>(~builder.bin[place]);
      expectReadOrRefused(builder);
    }
  }
}

// The counts at the beginning of the stream are numbers of variable length.
TEST_F(ACompressedGltf, IsRefusedBeforeWhatDracoAnnouncesIsMade) {
  GltfBuilder builder = support::dracoBuilder(DracoMethod::sequential);
  constexpr std::size_t kCounts = 11;
  const std::string huge = "\xff\xff\xff\xff\x0f";
  const auto offset = builder.root["bufferViews"][0]["byteOffset"].get<std::size_t>();
  builder.bin.replace(offset + kCounts, huge.size(), huge);
  EXPECT_EQ(refusalOf(builder), kNoMesh);
  builder.root["accessors"][1]["count"] = 20'000'000;
  EXPECT_EQ(refusalOf(builder), kNoMesh);
}

TEST_F(ACompressedGltf, IsMeasuredWhenMeshoptCompressedIt) {
  expectBox(support::meshoptBuilder(), {0, 0, 0}, {1, 1, 1});
  expectBox(support::meshoptBuilder("KHR_meshopt_compression"), {0, 0, 0}, {1, 1, 1});
}

TEST_F(ACompressedGltf, IsMeasuredWhenItsNumbersAreFiltered) {
  expectBox(support::filteredBuilder(), {0, 0, 0}, {1, 1, 1});
}

TEST_F(ACompressedGltf, HasItsIndicesLookedAt) {
  for (const char* const mode : {"TRIANGLES", "INDICES"}) {
    for (const std::uint16_t last : {std::uint16_t{7}, std::uint16_t{8}}) {
      GltfBuilder builder = support::cubeBuilder();
      primitiveOf(builder)["indices"] = builder.addIndices(std::vector<std::uint16_t>{0, 1, 2, 2, 1, last});
      compressView(builder, 1, mode, 2);
      writeSource(builder.glb());
      if (last == 7) {
        EXPECT_TRUE(import({.overwrite = true})) << error_;
      } else {
        std::filesystem::remove_all(root() / "content");
        EXPECT_EQ(refusal(), "meshes[0].primitives[0] has the index 8, but there are 8 points");
      }
    }
  }
}

TEST_F(ACompressedGltf, KeepsItsCompressedViewsWhenItIsPutTogether) {
  for (const std::string extension : {"EXT_meshopt_compression", "KHR_meshopt_compression"}) {
    GltfBuilder builder = support::meshoptBuilder(extension);
    builder.root["buffers"][0]["uri"] = "in.bin";
    folder_.write("in.bin", builder.bin);
    writeSource(builder.json(), "in.gltf");
    const auto imported = import({.overwrite = true});
    ASSERT_TRUE(imported) << error_;
    EXPECT_EQ(imported->boxMax, (Vector3{1, 1, 1}));
    const std::string stored = folder_.read("root/content/house.glb");
    EXPECT_THAT(stored, HasSubstr("\"extensions\":{\"" + extension + "\":{\"fallback\":true}}"));
    writeSource(stored);
    const auto again = import({.overwrite = true});
    ASSERT_TRUE(again) << error_;
    EXPECT_EQ(again->boxMax, (Vector3{1, 1, 1}));
  }
}

TEST_F(ACompressedGltf, IsRefusedWhenItIsCompressedInANewerWay) {
  const std::string newer =
      "bufferViews[0].extensions.KHR_meshopt_compression is compressed in a newer way than can be imported; "
      "compress it with EXT_meshopt_compression, or not at all";
  GltfBuilder builder = support::meshoptBuilder("KHR_meshopt_compression");
  const auto offset = meshoptOf(builder, "KHR_meshopt_compression")["byteOffset"].get<std::size_t>();
  builder.bin[offset] = '\xa1';
  EXPECT_EQ(refusalOf(builder), newer);
  builder = support::meshoptBuilder("KHR_meshopt_compression");
  meshoptOf(builder, "KHR_meshopt_compression")["filter"] = "COLOR";
  EXPECT_EQ(refusalOf(builder), newer);
}

TEST_F(ACompressedGltf, IsRefusedWhenItsViewIsNotWhatItSays) {
  const std::string place = "bufferViews[0].extensions.EXT_meshopt_compression";
  const std::string unfit = place + " has a \"mode\", \"filter\" or \"byteStride\" that do not fit";
  struct Case {
    const char* key;
    nlohmann::json value;
    std::string fault;
  };
  const std::vector<Case> cases = {
      {"mode", "POINTS", unfit},
      {"mode", "TRIANGLES", unfit},
      {"filter", "QUATERNION", unfit},
      {"filter", "BLUR", unfit},
      {"filter", 3, place + ".filter is not a string"},
      {"count", 9, place + " says another size than its view"},
      {"byteStride", 24, place + " says another size than its view"},
      {"byteLength", 7, place + " cannot be uncompressed; compress it again, or not at all"},
      {"byteLength", 0, place + " is empty"},
      {"byteLength", 4000, place + " ends at byte "},
      {"buffer", 1, "has no data for its buffer number 1"},
      {"buffer", 2, place + ".buffer is 2, but there are 2 buffers"}};
  for (const Case& one : cases) {
    GltfBuilder builder = support::meshoptBuilder();
    meshoptOf(builder)[one.key] = one.value;
    EXPECT_THAT(refusalOf(builder), StartsWith(one.fault)) << one.key << one.value;
  }
}

TEST_F(ACompressedGltf, IsRefusedBeforeWhatMeshoptAnnouncesIsMade) {
  GltfBuilder builder = support::meshoptBuilder();
  constexpr std::size_t kCount = 150'000'000;
  builder.root["buffers"][1]["byteLength"] = kCount * 12;
  builder.root["bufferViews"][0]["byteOffset"] = 0;
  builder.root["bufferViews"][0]["byteLength"] = kCount * 12;
  meshoptOf(builder)["count"] = kCount;
  EXPECT_THAT(refusalOf(builder), HasSubstr("announces more than its compressed bytes can hold"));
}

TEST_F(ACompressedGltf, IsImportedOrRefusedWhateverByteOfMeshoptsIsAnother) {
  const GltfBuilder whole = support::meshoptBuilder();
  for (std::size_t place = 0; place < whole.bin.size(); ++place) {
    GltfBuilder builder = whole;
    builder.bin[place] = static_cast<char>(~builder.bin[place]);
    expectReadOrRefused(builder);
  }
}

TEST_F(ACompressedGltf, MayBeQuantizedWithoutRequiringThat) {
  GltfBuilder builder = support::cubeBuilder();
  builder.root["extensionsUsed"] = {"KHR_mesh_quantization"};
  builder.root["bufferViews"][0] = {
      {"buffer", 0}, {"byteOffset", builder.bin.size()}, {"byteLength", 8}, {"byteStride", 4}};
  builder.bin += std::string("\x7f\0\0\0\x81\x40\x7f\0", 8);
  builder.root["buffers"][0]["byteLength"] = builder.bin.size();
  builder.root["accessors"][0]["componentType"] = 5120;
  builder.root["accessors"][0]["count"] = 2;
  expectBox(builder, {-127, 0, 0}, {127, 64, 127});
}

}  // namespace
}  // namespace Tal
