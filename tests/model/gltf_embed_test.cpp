#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string_view>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::boxPoints;
using support::cubeBuilder;
using support::GltfBuilder;
using testing::ElementsAre;

using AnImport = support::ImportFixture;

TEST_F(AnImport, TakesInTheBufferBesideAGltfFile) {
  GltfBuilder builder = cubeBuilder();
  builder.root["buffers"][0]["uri"] = "data/my%20cube.bin";
  folder_.write("data/my cube.bin", builder.bin + "more than announced");
  writeSource(builder.json(), "in.gltf");
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->boxMax, (Vector3{1, 1, 1}));

  // What was written stands alone: it can be imported from anywhere and is kept as it is.
  const std::string glb = folder_.read("root/content/house.glb");
  writeSource(glb, "elsewhere/alone.glb");
  ASSERT_TRUE(importAs("again.model")) << error_;
  EXPECT_EQ(folder_.read("root/again.glb"), glb);
}

TEST_F(AnImport, TakesInDataUris) {
  GltfBuilder builder = cubeBuilder();
  builder.root["accessors"][0]["count"] = 1;
  builder.root["bufferViews"][0]["byteLength"] = 12;
  // Three floats: 1, 2, 4.
  builder.root["buffers"] = {
      {{"byteLength", 12}, {"uri", "data:application/octet-stream;base64,AACAPwAAAEAAAIBA"}}};
  writeSource(builder.json(), "in.gltf");
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->boxMin, (Vector3{1, 2, 4}));
  EXPECT_EQ(imported->boxMax, (Vector3{1, 2, 4}));
}

TEST_F(AnImport, JoinsSeveralBuffers) {
  GltfBuilder builder = cubeBuilder();
  builder.addNode("far", builder.addMesh(boxPoints({5, 5, 5}, {6, 6, 6}), 0));
  const std::string bin = builder.bin;
  builder.root["buffers"] = {{{"byteLength", 97}, {"uri", "one.bin"}},
                             {{"byteLength", 96}, {"uri", "two.bin"}}};
  builder.root["bufferViews"][1]["buffer"] = 1;
  builder.root["bufferViews"][1]["byteOffset"] = 0;
  folder_.write("one.bin", bin.substr(0, 96) + "x");
  folder_.write("two.bin", bin.substr(96));
  writeSource(builder.json(), "in.gltf");
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->boxMin, (Vector3{0, 0, 0}));
  EXPECT_EQ(imported->boxMax, (Vector3{6, 6, 6}));
}

TEST_F(AnImport, TakesInTheImagesBesideTheFile) {
  GltfBuilder builder = cubeBuilder();
  builder.root["images"] = {{{"uri", "wall.png"}}, {{"uri", "missing.png"}}, {{"uri", "notes.txt"}}};
  folder_.write("wall.png", "\x89PNG and so on");
  folder_.write("notes.txt", "no image");
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(
      imported->warnings,
      ElementsAre("the image \"missing.png\" stays out: it is not there; put it there and import again",
                  "the image \"notes.txt\" stays out: it is of no format that glTF knows; save it as "
                  "PNG or JPEG"));
  const std::string glb = folder_.read("root/content/house.glb");
  EXPECT_THAT(glb, testing::HasSubstr("\x89PNG and so on"));
  EXPECT_THAT(glb, testing::HasSubstr("\"mimeType\":\"image/png\""));
  EXPECT_THAT(glb, testing::Not(testing::HasSubstr("wall.png")));
  EXPECT_THAT(imported->boxMax, (Vector3{1, 1, 1}));
}

/// The document of the stored geometry.
nlohmann::json storedDocument(const support::TemporaryFolder& folder) {
  const std::string glb = folder.read("root/content/house.glb");
  return nlohmann::json::parse(glb.substr(20, glb.find(std::string_view("BIN\0", 4)) - 4 - 20));
}

TEST_F(AnImport, KeepsExtrasAndUnknownExtensionsOfWhatItPutsTogether) {
  GltfBuilder builder = cubeBuilder();
  builder.root["buffers"][0]["uri"] = "in.bin";
  builder.root["nodes"][0]["extras"] = {{"note", {1, 2, 3}}, {"bsp", false}};
  builder.root["extras"] = "of the file";
  builder.root["extensionsUsed"] = {"EXT_voxel_clouds"};
  builder.root["extensions"]["EXT_voxel_clouds"] = {{"buffers", {4}}};
  folder_.write("in.bin", builder.bin);
  writeSource(builder.json(), "in.gltf");
  ASSERT_TRUE(import()) << error_;
  nlohmann::json expected = builder.root;
  expected["buffers"][0].erase("uri");
  EXPECT_EQ(storedDocument(folder_), expected);
}

