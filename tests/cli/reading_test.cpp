#include <cli/cli_fixture.h>

#include <nlohmann/json.hpp>

namespace cli_test {
namespace {

using Json = nlohmann::json;

constexpr char kFilled[] = R"(<root>
	<fragiles>
		<entry><filename>content/props/crate.model</filename><health>5</health><effectScale>0.1</effectScale>
			<achievementTag>crates</achievementTag><matName>n_wood</matName></entry>
		<entry><filename>content/props/gone.model</filename></entry>
	</fragiles>
	<fallingAtoms>
		<entry><filename>content/street/lamp.model</filename></entry>
	</fallingAtoms>
	<structures>
		<entry><filename>content/buildings/house.model</filename><achievementTag>house</achievementTag>
			<modules><module><matName>n_wall_1</matName><health>11</health><effectHP>HP_wall_2</effectHP></module></modules>
			<states><state><name>open</name><destroyedMaterials>n_wall_1 </destroyedMaterials></state></states>
		</entry>
		<entry><filename>content/last.model</filename><achievementTag>last</achievementTag></entry>
	</structures>
</root>
)";

class Reading : public CommandLine {
 protected:
  Reading() { writeDatabase(kFilled); }
  ~Reading() override { EXPECT_EQ(readDatabase(), kFilled); }  // reading commands write nothing

