#include <cstdint>
#include <random>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::boxPoints;
using support::GltfBuilder;

/// A file with something of everything that is read.
GltfBuilder richBuilder() {
  GltfBuilder builder;
  const int wall = builder.addMaterial("partN1");
  const int mesh = builder.addMesh(boxPoints({0, 0, 0}, {1, 1, 1}), wall);
  const int top = builder.addNode("top", mesh);
  builder.addChild(top, "HP_1");
  builder.addNode("BSP_1", builder.addMesh(boxPoints({0, 0, 0}, {2, 2, 2}), wall));
  auto& root = builder.root;
  root["materials"][0]["extras"] = {{"materialKind", 74}};
  root["nodes"][0]["rotation"] = {0, 0, 0, 1};
  root["nodes"][0]["scale"] = {1, 2, 3};
  root["nodes"][1]["matrix"] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
  root["nodes"][0]["skin"] = 0;
  root["skins"] = {{{"joints", {1}}, {"inverseBindMatrices", builder.addMatrices({{}})}}};
  auto& attributes = root["meshes"][0]["primitives"][0]["attributes"];
  attributes["JOINTS_0"] = builder.addJoints(std::vector<support::FourBytes>(8));
  attributes["WEIGHTS_0"] = builder.addWeights(std::vector<support::FourFloats>(8, {1, 0, 0, 0}));
  root["nodes"][2]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"] = {{"TRANSLATION", 0}};
  root["cameras"] = {{{"type", "perspective"}, {"perspective", {{"yfov", 1}, {"znear", 1}}}}};
  root["images"] = {{{"bufferView", 0}, {"mimeType", "image/png"}}};
  root["samplers"] = {{{"wrapS", 10497}}};
  root["textures"] = {{{"source", 0}, {"sampler", 0}}};
  root["materials"][0]["pbrMetallicRoughness"] = {{"baseColorFactor", {1, 0, 0, 1}},
                                                  {"baseColorTexture", {{"index", 0}}}};
  root["meshes"][0]["primitives"][0]["indices"] = builder.addIndices<std::uint16_t>({0, 1, 2, 7, 6, 5});
  root["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", 0}}};
  root["accessors"][0]["sparse"] = {{"count", 1},
                                    {"indices", {{"bufferView", 0}, {"componentType", 5121}}},
                                    {"values", {{"bufferView", 1}}}};
  root["accessors"][0]["min"] = {0, 0, 0};
  root["animations"] = {{{"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "scale"}}}}}},
                         {"samplers", {{{"input", 0}, {"output", 0}}}}}};
  root["extensionsUsed"] = {"EXT_mesh_gpu_instancing", "KHR_lights_punctual", "MSFT_lod"};
  root["extensions"] = {{"KHR_lights_punctual", {{"lights", {{{"type", "spot"}, {"spot", {{"a", 1}}}}}}}}};
  root["nodes"][0]["extensions"] = {{"KHR_lights_punctual", {{"light", 0}}}, {"MSFT_lod", {{"ids", {1}}}}};
  return builder;
}

class AMutatedGltf : public support::ImportFixture, public testing::WithParamInterface<int> {
 protected:
  /// Imports the bytes: either all three files are there afterwards, or an error of one line and no file.
  void expectAllOrNothing(const std::string& bytes) {
    writeSource(bytes);
    if (import({.overwrite = true})) {
      EXPECT_TRUE(std::filesystem::exists(root() / "content/house.model"));
      std::filesystem::remove_all(root() / "content");
      return;
    }
    EXPECT_TRUE(error_.starts_with(source_.string() + ": ")) << error_;
    EXPECT_EQ(error_.find('\n'), std::string::npos) << error_;
    EXPECT_LT(error_.size(), 1000U);
    EXPECT_TRUE(std::filesystem::is_empty(root()));
  }

  std::mt19937 random_{static_cast<unsigned>(GetParam())};
  std::size_t below(std::size_t limit) { return random_() % limit; }
};

TEST_P(AMutatedGltf, IsImportedOrRefusedWhenBytesChange) {
  const std::string whole = richBuilder().glb();
  for (int round = 0; round < 60; ++round) {
    std::string bytes = whole;
    for (std::size_t change = 0; change <= below(4); ++change) {
      bytes[below(bytes.size())] = static_cast<char>(random_());
    }
    expectAllOrNothing(bytes);
  }
}

using nlohmann::json;

/// A value of the document, chosen evenly on each level.
json& anyValue(json& value, std::mt19937& random) {
  if (!value.is_structured() || value.empty() || random() % 8 == 0) return value;
  auto element = value.begin();
  std::advance(element, random() % value.size());
  return anyValue(*element, random);
}

json anyReplacement(std::mt19937& random) {
  static const std::vector<json> s_replacements = {nullptr,
                                                   true,
                                                   0,
                                                   1,
                                                   -1,
                                                   2,
                                                   7,
                                                   255,
                                                   65'536,
                                                   2'147'483'647,
                                                   4'294'967'295,
                                                   18'446'744'073'709'551'615ULL,
                                                   0.5,
                                                   1e300,
                                                   "",
                                                   "text",
                                                   "data:application/octet-stream;base64,AAAA",
                                                   json::array(),
                                                   json::object(),
                                                   {0, 0},
                                                   {{"count", 1}},
                                                   {{"index", 99}}};
  return s_replacements[random() % s_replacements.size()];
}

TEST_P(AMutatedGltf, IsImportedOrRefusedWhenValuesChange) {
  const GltfBuilder whole = richBuilder();
  for (int round = 0; round < 60; ++round) {
    GltfBuilder builder = whole;
    for (std::size_t change = 0; change <= below(3); ++change) {
      json& value = anyValue(builder.root, random_);
      if (value.is_structured() && !value.empty() && below(4) == 0) {
        value.erase(value.begin());
        continue;
      }
      value = anyReplacement(random_);
    }
    expectAllOrNothing(builder.glb());
  }
}

TEST_P(AMutatedGltf, IsImportedOrRefusedWhenItIsADocumentOfItsOwn) {
  const GltfBuilder whole = richBuilder();
  for (int round = 0; round < 20; ++round) {
    GltfBuilder builder = whole;
    builder.root["buffers"][0]["uri"] = "in.bin";
    folder_.write("in.bin", builder.bin);
    anyValue(builder.root, random_) = anyReplacement(random_);
    expectAllOrNothing(builder.json());
  }
}

using AnUnmutatedGltf = support::ImportFixture;

INSTANTIATE_TEST_SUITE_P(Seeds, AMutatedGltf, testing::Range(1, 13));

TEST_F(AnUnmutatedGltf, IsImported) {
  writeSource(richBuilder().glb());
  EXPECT_TRUE(import()) << error_;
}

}  // namespace
}  // namespace Tal
