#include <gmock/gmock.h>

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
  EXPECT_THAT(imported->warnings,
              ElementsAre("the image \"missing.png\" is not beside the file and stays out",
                          "the image \"notes.txt\" is of no format that glTF knows and stays out"));
  const std::string glb = folder_.read("root/content/house.glb");
  EXPECT_THAT(glb, testing::HasSubstr("\x89PNG and so on"));
  EXPECT_THAT(glb, testing::HasSubstr("\"mimeType\":\"image/png\""));
  EXPECT_THAT(glb, testing::Not(testing::HasSubstr("wall.png")));
  EXPECT_THAT(imported->boxMax, (Vector3{1, 1, 1}));
}

}  // namespace
}  // namespace Tal