TEST_F(AnImport, AddsTheListsThatItNeeds) {
  GltfBuilder builder = cubeBuilder();
  builder.root["accessors"][0].erase("bufferView");
  builder.root.erase("buffers");
  builder.root.erase("bufferViews");
  builder.root["images"] = {{{"uri", "wall.png"}, {"name", "the wall"}}};
  folder_.write("wall.png", "\x89PNG and so on");
  writeSource(builder.json(), "in.gltf");
  ASSERT_TRUE(import()) << error_;
  const nlohmann::json stored = storedDocument(folder_);
  EXPECT_EQ(stored["buffers"], nlohmann::json::parse(R"([{"byteLength": 14}])"));
  EXPECT_EQ(stored["bufferViews"],
            nlohmann::json::parse(R"([{"buffer": 0, "byteOffset": 0, "byteLength": 14}])"));
  EXPECT_EQ(stored["images"],
            nlohmann::json::parse(R"([{"name": "the wall", "mimeType": "image/png", "bufferView": 0}])"));
}

TEST_F(AnImport, TakesInDataUrisThatAreNotBase64) {
  GltfBuilder builder = cubeBuilder();
  builder.root["accessors"][0]["count"] = 1;
  builder.root["bufferViews"][0]["byteLength"] = 12;
  // Three floats: 1, 2, 4.
  builder.root["buffers"] = {{{"byteLength", 12}, {"uri", "data:,%00%00%80%3f%00%00%00@%00%00%80@"}}};
  writeSource(builder.json(), "in.gltf");
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->boxMin, (Vector3{1, 2, 4}));
  EXPECT_EQ(imported->boxMax, (Vector3{1, 2, 4}));
}

TEST_F(AnImport, TakesAPlaceholderBufferThatNothingUses) {
  GltfBuilder builder = cubeBuilder();
  builder.root["buffers"].push_back({{"byteLength", 2'000'000'000}});
  writeSource(builder.glb());
  ASSERT_TRUE(import()) << error_;
  EXPECT_EQ(folder_.read("root/content/house.glb"), builder.glb());
}

TEST_F(AnImport, LeavesOutImagesOfOtherFoldersAndSaysHowTheyAreTakenIn) {
  GltfBuilder builder = cubeBuilder();
  const std::string absolute = folder_ / "elsewhere/b.png";
  builder.root["images"] = {{{"uri", "../textures/a.png"}},
                            {{"uri", absolute}},
                            {{"uri", "file://" + absolute}},
                            {{"uri", "https://host/c.png"}}};
  folder_.write("textures/a.png", "\x89PNG a");
  folder_.write("elsewhere/b.png", "\x89PNG b");
  writeSource(builder.glb(), "source/in.glb");
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  const std::string why =
      " stays out: it lies outside the folder of the glTF file; allow its folder with --source-root, or put "
      "it "
      "below that of the glTF file";
  EXPECT_THAT(
      imported->warnings,
      ElementsAre("the image \"../textures/a.png\"" + why, "the image \"" + absolute + "\"" + why,
                  "the image \"file://" + absolute + "\"" + why,
                  "the image \"https://host/c.png\" stays out: it is on no disk; download it, and name "
                  "the file in its place"));
  EXPECT_EQ(folder_.read("root/content/house.glb"), builder.glb());

  const auto whole =
      import({.sourceRoots = {folder_ / "textures", folder_ / "elsewhere"}, .overwrite = true});
  ASSERT_TRUE(whole) << error_;
  EXPECT_THAT(whole->warnings, testing::SizeIs(1));
  const std::string glb = folder_.read("root/content/house.glb");
  EXPECT_THAT(glb, testing::HasSubstr("\x89PNG a"));
  EXPECT_THAT(glb, testing::HasSubstr("\x89PNG b"));
}

TEST_F(AnImport, TakesInABufferOfAFolderThatIsAllowed) {
  GltfBuilder builder = cubeBuilder();
  builder.root["buffers"][0]["uri"] = "../common/in.bin";
  folder_.write("common/in.bin", builder.bin);
  writeSource(builder.json(), "source/in.gltf");
  EXPECT_THAT(refusal(), testing::HasSubstr("--source-root"));
  EXPECT_TRUE(import({.sourceRoots = {folder_ / "common"}})) << error_;
}

}  // namespace
}  // namespace Tal
