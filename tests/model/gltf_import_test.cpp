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
using Source = ImportedMaterial::KindSource;

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

TEST_F(AnImport, GivesKindsByTheNamesOfTheMaterials) {
  writeSource(cubesOf({"stone1", "partN3", "partD3", "n_wall_1_2", "d_wall_1", "partN12", "glass", "partN"}));
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("stone1 0", "partN3 76", "partD3 90", "n_wall_1_2 74",
                                              "d_wall_1 88", "partN12 85", "glass 0", "partN 0"));
  EXPECT_EQ(imported->materials[1].kindSource, Source::name);
}

TEST_F(AnImport, WarnsOfAPartNumberThatIsTooLarge) {
  writeSource(cubesOf({"partN14"}));
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(imported->warnings,
              ElementsAre("the material \"partN14\" has no kind, since part numbers end at 13"));
}

TEST_F(AnImport, WarnsOfAKindThatNoPartHas) {
  GltfBuilder builder;
  for (const char* const name : {"glass", "glass", "tin", "brick", "n_wall"})
    builder.addNode(name, builder.addMesh(kCube, builder.addMaterial(name)));
  builder.root["materials"][2]["extras"] = {{"materialKind", 101}};
  writeSource(builder.glb());
  const auto imported = import({.materialKinds = {{"glass", 5}, {"brick", 100}, {"n_wall", 0}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(
      imported->warnings,
      ElementsAre("the material \"glass\" has the kind 5, which shows no part; undamaged parts have 73 "
                  "to 86, destroyed ones 87 to 100, and all else 0",
                  "the material \"tin\" has the kind 101, which shows no part; undamaged parts have "
                  "73 to 86, destroyed ones 87 to 100, and all else 0"));
}

TEST_F(AnImport, WarnsOfAPartsKindOfAMaterialThatItsNameMakesStatic) {
  writeSource(cubesOf({"stone", "s_base", "n_wall"}));
  const auto imported = import({.materialKinds = {{"stone", 73}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(imported->warnings,
              ElementsAre("the material \"stone\" has the kind 73 of a part, but its name begins with \"s\", "
                          "which makes it static whatever its kind; rename it, or give it the kind 0"));
}

TEST_F(AnImport, TakesTheKindFromTheFileBeforeTheName) {
  GltfBuilder builder;
  builder.addNode("a", builder.addMesh(kCube, builder.addMaterial("partN3")));
  builder.addNode("b", builder.addMesh(kCube, builder.addMaterial("brick")));
  builder.root["materials"][0]["extras"] = {{"materialKind", 80}};
  builder.root["materials"][1]["extras"] = {{"materialKind", 90.0}};
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("partN3 80", "brick 90"));
  EXPECT_EQ(imported->materials[0].kindSource, Source::file);
}

TEST_F(AnImport, TakesTheKindFromTheOptionsBeforeTheFile) {
  GltfBuilder builder = cubeBuilder();
  builder.root["materials"][0]["extras"] = {{"materialKind", 80}};
  writeSource(builder.glb());
  const auto imported = import({.materialKinds = {{"wall", 75}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("wall 75"));
  EXPECT_EQ(imported->materials[0].kindSource, Source::option);
}

TEST_F(AnImport, RenamesMaterialsAndNamesTheirKindsByTheNewName) {
  writeSource(cubesOf({"brick", "tile", "brick"}));
  const auto imported = import({.renamedMaterials = {{"brick", "partN2"}, {"tile", "partD2"}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("partN2 75", "partD2 89", "partN2 75"));
}

TEST_F(AnImport, ExchangesTwoNames) {
  writeSource(cubesOf({"a", "b"}));
  const auto imported =
      import({.renamedMaterials = {{"a", "b"}, {"b", "a"}}, .materialKinds = {{"a", 73}, {"b", 74}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("b 74", "a 73"));
}

TEST_F(AnImport, FindsAMaterialByItsOldNameWhenNoneHasThatNameNow) {
  writeSource(cubesOf({"brick"}));
  const auto imported = import(
      {.renamedMaterials = {{"brick", "wall"}}, .materialKinds = {{"brick", 73}}, .bspMaterials = {"brick"}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("wall 73"));
  EXPECT_THAT(imported->bspMaterials, ElementsAre("wall"));
}

TEST_F(AnImport, KeepsSeveralSlotsOfOneNameAndKind) {
  writeSource(cubesOf({"partN1", "red brick", "blue"}));
  const auto imported = import({.renamedMaterials = {{"red brick", "partN1"}, {"blue", "partN1"}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("partN1 74", "partN1 74", "partN1 74"));
  EXPECT_THAT(imported->bspMaterials, ElementsAre("partN1"));
}

TEST_F(AnImport, NamesWhatTheFileLeavesUnnamed) {
  GltfBuilder builder;
  builder.addNode("a", builder.addMesh(kCube, -1));
  builder.addNode("b", builder.addMesh(kCube, builder.addMaterial("wall")));
  builder.addNode("c", builder.addMesh(kCube, builder.addMaterial("")));
  builder.root["materials"][1].erase("name");
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("wall 0", "material_1 0", "unassigned 0"));
}

TEST_F(AnImport, TrimsNames) {
  GltfBuilder builder;
  builder.addNode(" HP_a\t", builder.addMesh(kCube, builder.addMaterial("\n partN1 ")));
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("partN1 74"));
  EXPECT_THAT(imported->hardPoints, ElementsAre("HP_a"));
}

TEST_F(AnImport, LeavesOutMaterialsThatNothingUses) {
  GltfBuilder builder = cubeBuilder();
  builder.addMaterial("unused");
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(kindsOf(*imported), ElementsAre("wall 0"));
}

TEST_F(AnImport, WarnsOfANameThatNoStateCanHold) {
  writeSource(cubesOf({"old wall"}));
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(
      imported->warnings,
      ElementsAre("no destruction state can name the material \"old wall\", since there is a space in it"));
}

TEST_F(AnImport, TakesHardPointsByTheirNamesAndFromTheOptions) {
  GltfBuilder builder = cubeBuilder();
  builder.addChild(0, "Empty.001");
  builder.addChild(0, "HP_smoke");
  writeSource(builder.glb());
  const auto imported = import({.hardPoints = {{"Empty.001", "HP_fx_1"}}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(imported->hardPoints, ElementsAre("HP_fx_1", "HP_smoke"));
  EXPECT_THAT(visual(), testing::HasSubstr("<name>HP_fx_1</name>"));
  EXPECT_THAT(visual(), testing::Not(testing::HasSubstr("Empty.001")));
}

TEST_F(AnImport, ListsEveryNodeBehindItsParent) {
  GltfBuilder builder;
  const int mesh = builder.addMesh(kCube, -1);
  builder.root["nodes"] = {{{"name", "leaf"}, {"mesh", mesh}},
                           {{"name", "top"}, {"children", {3, 0}}},
                           {{"name", "second top"}},
                           {{"name", "branch"}}};
  builder.root["scenes"][0]["nodes"] = {1, 2};
  writeSource(builder.glb());
  ASSERT_TRUE(import()) << error_;
  const std::string text = visual();
  EXPECT_EQ(text.substr(text.find("\t<skeleton>")),
            "\t<skeleton>\n"
            "\t\t<node>\n\t\t\t<name>top</name>\n\t\t\t<parent>-1</parent>\n\t\t</node>\n"
            "\t\t<node>\n\t\t\t<name>branch</name>\n\t\t\t<parent>0</parent>\n\t\t</node>\n"
            "\t\t<node>\n\t\t\t<name>leaf</name>\n\t\t\t<parent>0</parent>\n\t\t</node>\n"
            "\t\t<node>\n\t\t\t<name>second top</name>\n\t\t\t<parent>-1</parent>\n\t\t</node>\n"
            "\t</skeleton>\n"
            "</visual>\n");
}

TEST_F(AnImport, TakesBspMaterialsFromCollisionNodesAndHidesThem) {
  GltfBuilder builder;
  builder.addNode("wall", builder.addMesh(kCube, builder.addMaterial("partN1")));
  builder.addNode("roof", builder.addMesh(kCube, builder.addMaterial("partN2")));
  const int collision = builder.addNode("BSP_wall", builder.addMesh(boxPoints({-9, 0, 0}, {9, 1, 1}), 0));
  builder.addChild(collision, "inner", builder.addMesh(kCube, builder.addMaterial("hull")));
  const int marked = builder.addNode("marked", builder.addMesh(kCube, builder.addMaterial("ground")));
  builder.root["nodes"][static_cast<std::size_t>(marked)]["extras"] = {{"bsp", true}};
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(imported->bspMaterials, ElementsAre("partN1", "hull", "ground"));
  EXPECT_THAT(kindsOf(*imported), ElementsAre("partN1 74", "partN2 75"));
  EXPECT_EQ(imported->boxMin, (Vector3{0, 0, 0}));
  EXPECT_EQ(imported->boxMax, (Vector3{1, 1, 1}));
}

TEST_F(AnImport, TakesEveryMaterialAsBspMaterialWithoutCollisionNodes) {
  GltfBuilder builder;
  builder.addNode("a", builder.addMesh(kCube, builder.addMaterial("partN1")));
  const int node = builder.addNode("b", builder.addMesh(kCube, builder.addMaterial("partD1")));
  builder.root["nodes"][static_cast<std::size_t>(node)]["extras"] = {{"bsp", false}};
  writeSource(builder.glb());
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(imported->bspMaterials, ElementsAre("partN1", "partD1"));
}

TEST_F(AnImport, TakesBspMaterialsFromTheOptionsBeforeTheNodes) {
  GltfBuilder builder;
  builder.addNode("a", builder.addMesh(kCube, builder.addMaterial("partN1")));
  builder.addNode("BSP_b", builder.addMesh(kCube, builder.addMaterial("hull")));
  writeSource(builder.glb());
  const auto imported = import({.bspMaterials = {"partN1", "partN1"}});
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(imported->bspMaterials, ElementsAre("partN1"));
}

TEST_F(AnImport, EscapesWhatXmlCannotHoldAsItIs) {
  writeSource(cubesOf({"<a> & \"b\" 100%s"}));
  const auto imported = import();
  ASSERT_TRUE(imported) << error_;
  EXPECT_THAT(model(), testing::HasSubstr("<material>&lt;a&gt; &amp; \"b\" 100%s</material>"));
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
