#include <cli/cli_fixture.h>

#include <nlohmann/json.hpp>

namespace cli_test {
namespace {

using Json = nlohmann::json;

constexpr char kBarrel[] = "content/props/barrel.model";
constexpr char kTower[] = "content/buildings/tower.model";

constexpr char kNames[] = R"(<root>
	<trees><entry><filename>content/props/barrel.model</filename></entry></trees>
	<fragiles>
		<!-- before -->
		<entry><filename>content/props/barrel.model</filename><health>35</health><mine>kept?</mine></entry>
		<entry><filename>content/props/crate.model</filename></entry>
	</fragiles>
	<structures>
		<entry>
			<filename> content/buildings/tower.model </filename>
			<achievementTag>tower</achievementTag>
			<modules>
				<module><matName>n_wall_1</matName><health>11</health></module>
				<module><health>12</health></module>
			</modules>
			<states><state><name>open</name><destroyedMaterials> n_wall_1  n_roof_2 </destroyedMaterials></state></states>
		</entry>
		<entry><filename>content/buildings/lod1/tower.model</filename><modules/></entry>
		<entry><filename>content/buildings/ruin.model</filename><states/></entry>
	</structures>
</root>
)";

/// A database with entries of models whose files are gone, beside those of the crate.
class AGoneModel : public CommandLine {
 protected:
  AGoneModel() { writeDatabase(kNames); }

  Json shown(const std::string& model) const { return Json::parse(result({"show", model, "--json"})); }