  Json json(const Arguments& arguments) const { return Json::parse(result(arguments)); }
};

TEST_F(Reading, ListsTheModelsOfTheDatabase) {
  EXPECT_EQ(result({"list"}),
            "structure     content/buildings/house.model\n"
            "none          content/last.model             (no model file)\n"
            "fragile       content/props/crate.model\n"
            "fragile       content/props/gone.model       (no model file)\n"
            "falling-atom  content/street/lamp.model\n");
}

TEST_F(Reading, ListsTheModelsOfOneCategory) {
  EXPECT_EQ(result({"list", "--category", "falling-atom"}), "falling-atom  content/street/lamp.model\n");
  EXPECT_EQ(refusal({"list", "--category", "fragil"}),
            "there is no category \"fragil\"; did you mean \"fragile\"?");
  EXPECT_EQ(refusal({"list", "--category", ""}),
            "there is no category \"\"; there are \"structure\", \"fragile\" and \"falling-atom\"");
}

TEST_F(Reading, ListsAsJson) {
  EXPECT_EQ(json({"list", "--json", "--category", "fragile"}),
            Json::parse(R"([{"model": "content/props/crate.model", "category": "fragile", "modelFile": true},
                            {"model": "content/props/gone.model", "category": "fragile", "modelFile": false}])"));
}

TEST_F(Reading, ShowsAStructureAsJson) {
  const Json shown = json({"show", kHouse, "--json"});
  EXPECT_EQ(shown.at("model"), kHouse);
  EXPECT_EQ(shown.at("category"), "structure");
  EXPECT_EQ(shown.at("missingInDatabase"), false);
  EXPECT_EQ(shown.at("achievementTag"), "house");
  EXPECT_FALSE(shown.contains("fragile"));
  EXPECT_FALSE(shown.contains("fallingAtom"));
  EXPECT_EQ(shown.at("modules").at("n_wall_1"),
            Json::parse(R"({"health": 11, "effectScale": 1.0, "effectHP": "HP_wall_2", "ramEffect": "none",
                            "hitEffect": "", "decayEffect": "none"})"));
  EXPECT_EQ(shown.at("modules").size(), 4U);
  EXPECT_EQ(shown.at("states"),
            Json::parse(R"({"undamaged": ["n_roof_3_1", "n_wall_1", "n_wall_2", "n_window_5"],
                                             "open": ["n_wall_1"], "destroyed": ["d_wall_1"]})"));
  EXPECT_EQ(shown.at("state"), "undamaged");
  EXPECT_EQ(shown.at("hardPoints"), Json::parse(R"(["HP_wall_1", "HP_wall_2"])"));
  EXPECT_EQ(shown.at("bspMaterials"), Json::parse(R"(["n_wall_1", "n_wall_2", "n_window_5"])"));
  EXPECT_EQ(shown.at("materials").size(), 6U);
  EXPECT_EQ(shown.at("materials")[0],
            Json::parse(R"({"name": "d_wall_1", "kind": 88, "class": "destroyed", "part": 1, "visible": false,
                            "dependencies": []})"));
  EXPECT_EQ(
      shown.at("materials")[1],
      Json::parse(R"({"name": "n_roof_3_1", "kind": 76, "class": "undamaged", "part": 3, "visible": true,
                            "dependencies": [74]})"));
  EXPECT_EQ(shown.at("materials")[5],
            Json::parse(R"({"name": "s_ground", "kind": 0, "class": "static", "visible": true,
                            "dependencies": []})"));
}

TEST_F(Reading, ShowsAFragileAndAFallingAtomAsJson) {
  const Json crate = json({"show", kCrate, "--json"});
  EXPECT_EQ(crate.at("category"), "fragile");
  EXPECT_EQ(crate.at("fragile"),
            Json::parse(R"({"health": 5, "effectScale": 0.1, "effectHP": "", "achievementTag": "crates",
                            "matName": "n_wood", "effect": "none", "hitEffect": "", "decayEffect": "none",
                            "lifetimeEffect": "none"})"));
  EXPECT_EQ(crate.at("achievementTag"), "crates");
  EXPECT_FALSE(crate.contains("modules"));
  EXPECT_FALSE(crate.contains("fallingAtom"));
  const Json lamp = json({"show", kLamp, "--json"});
  EXPECT_EQ(lamp.at("category"), "falling-atom");
  EXPECT_EQ(
      lamp.at("fallingAtom"),
      Json::parse(R"({"health": 20, "effectScale": 1.0, "physicParams": "200 3.2 0.03 150000 10000 0 0.05",
                            "achievementTag": "", "lifetimeEffect": "none", "fractureEffect": "",
                            "touchdownEffect": "", "touchdownBreakEffect": ""})"));
  EXPECT_FALSE(lamp.contains("fragile"));
}

TEST_F(Reading, ShowsAModelWithoutACategoryAsJson) {
  support::writeModel(folder_, "content/tin", {.materials = {{"n_tin_3", 0}, {"d_tin_1", 90}}});
  const Json tin = json({"show", "content/tin.model", "--json"});
  EXPECT_EQ(tin.at("category"), "none");
  EXPECT_FALSE(tin.contains("achievementTag"));
  EXPECT_FALSE(tin.contains("modules"));
  EXPECT_EQ(tin.at("states"), Json::parse(R"({"undamaged": [], "destroyed": ["d_tin_1"]})"));
  ASSERT_EQ(tin.at("warnings").size(), 3U);
  EXPECT_EQ(tin.at("warnings")[0].at("warning"), "default-kind");
  EXPECT_EQ(tin.at("warnings")[0].at("material"), "n_tin_3");
  EXPECT_EQ(tin.at("warnings")[1].at("warning"), "disordered-kind");
  EXPECT_EQ(tin.at("warnings")[1].at("material"), "d_tin_1");
  EXPECT_EQ(tin.at("warnings")[2].at("material"), "n_tin_3");
}

TEST_F(Reading, ShowsATableForPeople) {
  EXPECT_EQ(result({"show", kHouse}),
            R"(content/buildings/house.model
  category        structure
  achievementTag  house
  hard points     HP_wall_1, HP_wall_2
  BSP materials   n_wall_1, n_wall_2, n_window_5

modules
  material                health  effectScale  effectHP   ramEffect                hitEffect                decayEffect
  n_roof_3_1 (not saved)  50      1            HP_wall_1  inf_bld_UNI_000_Base_02  inf_bld_UNI_000_Base_02  none
  n_wall_1                11      1            HP_wall_2  none                     -                        none
  n_wall_2                50      1            HP_wall_1  inf_bld_UNI_000_Base_02  inf_bld_UNI_000_Base_02  none
  n_window_5 (not saved)  50      1            HP_wall_1  inf_bld_UNI_000_Base_02  inf_bld_UNI_000_Base_02  none

states
  undamaged  n_roof_3_1, n_wall_1, n_wall_2, n_window_5
  open       n_wall_1
  destroyed  d_wall_1

materials in the state undamaged
  name        kind  class      part  visible  dependencies
  d_wall_1    88    destroyed  1     no       -
  n_roof_3_1  76    undamaged  3     yes      74
  n_wall_1    74    undamaged  1     yes      -
  n_wall_2    75    undamaged  2     yes      -
  n_window_5  75    undamaged  2     yes      -
  s_ground    0     static     -     yes      -

warnings
  material "n_roof_3_1" ends in part number 1, but its kind 76 is not of that part; that is in order if it ends in the number of a part that it depends on
  material "n_window_5" ends in part number 5, but its kind 75 is not of that part; rename it or give it kind 78
  module "n_roof_3_1" is not saved: the model has no BSP material of that name; import it with one
  module "n_window_5" is not saved: its material kind 75 is that of module "n_wall_2"; give the materials different kinds
)");
}

TEST_F(Reading, NamesTheModulesThatASaveWouldNotWriteAsJson) {
  Json dropped = Json::array();
  const Json shown = json({"show", kHouse, "--json"});
  for (const Json& warning : shown.at("warnings"))
    if (warning.at("warning") == "dropped-module") dropped.push_back(warning);
  EXPECT_EQ(dropped, Json::parse(R"([
    {"warning": "dropped-module", "module": "n_roof_3_1",
     "text": "module \"n_roof_3_1\" is not saved: the model has no BSP material of that name; import it with one"},
    {"warning": "dropped-module", "module": "n_window_5",
     "text": "module \"n_window_5\" is not saved: its material kind 75 is that of module \"n_wall_2\"; give the materials different kinds"}])"));
}

TEST_F(Reading, ShowsWhichMaterialsAStateMakesVisible) {
  const auto visibleIn = [this](const std::string& state) {
    std::vector<std::string> names;
    const Json shown = json({"show", kHouse, "--json", "--state", state});
    EXPECT_EQ(shown.at("state"), state);
    for (const Json& material : shown.at("materials"))
      if (material.at("visible")) names.push_back(material.at("name"));
    return names;
  };
  EXPECT_THAT(visibleIn("undamaged"),
              testing::ElementsAre("n_roof_3_1", "n_wall_1", "n_wall_2", "n_window_5", "s_ground"));
  EXPECT_THAT(visibleIn("open"),
              testing::ElementsAre("d_wall_1", "n_roof_3_1", "n_wall_2", "n_window_5", "s_ground"));
  // The roof depends on the wall: with the roof, both looks of the wall vanish.
  EXPECT_THAT(visibleIn("destroyed"), testing::ElementsAre("s_ground"));
}

TEST_F(Reading, RefusesAStateThatTheModelLacks) {
  EXPECT_EQ(refusal({"show", kHouse, "--state", "opne"}),
            "\"content/buildings/house.model\" has no state \"opne\"; did you mean \"open\"?");
  EXPECT_THAT(refusal({"show", kHouse, "--state", ""}), testing::HasSubstr("has no state \"\""));
}

TEST_F(Reading, RefusesAModelThatTheRootsLack) {
  for (const char* const command : {"show", "health", "watch"}) {
    EXPECT_EQ(refusal({command, "content/props/crat.model"}),
              "the resource roots hold no model \"content/props/crat.model\"; did you mean "
              "\"content/props/crate.model\"?");
  }
}

TEST_F(Reading, SaysThatASourceIsImportedFirst) {
  for (const char* const source : {"source/x.gltf", "source/x.glb"}) {
    EXPECT_EQ(refusal({"health", source}),
              "the resource roots hold no model \"" + std::string(source) +
                  "\"; import that file, and name the model (\"....model\") that this makes");
  }
}

TEST_F(Reading, ExplainsTheHealthForPeople) {
  EXPECT_EQ(result({"health", kCrate}),
            "health   20\n"
            "rule     category\n"
            "because  its bounding box has a volume of 8 (3 or more), and its category is fragile\n");
  EXPECT_EQ(result({"health", kHouse}),
            "health     50\n"
            "rule       structure\n"
            "because    a structure, its bounding box has a volume of 8 (3 or more); 3 of its 4 undamaged "
            "materials "
            "are collision materials (exactly 2 make it 35, else it is 50)\n"
            "materials  n_roof_3_1, n_wall_1, n_wall_2, n_window_5\n");
}

TEST_F(Reading, ExplainsTheHealthAsJson) {
  EXPECT_EQ(json({"health", kHouse, "--json"}),
            Json::parse(R"({"health": 50, "rule": "structure", "volume": 8.0, "category": "structure",
                            "boundingBox": {"min": [0.0, 0.0, 0.0], "max": [2.0, 2.0, 2.0]},
                            "materials": ["n_roof_3_1", "n_wall_1", "n_wall_2", "n_window_5"],
                            "bspMaterialCount": 3})"));
  support::writeModel(folder_, "content/GatesAndFences/gate", {.materials = {{"n_wood_1", 74}}});
  EXPECT_EQ(
      json({"health", "content/GatesAndFences/gate.model", "--json"}),
      Json::parse(
          R"({"health": 1, "rule": "gates-and-fences", "words": ["wood"], "materials": ["n_wood_1"]})"));
}

TEST_F(Reading, PassesOnTheWarningOfAGateOfUnknownMaterial) {
  support::writeModel(folder_, "content/GatesAndFences/gate", {.materials = {{"n_brick_1", 74}}});
  const ProcessResult result = run({"health", "content/GatesAndFences/gate.model"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err,
            "destructibles: warning: [Wrn.122] Model content/gatesandfences/gate.model has no stone, wood "
            "and metal "
            "materials "
            "- cannot calculate health of destructible.\n");
  EXPECT_THAT(result.out, testing::StartsWith("health     -1\n"));
}

using ADatabase = CommandLine;

TEST_F(ADatabase, OfUnusualStructuresIsListedAsItsModelsAreShown) {
  support::writeModel(folder_, "content/ruin", {.materials = {{"d_wall_1", 88}}});
  support::writeModel(folder_, "content/lod1/house", {.materials = {{"n_wall_1", 74}}});
  writeDatabase(R"(<root>
	<houses>
		<entry><filename>content/buildings/house.model</filename><modules/></entry>
		<entry><filename>content/ruin.model</filename><modules></modules></entry>
		<entry><filename>content/props/crate.model</filename><states><state><name>open</name></state></states></entry>
		<entry><filename>content/street/lamp.model</filename><achievementTag>lamp</achievementTag></entry>
		<entry><filename>content/lod1/house.model</filename><modules/></entry>
		<entry><filename>content/gone.model</filename><modules/></entry>
	</houses>
</root>)");
  EXPECT_EQ(result({"list"}),
            "structure  content/buildings/house.model\n"
            "structure  content/gone.model             (no model file)\n"
            "none       content/lod1/house.model\n"
            "none       content/props/crate.model\n"
            "structure  content/ruin.model\n"
            "none       content/street/lamp.model\n");
  for (const Json& entry : Json::parse(result({"list", "--json"}))) {
    const Json shown = Json::parse(result({"show", entry.at("model"), "--json"}));
    EXPECT_EQ(shown.at("category"), entry.at("category")) << entry;
    EXPECT_EQ(shown.at("modelFile"), entry.at("modelFile")) << entry;
  }
}

TEST_F(ADatabase, WithAStructureWithoutPartsIsShownWithAWarning) {
  support::writeModel(folder_, "content/ruin", {.materials = {{"d_wall_1", 88}}});
  writeDatabase(
      "<root><structures><entry><filename>content/ruin.model</filename><modules/></entry></structures></"
      "root>");
  const Json shown = Json::parse(result({"show", "content/ruin.model", "--json"}));
  EXPECT_EQ(shown.at("modules"), Json::object());
  EXPECT_EQ(shown.at("warnings"), Json::parse(R"([{"warning": "no-modules", "text":
    "the structure is saved without a module, so nothing of it can break; import the model with an undamaged part that is a BSP material"}])"));
  EXPECT_THAT(result({"show", "content/ruin.model"}), testing::HasSubstr("modules\n  none\n"));
}

TEST_F(ADatabase, ThatIsMalformedIsRefusedWithItsPlace) {
  writeDatabase("<root>\n\t<fragiles>\n</root>\n");
  for (const Arguments& arguments : {Arguments{"list"}, Arguments{"show", kCrate}}) {
    const ProcessResult result = run(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, testing::HasSubstr("scripts/destructibles.xml"));
    EXPECT_THAT(result.err, testing::ContainsRegex("3"));
  }
}

TEST_F(ADatabase, ThatIsMissingIsRefused) {
  std::filesystem::rename(folder_ / "scripts", folder_ / "gone");
  EXPECT_THAT(refusal({"--root", ".", "list"}), testing::HasSubstr("init"));
  EXPECT_THAT(refusal({"--root", ".", "show", kCrate}), testing::HasSubstr("init"));
}

TEST_F(ADatabase, WithHostileNamesIsListedHarmlessly) {
  writeDatabase(
      "<root><fragiles><entry><filename>a&#9;%s%n&#x9b;&#127;&lt;b&gt;\\x&#x202e;</filename></entry>"
      "</fragiles></root>");
  EXPECT_EQ(result({"list"}), "fragile  a\\t%s%n\\u009b\\x7f<b>\\\\x\\u202e  (no model file)\n");
  const std::string json = result({"list", "--json"});
  EXPECT_EQ(Json::parse(json)[0].at("model"), "a\t%s%n\xc2\x9b\x7f<b>\\x\u202e");
  EXPECT_THAT(json, testing::HasSubstr(R"("a\t%s%n\u009b\u007f<b>\\x\u202e")"));
}

}  // namespace
}  // namespace cli_test
