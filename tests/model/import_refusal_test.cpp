#include <gmock/gmock.h>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::boxPoints;
using support::cubeBuilder;
using support::GltfBuilder;
using testing::HasSubstr;
using testing::StartsWith;

using ABrokenGltf = support::ImportFixture;
using AnImpossibleImport = support::ImportFixture;

TEST_F(ABrokenGltf, IsRefusedWhenANameIsTooLong) {
  GltfBuilder builder = cubeBuilder();
  builder.root["materials"][0]["name"] = std::string(1024, 'm');
  writeSource(builder.glb());
  ASSERT_TRUE(import()) << error_;
  builder.root["materials"][0]["name"] = std::string(100'000, 'm');
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "has the material name \"" + std::string(120, 'm') + "..." + std::string(60, 'm') +
                           "\", which is longer than 1024 bytes");
  builder.root["materials"][0]["name"] = "m";
  builder.root["nodes"][0]["name"] = std::string(1025, 'n');
  writeSource(builder.glb());
  EXPECT_THAT(refusal(), StartsWith("has the node name \"nnn"));
}

TEST_F(ABrokenGltf, IsRefusedWhenANameHoldsControlCharacters) {
  for (const char* name : {"a\nb", "a\x01", "\x7f z", "a\xef\xbf\xbf"}) {
    GltfBuilder builder = cubeBuilder();
    builder.root["materials"][0]["name"] = name;
    writeSource(builder.glb());
    EXPECT_THAT(refusal(), HasSubstr("which holds characters that no file can")) << name;
  }
}

TEST_F(ABrokenGltf, IsTakenWhenABadNameIsRenamed) {
  GltfBuilder builder = cubeBuilder();
  builder.root["materials"][0]["name"] = "a\nb";
  writeSource(builder.glb());
  EXPECT_TRUE(import({.renamedMaterials = {{"a\nb", "partN1"}}})) << error_;
}

TEST_F(AnImpossibleImport, NamesTheNearestMaterialOrNode) {
  writeSource(cubeBuilder().glb());
  EXPECT_EQ(refusal({.renamedMaterials = {{"wal", "x"}}}), "has no material \"wal\"; did you mean \"wall\"?");
  EXPECT_EQ(refusal({.materialKinds = {{"roof", 73}}}), "has no material \"roof\"; there is only \"wall\"");
  EXPECT_EQ(refusal({.bspMaterials = {"Wall"}}), "has no material \"Wall\"; did you mean \"wall\"?");
  EXPECT_EQ(refusal({.hardPoints = {{"cub", "HP_1"}}}), "has no node \"cub\"; did you mean \"cube\"?");
  EXPECT_EQ(refusal({.hardPoints = {{"", "HP_1"}}}), "has no node \"\"; there is only \"cube\"");
}

TEST_F(AnImpossibleImport, IsOneThatNamesAMaterialOfNoMesh) {
  GltfBuilder builder = cubeBuilder();
  builder.addMaterial("spare");
  writeSource(builder.glb());
  EXPECT_EQ(refusal({.materialKinds = {{"spare", 73}}}),
            "has the material \"spare\" on no mesh of its scene");
}

TEST_F(AnImpossibleImport, IsOneThatNamesAMaterialTwice) {
  writeSource(cubeBuilder().glb());
  EXPECT_EQ(refusal({.renamedMaterials = {{"wall", "a"}, {"wall", "b"}}}),
            "cannot give the material \"wall\" two names, \"a\" and \"b\"");
  EXPECT_EQ(refusal({.materialKinds = {{"wall", 73}, {"wall", 74}}}),
            "cannot give the material \"wall\" two kinds, 73 and 74");
}

TEST_F(AnImpossibleImport, IsOneThatGivesABadName) {
  writeSource(cubeBuilder().glb());
  EXPECT_EQ(refusal({.renamedMaterials = {{"wall", ""}}}), "cannot give a material an empty name");
  EXPECT_EQ(refusal({.renamedMaterials = {{"wall", " x"}}}),
            "has the material name \" x\", which has white space around it");
  EXPECT_EQ(refusal({.renamedMaterials = {{"wall", "x\xff"}}}),
            "has the material name \"x\\xff\", which holds characters that no file can");
}

TEST_F(AnImpossibleImport, IsOneThatGivesTwoKindsToOneName) {
  GltfBuilder builder = cubeBuilder();
  builder.addNode("b", builder.addMesh(boxPoints({0, 0, 0}, {1, 1, 1}), builder.addMaterial("wall")));
  builder.root["materials"][1]["extras"] = {{"materialKind", 80}};
  writeSource(builder.glb());
  EXPECT_EQ(refusal(),
            "has two materials named \"wall\" of the kinds 0 and 80; give them one kind or different names");
}

TEST_F(AnImpossibleImport, IsOneWhoseKindIsNoNumberThatFilesHold) {
  writeSource(cubeBuilder().glb());
  EXPECT_EQ(refusal({.materialKinds = {{"wall", 4'294'967'295}}}),
            "cannot give a material a kind above 2147483647");
}

TEST_F(AnImpossibleImport, IsOneWithHardPointsThatAreNone) {
  GltfBuilder builder = cubeBuilder();
  builder.addNode("a");
  builder.addNode("a");
  builder.addNode("HP_1");
  writeSource(builder.glb());
  EXPECT_EQ(refusal({.hardPoints = {{"cube", "fx"}}}),
            "cannot make \"fx\" a hard point; the name of a hard point begins with \"HP_\"");
  EXPECT_EQ(refusal({.hardPoints = {{"a", "HP_2"}}}),
            "has several nodes named \"a\"; rename them in the file");
  EXPECT_EQ(refusal({.hardPoints = {{"cube", "HP_1"}}}), "has two nodes for the hard point \"HP_1\"");
  EXPECT_EQ(refusal({.hardPoints = {{"cube", "HP_2"}, {"cube", "HP_3"}}}),
            "cannot make the node \"cube\" two hard points");
}

TEST_F(AnImpossibleImport, IsOneOfANameThatNoModelCanHave) {
  writeSource(cubeBuilder().glb());
  const auto refusalOfName = [this](const std::string& name) {
    EXPECT_FALSE(importAs(name));
    EXPECT_TRUE(std::filesystem::is_empty(root()));
    return error_;
  };
  EXPECT_EQ(refusalOfName("house"), "\"house\": is not a model name, which must end in \".model\"");
  EXPECT_EQ(refusalOfName("content/.model"),
            "\"content/.model\": is not a model name, which must end in \".model\"");
  EXPECT_THAT(refusalOfName("/house.model"), StartsWith("\"/house.model\": is not a resource name, it "));
  EXPECT_THAT(refusalOfName("../house.model"), StartsWith("\"../house.model\": is not a resource name, it "));
  EXPECT_THAT(refusalOfName("content\\house.model"),
              StartsWith("\"content\\\\house.model\": is not a resource name, it holds a backslash"));
  EXPECT_EQ(refusalOfName("a\n.model"), "\"a\\n.model\": is not a name that files can hold");
  EXPECT_EQ(refusalOfName(" a.model"), "\" a.model\": is not a name that files can hold");
  EXPECT_EQ(refusalOfName(std::string(2000, 'a') + ".model").substr(185), ": is too long a name");
  EXPECT_THAT(refusalOfName(std::string(300, 'a') + ".model"), testing::EndsWith("\": is too long a name"));
  EXPECT_THAT(refusalOfName(""), StartsWith("\"\": is not a resource name"));
}

}  // namespace
}  // namespace Tal