  /// The database without one text, which it must hold.
  static std::string without(const std::string& text) {
    std::string rest = kNames;
    const std::size_t place = rest.find(text);
    if (place == std::string::npos) throw std::invalid_argument(text);
    return rest.erase(place, text.size());
  }
};

TEST_F(AGoneModel, IsShownAsTheFileHoldsItAndPlainlyCalledGone) {
  EXPECT_EQ(result({"show", kBarrel}), R"(content/props/barrel.model
  category    fragile
  model file  none
  entries     fragiles

fragile
  health          35
  effectScale     1
  effectHP        -
  achievementTag  -
  matName         -
  effect          none
  hitEffect       -
  decayEffect     none
  lifetimeEffect  none

warnings
  the resource roots hold no model "content/props/barrel.model", only scripts/destructibles.xml has entries of it; import the model first, or convert it to none, which removes them
)");
  EXPECT_EQ(result({"show", kTower}), R"(content/buildings/tower.model
  category        structure
  model file      none
  entries         structures
  achievementTag  tower

modules
  material  health  effectScale  effectHP  ramEffect  hitEffect  decayEffect
  n_wall_1  11      1            -         none       -          none

states
  open  n_wall_1, n_roof_2

warnings
  the resource roots hold no model "content/buildings/tower.model", only scripts/destructibles.xml has entries of it; import the model first, or convert it to none, which removes them
)");
}

TEST_F(AGoneModel, IsShownWithWhatIsQuestionableAboutItsValues) {
  folder_.write("scripts/destructibles_effects.xml",
                "<root><fragiles><inf_wood/></fragiles><structures><inf_wall/></structures></root>");
  writeDatabase(
      "<root><fragiles><entry><filename>gone.model</filename><health>0</health><effectHP>HP_a</effectHP>"
      "<effect>INF_WOOD</effect></entry></fragiles><structures><entry><filename>house.model</filename>"
      "<modules><module><matName>n_wall</matName><hitEffect>inf_wal</hitEffect></module></modules></entry>"
      "</structures></root>");
  const std::string ofHealth = "health: 0 leaves no hit points; give 1 or more";
  const std::string ofEffect =
      "effect: scripts/destructibles_effects.xml has no effect \"INF_WOOD\" for a fragile; did you mean "
      "\"inf_wood\"?";
  EXPECT_THAT(result({"show", "gone.model"}),
              testing::EndsWith("\n  " + ofHealth + "\n  " + ofEffect + "\n"));
  const Json warnings = shown("gone.model").at("warnings");
  ASSERT_EQ(warnings.size(), 3U);
  EXPECT_EQ(warnings[0].at("warning"), "no-model-file");
  EXPECT_EQ(warnings[1], Json({{"warning", "no-health"}, {"key", "health"}, {"text", ofHealth}}));
  EXPECT_EQ(warnings[2], Json({{"warning", "unknown-effect"}, {"key", "effect"}, {"text", ofEffect}}));
  EXPECT_EQ(shown("house.model").at("warnings").at(1).at("module"), "n_wall");
  EXPECT_THAT(result({"show", "house.model"}),
              testing::HasSubstr("\n  module \"n_wall\", hitEffect: scripts/destructibles_effects.xml has "));
}

TEST_F(AGoneModel, IsOneWhoseVisualIsMissing) {
  std::filesystem::remove(folder_ / "content/props/crate.visual");
  const std::string reason =
      "the model \"content/props/crate.model\" names the visual \"content/props/crate.visual\", which no "
      "resource root holds; import the model again (--force), or convert it to none, which removes its "
      "entries "
      "from scripts/destructibles.xml";
  EXPECT_THAT(result({"show", kCrate}),
              testing::AllOf(testing::StartsWith("content/props/crate.model\n"
                                                 "  category    fragile\n"
                                                 "  model file  without its visual\n"
                                                 "  entries     fragiles\n"),
                             testing::EndsWith("warnings\n  " + reason + "\n")));
  EXPECT_EQ(shown(kCrate).at("modelFile"), true);
  EXPECT_EQ(shown(kCrate).at("warnings").at(0), Json({{"warning", "no-visual"}, {"text", reason}}));
  EXPECT_EQ(refusal({"set", kCrate, "health=3"}), reason);
  EXPECT_EQ(refusal({"convert", kCrate, "fragile"}), reason);
  EXPECT_EQ(run({"convert", kCrate, "none"}).out,
            "content/props/crate.model: category fragile -> none\n"
            "content/props/crate.model: removed its entry in fragiles\n");
  EXPECT_EQ(readDatabase(), without("\n\t\t<entry><filename>content/props/crate.model</filename></entry>"));
  EXPECT_EQ(refusal({"show", kCrate}),
            "\"content/props/crate.visual\": no resource root holds this file, and "
            "\"content/props/crate.model\" names it as its visual; import the model again");
}

TEST_F(AGoneModel, InWhosePlaceNoFileCanBeIsListedShownAndRemoved) {
  const std::string longName = std::string(300, 'a') + ".model";
  const std::string hugeName(5000, 'b');
  std::filesystem::create_symlink("nowhere", folder_ / "link.model");
  for (const std::string& name : {longName, hugeName, std::string("content"), std::string("link.model")}) {
    writeDatabase("<root><fragiles><entry><filename>" + name + "</filename></entry></fragiles></root>");
    EXPECT_EQ(result({"list"}), "fragile  " + name + "  (no model file)\n");
    EXPECT_EQ(shown(name).at("modelFile"), false);
    EXPECT_EQ(run({"convert", name, "none"}).out,
              name + ": category fragile -> none\n" + name + ": removed its entry in fragiles\n");
    EXPECT_EQ(readDatabase(), "<root><fragiles></fragiles></root>");
  }
}

TEST_F(AGoneModel, IsNotGuessedFromADatabaseThatIsBroken) {
  writeDatabase("<root><fragiles>");
  for (const Arguments& arguments : {Arguments{"show", kBarrel}, {"convert", kBarrel, "none"}}) {
    const ProcessResult result = run(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, testing::StartsWith(
                                "destructibles: error: scripts/destructibles.xml:1:17: no element found"));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
  }
}

TEST_F(AGoneModel, IsShownAsJson) {
  EXPECT_EQ(shown(kTower), Json::parse(R"({"model": "content/buildings/tower.model", "category": "structure",
  "modelFile": false, "missingInDatabase": false, "entries": ["structures"], "achievementTag": "tower",
  "modules": {"n_wall_1": {"health": 11, "effectScale": 1.0, "effectHP": "", "ramEffect": "none",
                           "hitEffect": "", "decayEffect": "none"}},
  "states": {"open": ["n_wall_1", "n_roof_2"]},
  "warnings": [{"warning": "no-model-file", "text": "the resource roots hold no model \"content/buildings/tower.model\", only scripts/destructibles.xml has entries of it; import the model first, or convert it to none, which removes them"}]})"));
  EXPECT_EQ(shown(kBarrel).at("fragile").at("health"), 35);
  EXPECT_EQ(shown(kCrate).at("modelFile"), true);
}

TEST_F(AGoneModel, HasTheCategoryThatTheListGivesIt) {
  const Json list = Json::parse(result({"list", "--json"}));
  EXPECT_EQ(list.size(), 5U);
  for (const Json& entry : list) {
    const Json model = shown(entry.at("model"));
    EXPECT_EQ(model.at("category"), entry.at("category")) << entry;
    EXPECT_EQ(model.at("modelFile"), entry.at("modelFile")) << entry;
  }
}

TEST_F(AGoneModel, LosesItsEntryWithAllItsBytesWhenItIsConvertedToNone) {
  const ProcessResult removal = run({"convert", kBarrel, "none"});
  EXPECT_EQ(removal.status, 0);
  EXPECT_EQ(removal.out,
            "content/props/barrel.model: category fragile -> none\n"
            "content/props/barrel.model: removed its entry in fragiles\n");
  EXPECT_EQ(
      removal.err,
      "destructibles: warning: thrown away (import it and convert it to fragile first): set "
      "content/props/barrel.model health=35 effectHP= matName= effect=none hitEffect=\n"
      "destructibles: warning: the key \"mine\" (\"kept?\") of the entry in \"fragiles\" is not kept\n");
  EXPECT_EQ(readDatabase(), without("\n\t\t<entry><filename>content/props/barrel.model</filename>"
                                    "<health>35</health><mine>kept?</mine></entry>"));
  EXPECT_EQ(refusal({"show", kBarrel}),
            "the resource roots hold no model \"content/props/barrel.model\"; did you mean "
            "\"content/props/crate.model\"?");
}

TEST_F(AGoneModel, OfNoCategoryLosesItsEntriesToo) {
  EXPECT_EQ(result({"convert", "content/buildings/ruin.model", "none"}),
            "content/buildings/ruin.model: category none already\n"
            "content/buildings/ruin.model: removed its entry in structures\n");
  EXPECT_EQ(readDatabase(),
            without("\n\t\t<entry><filename>content/buildings/ruin.model</filename><states/></entry>"));
}

TEST_F(AGoneModel, LosesEveryEntryInEverySectionOfACategory) {
  const std::string entry = "<entry><filename>gone.model</filename></entry>";
  const std::string other = "<entry><filename>other.model</filename></entry>";
  writeDatabase("<root><trees>" + entry + "</trees><fragiles>" + entry + other + entry +
                "</fragiles><houses>" + other + entry + "</houses><fragiles>" + other + entry +
                "</fragiles></root>");
  EXPECT_EQ(run({"convert", "gone.model", "none"}).out,
            "gone.model: category fragile -> none\n"
            "gone.model: removed its entry in fragiles\n"
            "gone.model: removed its entry in fragiles\n"
            "gone.model: removed its entry in houses\n"
            "gone.model: removed its entry in fragiles\n");
  EXPECT_EQ(readDatabase(), "<root><trees>" + entry + "</trees><fragiles>" + other + "</fragiles><houses>" +
                                other + "</houses><fragiles>" + other + "</fragiles></root>");
}

TEST_F(AGoneModel, IsRefusedEveryOtherEdit) {
  const std::string reason =
      "the resource roots hold no model \"content/props/barrel.model\", only scripts/destructibles.xml has "
      "entries of it; import the model first, or convert it to none, which removes them";
  for (const Arguments& arguments : {Arguments{"set", kBarrel, "health=3"},
                                     {"set", kBarrel, "--module", "n_wood", "health=3"},
                                     {"state", kBarrel, "list"},
                                     {"state", kBarrel, "add", "open"},
                                     {"convert", kBarrel, "structure"},
                                     {"convert", kBarrel, "fragile"},
                                     {"convert", kBarrel, "auto"},
                                     {"properties", kBarrel},
                                     {"health", kBarrel},
                                     {"watch", kBarrel},
                                     {"show", kBarrel, "--state", "destroyed"}})
    EXPECT_EQ(refusal(arguments), reason) << testing::PrintToString(arguments);
}

TEST_F(AGoneModel, IsGivenItsEntryBackByThePrintedCommandsWhenItWasImportedAgain) {
  const std::vector<std::pair<std::string, std::string>> entries = {
      {"fragile", "<fragiles>NAME<health>5</health><effect>none</effect></entry></fragiles>"},
      {"fragile", "<fragiles>NAME<matName>n_wood</matName><effectHP>HP_b</effectHP></entry></fragiles>"},
      {"falling-atom", "<fallingAtoms>NAME<health>20</health></entry></fallingAtoms>"},
      {"structure",
       "<structures>NAME<modules><module><matName>n_wood</matName></module></modules><states><state><name>a"
       "</name><destroyedMaterials>n_wood s_plinth "
       "</destroyedMaterials></state></states></entry></structures>"}};
  for (auto [category, file] : entries) {
    file.replace(file.find("NAME"), 4, "<entry><filename>" + std::string(kBarrel) + "</filename>");
    writeDatabase("<root>" + file + "</root>");
    const Json before = shown(kBarrel);
    const std::string begin =
        "destructibles: warning: thrown away (import it and convert it to " + category + " first): ";
    std::istringstream messages(run({"convert", kBarrel, "none"}).err);
    support::writeModel(folder_, "content/props/barrel",
                        {.materials = {{"n_wood", 73}, {"s_plinth", 0}},
                         .bsp = {"n_wood"},
                         .nodes = {"HP_a", "HP_b"},
                         .corner = "9 9 9"});
    std::string script = "set -e\n\"$0\" convert " + std::string(kBarrel) + ' ' + category + '\n';
    for (std::string line; std::getline(messages, line);) {
      ASSERT_THAT(line, testing::StartsWith(begin));
      script += "\"$0\" " + line.substr(begin.size()) + '\n';
    }
    const ProcessResult pasted =
        support::runProcess("/bin/bash", {"-c", script, DESTRUCTIBLES_PROGRAM}, {.folder = folder_.path()});
    EXPECT_EQ(pasted.status, 0) << script << pasted.err;
    for (const char* const key : {"fragile", "fallingAtom", "modules"})
      EXPECT_EQ(shown(kBarrel).value(key, Json()), before.value(key, Json())) << script;
    if (category == "structure") {
      EXPECT_EQ(shown(kBarrel).at("states").at("a"), before.at("states").at("a"));
    }
    std::filesystem::remove(folder_ / kBarrel);
  }
}

TEST_F(AGoneModel, IsEditedAsAnyOtherOnceItWasImported) {
  support::writeModel(folder_, "content/props/barrel", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  EXPECT_EQ(result({"set", kBarrel, "health=3"}), "content/props/barrel.model: health 35 -> 3\n");
}

TEST_F(AGoneModel, OfAMistypedNameIsRefusedWithTheNearestOfTheDatabaseAndTheRoots) {
  EXPECT_EQ(refusal({"show", "content/props/barel.model"}),
            "the resource roots hold no model \"content/props/barel.model\"; did you mean "
            "\"content/props/barrel.model\"?");
  EXPECT_EQ(refusal({"convert", "content/props/crat.model", "none"}),
            "the resource roots hold no model \"content/props/crat.model\"; did you mean "
            "\"content/props/crate.model\"?");
}

TEST_F(AGoneModel, ThatAStructureNamesIsShownWithoutAMessageOfTheMonitorOrTheLibrary) {
  // What result() checks: nothing but the results is printed.
  EXPECT_THAT(result({"show", "content/buildings/lod1/tower.model"}),
              testing::StartsWith("content/buildings/lod1/tower.model\n"
                                  "  category    none (a variant has none of its own)\n"
                                  "  model file  none\n"
                                  "  entries     structures\n"));
}

TEST_F(AGoneModel, WithANameThatNoModelCanHaveIsShownAndRemoved) {
  for (const std::string name :
       {"/etc/passwd", "../crate.model", "./content/props/crate.model", "content//props/crate.model", ".",
        "content\\props\\crate.model", "-crate"}) {
    writeDatabase(
        "<root><fragiles><entry><filename>" + name +
        "</filename></entry><entry><filename>content/props/crate.model</filename></entry></fragiles>"
        "</root>");
    const Json list = Json::parse(result({"list", "--json"}));
    EXPECT_EQ(list.size(), 2U) << name;
    for (const Json& entry : list) EXPECT_EQ(entry.at("modelFile"), entry.at("model") == kCrate) << entry;
    EXPECT_EQ(Json::parse(result({"show", "--json", "--", name})).at("category"), "fragile") << name;
    EXPECT_EQ(run({"set", "--", name, "health=3"}).status, 1) << name;
    EXPECT_EQ(run({"convert", "--", name, "none"}).out,
              (name == "content\\props\\crate.model" ? "content\\\\props\\\\crate.model" : name) +
                  ": category fragile -> none\n" +
                  (name == "content\\props\\crate.model" ? "content\\\\props\\\\crate.model" : name) +
                  ": removed its entry in fragiles\n");
    EXPECT_EQ(
        readDatabase(),
        "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles></root>")
        << name;
  }
}

TEST_F(AGoneModel, IsNeverTheOneWithoutAName) {
  writeDatabase("<root><fragiles><entry><fileName>misspelt key</fileName></entry></fragiles></root>");
  EXPECT_EQ(refusal({"convert", "", "none"}),
            "the model name \"\" is empty; give a name below the resource roots");
}

TEST_F(AGoneModel, ThatOnlyASectionNamesIsRefusedWithWhatToDo) {
  writeDatabase(
      "<root><fragiles><filename>gone.model</filename><entry><filename>a.model</filename></entry></fragiles>"
      "</root>");
  for (const Arguments& arguments : {Arguments{"show", "gone.model"}, {"convert", "gone.model", "none"}})
    EXPECT_EQ(
        refusal(arguments),
        "the resource roots hold no model \"gone.model\"; in scripts/destructibles.xml only the section "
        "\"fragiles\" itself has that <filename>, which makes no entry; take it out of the file");
}

TEST_F(AGoneModel, ThatASectionNamesTooLosesItsEntriesAloneAndAMessageTellsOfTheSection) {
  const std::string head = "<root><fragiles><filename>gone.model</filename>";
  const std::string tail = "<entry><filename>a.model</filename></entry></fragiles></root>";
  writeDatabase(head + "<entry><filename>gone.model</filename></entry>" + tail);
  const ProcessResult removal = run({"convert", "gone.model", "none"});
  EXPECT_EQ(removal.status, 0);
  EXPECT_EQ(removal.err,
            "destructibles: warning: the section \"fragiles\" has the <filename> \"gone.model\" itself and "
            "stays as it "
            "is; take that <filename> out of scripts/destructibles.xml\n"
            "destructibles: warning: thrown away (import it and convert it to fragile first): set gone.model "
            "health=5 "
            "effectHP= matName= effect=none hitEffect=\n");
  EXPECT_EQ(readDatabase(), head + tail);
}

}  // namespace
}  // namespace cli_test
