#include <gmock/gmock.h>
#include <model/import_mark.h>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::boxPoints;
using support::cubeBuilder;
using support::GltfBuilder;
using support::Points;
using testing::ElementsAre;
using testing::IsEmpty;

const Points kCube = boxPoints({0, 0, 0}, {1, 1, 1});

using AnImport = support::ImportFixture;

std::vector<std::string> kindsOf(const ImportedModel& model) {
  std::vector<std::string> texts;
  for (const ImportedMaterial& material : model.materials) {
    texts.push_back(material.name + " " + std::to_string(material.kind));
  }
  return texts;
}

/// A file with one cube of each of the named materials.
std::string cubesOf(const std::vector<std::string>& materials) {
  GltfBuilder builder;
  for (const std::string& material : materials) {
    builder.addNode(material, builder.addMesh(kCube, builder.addMaterial(material)));
  }
  return builder.glb();
}

TEST_F(AnImport, MakesAModelItsVisualAndItsGeometry) {
  GltfBuilder builder = cubeBuilder();
  builder.addChild(0, "HP_fx_1");
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->modelName, "content/house.model");
  EXPECT_EQ(imported->visualName, "content/house.visual");
  EXPECT_EQ(imported->geometryName, "content/house.glb");
  EXPECT_EQ(model(),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<model>\n"
            "\t<visual>content/house.visual</visual>\n"
            "\t<bspMaterials>\n"
            "\t\t<material>wall</material>\n"
            "\t</bspMaterials>\n"
            "</model>\n");
  EXPECT_EQ(visual(),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<visual>\n"
            "\t<geometry>content/house.glb</geometry>\n"
            "\t<import version=\"1\">\n"
            "\t\t<geometry>\n"
            "\t\t\t<size>" +
                std::to_string(builder.glb().size()) +
                "</size>\n"
                "\t\t\t<fingerprint>" +
                importMarkFor(builder.glb()).geometryFingerprint +
                "</fingerprint>\n"
                "\t\t</geometry>\n"
                "\t</import>\n"
                "\t<boundingBox>\n"
                "\t\t<min>0 0 0</min>\n"
                "\t\t<max>1 1 1</max>\n"
                "\t</boundingBox>\n"
                "\t<materials>\n"
                "\t\t<material>\n"
                "\t\t\t<identifier>wall</identifier>\n"
                "\t\t\t<kind>0</kind>\n"
                "\t\t\t<geometryMaterial>0</geometryMaterial>\n"
                "\t\t</material>\n"
                "\t</materials>\n"
                "\t<skeleton>\n"
                "\t\t<node>\n"
                "\t\t\t<name>cube</name>\n"
                "\t\t\t<parent>-1</parent>\n"
                "\t\t</node>\n"
                "\t\t<node>\n"
                "\t\t\t<name>HP_fx_1</name>\n"
                "\t\t\t<parent>0</parent>\n"
                "\t\t</node>\n"
                "\t</skeleton>\n"
                "</visual>\n");
  EXPECT_EQ(folder_.read("root/content/house.glb"), builder.glb());
  EXPECT_THAT(folder_.listing(), ElementsAre("in.glb", "root", "root/content", "root/content/house.glb",
                                             "root/content/house.model", "root/content/house.visual"));
}

TEST_F(AnImport, ReplacesFilesOnlyWhenItIsAllowed) {
  writeSource(cubesOf({"old"}));
  ASSERT_TRUE(import()) << error_;
  writeSource(cubesOf({"new"}));
  EXPECT_EQ(refusal(),
            "cannot be imported: \"content/house.visual\" is already there; give --force to replace it");
  EXPECT_THAT(model(), testing::HasSubstr("old"));
  ASSERT_TRUE(import({.overwrite = true})) << error_;
  EXPECT_THAT(model(), testing::HasSubstr("new"));
  EXPECT_THAT(folder_.listing(), ElementsAre("in.glb", "root", "root/content", "root/content/house.glb",
                                             "root/content/house.model", "root/content/house.visual"));
}

TEST_F(AnImport, SpellsTheNamesOfItsResourcesInOneWay) {
  writeSource(cubeBuilder().glb());
  const auto imported = importAs("content//./house.model");
  ASSERT_TRUE(imported) << error_;
  EXPECT_EQ(imported->modelName, "content/house.model");
  EXPECT_THAT(model(), testing::HasSubstr("<visual>content/house.visual</visual>"));
}

TEST_F(AnImport, TakesAModelThatAModellingProgramExported) {
  source_ = std::filesystem::path(MODEL_TEST_DATA) / "barrel.gltf";
  const auto imported = import({.materialKinds = {{"Material.001", 73}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("Material.001 73"));
  EXPECT_THAT(imported->bspMaterials, ElementsAre("Material.001"));
  EXPECT_THAT(imported->warnings, IsEmpty());
  EXPECT_THAT(imported->hardPoints, IsEmpty());
  EXPECT_THAT(visual(), testing::HasSubstr("\t\t<min>-0.48000002 0 -0.48000002</min>\n"
                                           "\t\t<max>0.48000002 1.2 0.48000002</max>\n"));
}

}  // namespace
}  // namespace Tal
