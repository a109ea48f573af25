#include <cli/cli_fixture.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

namespace cli_test {
namespace {

using Json = nlohmann::json;

class Editing : public CommandLine {
 protected:
  Json shown(const std::string& model) const { return Json::parse(result({"show", model, "--json"})); }

  /// Runs a command that must succeed; its warnings, without the words in front of them, a line each.
  std::string messagesOf(const Arguments& arguments) const {
    const ProcessResult result = run(arguments);
    EXPECT_EQ(result.status, 0);
    constexpr std::string_view kLead = "destructibles: warning: ";
    std::string messages;
    for (std::size_t begin = 0; begin < result.err.size();) {
      const std::size_t end = result.err.find('\n', begin);
      EXPECT_EQ(result.err.compare(begin, kLead.size(), kLead), 0) << result.err;
      messages += result.err.substr(begin + kLead.size(), end + 1 - begin - kLead.size());
      begin = end + 1;
    }
    return messages;
  }

  /// The commands of the lines with that mark, of messages that tell what is thrown away.
  static Arguments commandsBehind(const std::string& mark, const std::string& messages) {
    Arguments commands;
    const std::string begin = "thrown away (" + mark + "): ";
    std::istringstream lines(messages);
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with(begin)) commands.push_back(line.substr(begin.size()));
    return commands;
  }

  /// Has a shell run commands of the program, of which none may be refused.
  void paste(const Arguments& commands) const {
    EXPECT_FALSE(commands.empty());
    std::string script = "set -e\n";
    for (const std::string& command : commands) script += "\"$0\" " + command + '\n';
    const ProcessResult pasted =
        support::runProcess("/bin/bash", {"-c", script, DESTRUCTIBLES_PROGRAM}, {.folder = folder_.path()});
    EXPECT_EQ(pasted.status, 0) << script << pasted.err;
  }

  void makeFragile() const { EXPECT_EQ(run({"convert", kCrate, "fragile"}).status, 0); }
  void makeStructure() const { EXPECT_EQ(run({"convert", kHouse, "structure"}).status, 0); }
};

using Convert = Editing;

TEST_F(Convert, SaysWhatItHasDoneOnlyWhenItIsAskedToBeVerbose) {
  EXPECT_EQ(run({"--verbose", "convert", kCrate, "fragile"}).err,
            "destructibles: Model is set as fragile.\n");
  EXPECT_EQ(messagesOf({"convert", kHouse, "structure"}).find("Model is set"), std::string::npos);
}

TEST_F(Convert, MakesAModelOfACategoryAndSaves) {
  const ProcessResult result = run({"convert", kCrate, "fragile"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "content/props/crate.model: category none -> fragile\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(readDatabase(), R"(<root>
	<fragiles>
		<entry>
			<filename>content/props/crate.model</filename>
			<health>20</health>
			<decayEffect>none</decayEffect>
			<effect>hd_bld_SU_206_Cellar</effect>
			<hitEffect>hd_bld_SU_206_Cellar</hitEffect>
			<effectHP>HP_top</effectHP>
			<effectScale>1</effectScale>
			<matName>n_wood</matName>
			<lifetimeEffect>none</lifetimeEffect>
		</entry>
	</fragiles>
</root>
)");
}

TEST_F(Convert, FindsTheCategoryOut) {
  EXPECT_EQ(run({"convert", kCrate, "auto"}).out, "content/props/crate.model: category none -> fragile\n");
  EXPECT_EQ(run({"convert", kHouse, "auto"}).out,
            "content/buildings/house.model: category none -> structure\n");
  EXPECT_EQ(run({"convert", kHouse, "auto"}).out,
            "content/buildings/house.model: category structure already\n");
}

TEST_F(Convert, ToWhatTheMaterialsSuggestNeverRemovesAnEntry) {
  support::writeModel(folder_, "content/plain", {.materials = {{"glass", 0}}});
  const std::string reason =
      "the materials of \"content/plain.model\" suggest no category, so nothing was changed: none is an "
      "undamaged "
      "part (kinds 73 to 86); it has \"glass\": import it again with --kind glass=73 --force, or convert it "
      "to a "
      "category by name";
  EXPECT_EQ(refusal({"convert", "content/plain.model", "auto"}), reason);
  EXPECT_EQ(run({"convert", "content/plain.model", "fragile"}).status, 0);
  EXPECT_EQ(refusal({"convert", "content/plain.model", "auto"}), reason);
  EXPECT_EQ(shown("content/plain.model").at("category"), "fragile");
}

TEST_F(Convert, ToNoneSaysWhichEntriesAModelWithoutACategoryHad) {
  support::writeModel(folder_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  const std::string variant = "content/lod1/crate.model";
  writeDatabase("<root><fragiles><entry><filename>" + variant +
                "</filename></entry></fragiles><houses><entry><filename>" + variant +
                "</filename></entry></houses><structures><entry><filename>content/props/crate.model"
                "</filename></entry></structures></root>");
  EXPECT_THAT(result({"show", variant}),
              testing::HasSubstr("  category       none (a variant has none of its own)\n"
                                 "  entries        fragiles, houses\n"));
  EXPECT_THAT(result({"show", kCrate}), testing::HasSubstr("  category       none\n"
                                                           "  entries        structures\n"));
  EXPECT_EQ(shown(variant).at("entries"), Json({"fragiles", "houses"}));
  EXPECT_EQ(run({"convert", variant, "none"}).out, variant + ": category none already\n" + variant +
                                                       ": removed its entry in fragiles\n" + variant +
                                                       ": removed its entry in houses\n");
  EXPECT_EQ(run({"convert", kCrate, "none"}).out,
            "content/props/crate.model: category none already\n"
            "content/props/crate.model: removed its entry in structures\n");
  EXPECT_EQ(run({"convert", kCrate, "none"}).out, "content/props/crate.model: category none already\n");
  EXPECT_FALSE(shown(kCrate).contains("entries"));
}

TEST_F(Convert, PrintsWhatItThrowsAwayAsCommandsThatGiveItBack) {
  folder_.write("scripts/destructibles_effects.xml", "<root/>");
  makeStructure();
  const std::vector<Arguments> edits = {
      {"set", kHouse, "achievementTag=the 'old' $HOUSE"},
      {"set", kHouse, "--module", "n_wall_1", "health=11", "effectScale=0.1",
       "hitEffect=", "effectHP=HP_wall_2"},
      {"state", kHouse, "add", "half; open"},
      {"state", kHouse, "add-material", "half; open", "n_wall_2", "n_wall_1"},
      {"state", kHouse, "add", "--", "-empty"}};
  for (const Arguments& edit : edits) EXPECT_EQ(run(edit).status, 0);
  const std::string before = readDatabase();
  const std::string messages = messagesOf({"convert", kHouse, "none"});
  EXPECT_EQ(shown(kHouse).at("category"), "none");
  makeStructure();
  EXPECT_NE(readDatabase(), before);
  paste(commandsBehind("convert it to structure first", messages));
  EXPECT_EQ(readDatabase(), before);
}

TEST_F(Convert, PrintsCommandsOfWhichNoneIsRefusedBehindItsMark) {
  folder_.write("scripts/destructibles_effects.xml", "<root/>");
  const std::string name = "<entry><filename>content/buildings/house.model</filename>";
  const auto state = [](const std::string& title, const std::string& materials) {
    return "<state><name>" + title + "</name><destroyedMaterials>" + materials +
           "</destroyedMaterials></state>";
  };
  writeDatabase(
      "<root><fragiles>" + name +
      "<health>7</health><effectScale>1.0002</effectScale><matName>n_renamed</matName></entry>" + name +
      "<health>9</health><effectScale>1.0002</effectScale><matName>n_renamed</matName></entry>"
      "</fragiles><fallingAtoms>" +
      name + "<health>8</health><fractureEffect>crack</fractureEffect></entry></fallingAtoms><structures>" +
      name +
      "<modules><module><matName>n_wall_1</matName><effectScale>1.0002</effectScale></module>"
      "<module><matName>attic</matName><health>5</health></module></modules><states>" +
      state("forced", "n_wall_1 s_ground") + state("stale", "n_wall_1 lintel n_wall_2 n_wall_1") +
      state("undamaged", "n_wall_1") + "</states></entry></structures></root>");
  const Json before = shown(kHouse);
  const std::string messages = messagesOf({"convert", kHouse, "none"});

  makeStructure();
  paste(commandsBehind("convert it to structure first", messages));
  Json expected = before.at("states");
  expected["stale"] = {"n_wall_1", "n_wall_2"};
  EXPECT_EQ(shown(kHouse).at("states"), expected);
  EXPECT_EQ(shown(kHouse).at("modules").at("n_wall_1").at("health"), 80);
  EXPECT_THAT(
      messages,
      testing::AllOf(testing::HasSubstr("the state \"undamaged\" cannot be given back, since a built-in "
                                        "state has its name; it listed \"n_wall_1\"\n"),
                     testing::HasSubstr("the state \"stale\" listed a material more than once: "
                                        "\"n_wall_1\"")));

  EXPECT_EQ(run({"convert", kHouse, "fragile"}).status, 0);
  paste(commandsBehind("convert it to fragile first", messages));
  EXPECT_EQ(shown(kHouse).at("fragile").at("health"), 9);
  EXPECT_EQ(run({"convert", kHouse, "falling-atom"}).status, 0);
  paste(commandsBehind("convert it to falling-atom first", messages));
  EXPECT_EQ(shown(kHouse).at("fallingAtom").at("health"), 8);
  EXPECT_EQ(shown(kHouse).at("fallingAtom").at("fractureEffect"), "crack");

  EXPECT_EQ(commandsBehind("another entry; convert it to fragile first", messages),
            Arguments{"set content/buildings/house.model health=7"});
  EXPECT_EQ(commandsBehind("import it with that material and convert it to fragile first", messages),
            Arguments{"set content/buildings/house.model matName=n_renamed"});
  EXPECT_EQ(commandsBehind("import it with that material and convert it to structure first", messages),
            Arguments{"state content/buildings/house.model add-material stale lintel"});
  EXPECT_EQ(commandsBehind("import it with that part and convert it to structure first", messages),
            Arguments{"set content/buildings/house.model --module attic health=5 effectScale=1 effectHP= "
                      "ramEffect=none hitEffect= decayEffect=none"});
}

TEST_F(Convert, NamesNothingAsThrownAwayWhenTheSaveIsRefused) {
  writeDatabase(
      "<root><structures><filename>content/props/crate.model</filename><entry><filename>rock.model</filename>"
      "</entry></structures><fragiles><entry><filename>content/props/crate.model</filename>"
      "<health>99</health></entry></fragiles></root>");
  EXPECT_THAT(refusal({"convert", kCrate, "none"}), testing::HasSubstr("nothing was saved"));
}

TEST_F(Convert, BetweenCategoriesPrintsWhatItThrowsAway) {
  makeFragile();
  EXPECT_EQ(run({"set", kCrate, "health=12", "hitEffect=inf_hit_wood"}).status, 0);
  EXPECT_EQ(messagesOf({"convert", kCrate, "structure"}),
            "thrown away (convert it to fragile first): set content/props/crate.model health=12 "
            "hitEffect=inf_hit_wood\n"
            "the entry of the model in the section \"fragiles\" is removed from the file\n");
}

TEST_F(Convert, ToNoneRemovesTheEntriesAndSucceeds) {
  const std::string before = readDatabase();
  makeFragile();
  EXPECT_EQ(result({"convert", kCrate, "none"}), "content/props/crate.model: category fragile -> none\n");
  EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr("crate")));
  EXPECT_EQ(result({"convert", kCrate, "none"}), "content/props/crate.model: category none already\n");
}

TEST_F(Convert, NamesWhatTheSaveDrops) {
  EXPECT_EQ(
      messagesOf({"convert", kHouse, "structure"}),
      "module \"n_roof_3_1\" is not saved: the model has no BSP material of that name; import it with one\n"
      "module \"n_window_5\" is not saved: its material kind 75 is that of module \"n_wall_2\"; give the "
      "materials different kinds\n");
  EXPECT_EQ(messagesOf({"convert", kHouse, "fragile"}),
            "the entry of the model in the section \"structures\" is removed from the file\n");
}

TEST_F(Convert, NamesAHealthThatCouldNotBeEstimated) {
  support::writeModel(folder_, "content/gatesandfences/gate",
                      {.materials = {{"n_brick", 73}}, .bsp = {"n_brick"}});
  EXPECT_THAT(messagesOf({"convert", "content/gatesandfences/gate.model", "fragile"}),
              testing::HasSubstr("health: -1 stands for \"could not be estimated\"; set one\n"));
}

TEST_F(Convert, RefusesUnknownCategoriesAndModels) {
  EXPECT_EQ(refusal({"convert", kCrate, "fragil"}),
            "there is no category \"fragil\"; did you mean \"fragile\"?");
  EXPECT_EQ(refusal({"convert", "content/props/crat.model", "fragile"}),
            "the resource roots hold no model \"content/props/crat.model\"; did you mean "
            "\"content/props/crate.model\"?");
}

TEST_F(Convert, RefusesAStructureWithoutPartsAlsoWhenTheMaterialsSuggestOne) {
  support::writeModel(folder_, "content/ruin", {.materials = {{"d_wall_1", 88}, {"d_wall_2", 89}}});
  for (const char* const category : {"structure", "auto"}) {
    EXPECT_THAT(
        refusal({"convert", "content/ruin.model", category}),
        testing::AllOf(testing::HasSubstr("cannot be a structure"), testing::HasSubstr("could not break")));
  }
}

TEST_F(Convert, RefusesAVariant) {
  support::writeModel(folder_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  EXPECT_THAT(refusal({"convert", "content/lod1/crate.model", "fragile"}),
              testing::HasSubstr("is a variant (in a folder lod1, lod2, crash or merged)"));
  EXPECT_EQ(result({"convert", "content/lod1/crate.model", "none"}),
            "content/lod1/crate.model: category none already\n");
}

using Set = Editing;

TEST_F(Set, ChangesValuesAndSaysWhatChanged) {
  makeFragile();
  EXPECT_EQ(result({"set", kCrate, "health=35", "effectScale=1.25", "hitEffect=", "effect=none"}),
            "content/props/crate.model: health 20 -> 35\n"
            "content/props/crate.model: effectScale 1 -> 1.25\n"
            "content/props/crate.model: effect hd_bld_SU_206_Cellar -> none\n"
            "content/props/crate.model: hitEffect hd_bld_SU_206_Cellar -> (empty)\n");
  EXPECT_EQ(shown(kCrate).at("fragile").at("health"), 35);
  EXPECT_EQ(shown(kCrate).at("fragile").at("effectScale"), 1.25);
  EXPECT_EQ(result({"set", kCrate, "health=35"}),
            "content/props/crate.model: nothing changed, already set\n");
}

TEST_F(Set, GivesTheSameWarningOnce) {
  const std::string entry = "    <entry><filename>" + std::string(kCrate) + "</filename></entry>\n";
  writeDatabase("<root>\n  <fragiles>\n" + entry + entry + entry + "  </fragiles>\n</root>\n");
  EXPECT_EQ(messagesOf({"set", kCrate, "health=3"}),
            "another entry of the model in the section \"fragiles\" is removed from the file\n");
}

TEST_F(Set, TakesAnEmptyModuleForAModuleWithoutAName) {
  makeFragile();
  EXPECT_EQ(refusal({"set", kCrate, "--module", "", "health=3"}),
            "\"content/props/crate.model\" is no structure and has no modules; convert it first");
}

TEST_F(Set, ChangesAModuleAndTheStructuresTag) {
  makeStructure();
  EXPECT_EQ(run({"set", kHouse, "--module", "n_wall_1", "effectHP=HP_wall_2"}).out,
            "content/buildings/house.model module n_wall_1: effectHP HP_wall_1 -> HP_wall_2\n");
  EXPECT_EQ(run({"set", kHouse, "achievementTag=manor"}).out,
            "content/buildings/house.model: achievementTag (empty) -> manor\n");
  EXPECT_EQ(shown(kHouse).at("achievementTag"), "manor");
  EXPECT_EQ(shown(kHouse).at("modules").at("n_wall_1").at("effectHP"), "HP_wall_2");
}

TEST_F(Set, KeepsValuesThatLookLikeOptionsOrLists) {
  makeFragile();
  for (const std::string value :
       {"-x", "--json", "[a,b]", "{a}", "{}", "%%", "a=b", "'a'", "\"a\"", "%s", "a,b", "a b", "#x"}) {
    EXPECT_EQ(run({"set", kCrate, "effect=" + value}).status, 0) << value;
    EXPECT_EQ(shown(kCrate).at("fragile").at("effect"), value);
  }
}

TEST_F(Set, RefusesWhatCannotBeRight) {
  makeFragile();
  EXPECT_EQ(refusal({"set", kCrate, "helth=3"}), "a fragile has no key \"helth\"; did you mean \"health\"?");
  EXPECT_EQ(refusal({"set", kCrate, "effect=fire", "health=x"}),
            "health: \"x\" is not a whole number from -2147483648 to 2147483647");
  EXPECT_EQ(
      refusal({"set", kCrate, "effectScale=nan"}),
      "effectScale: \"nan\" is not a number that 32-bit floating point holds (with a point, as in 1.5)");
  EXPECT_THAT(refusal({"set", kCrate, "health=2147483648"}), testing::StartsWith("health: "));
  EXPECT_THAT(refusal({"set", kCrate, "effect=a\x1b"}),
              testing::HasSubstr("\"a\\x1b\" holds a control character"));
  EXPECT_EQ(refusal({"set", kLamp, "health=3"}),
            "\"content/street/lamp.model\" is not destructible and has nothing to set; convert it first");
  makeStructure();
  EXPECT_EQ(refusal({"set", kHouse, "--module", "n_wal_1", "health=3"}),
            "\"content/buildings/house.model\" has no module \"n_wal_1\"; did you mean \"n_wall_1\"?");
  EXPECT_THAT(refusal({"set", kHouse, "--module", "n_roof_3_1", "health=3"}),
              testing::HasSubstr("the model has no BSP material of that name"));
}

TEST_F(Set, WarnsOfWhatIsProbablyNotMeantAndShowsItAfterwards) {
  folder_.write("scripts/destructibles_effects.xml",
                "<root><structures><dust/></structures><fragiles><splinters/></fragiles></root>");
  makeFragile();
  EXPECT_EQ(
      messagesOf({"set", kCrate, "effect=spilnters", "hitEffect=dust", "health=0"}),
      "health: 0 leaves no hit points; give 1 or more\n"
      "effect: scripts/destructibles_effects.xml has no effect \"spilnters\" for a fragile; did you mean "
      "\"splinters\"?\n"
      "hitEffect: \"dust\" is an effect for a structure, not for a fragile; there is only \"splinters\"\n");
  EXPECT_THAT(result({"show", kCrate}),
              testing::EndsWith(
                  "\n\nwarnings\n"
                  "  health: 0 leaves no hit points; give 1 or more\n"
                  "  effect: scripts/destructibles_effects.xml has no effect \"spilnters\" for a "
                  "fragile; did you mean \"splinters\"?\n"
                  "  hitEffect: \"dust\" is an effect for a structure, not for a fragile; there is only "
                  "\"splinters\"\n"));
  const Json warnings = shown(kCrate).at("warnings");
  ASSERT_EQ(warnings.size(), 3U);
  EXPECT_EQ(warnings[0], Json::parse(R"({"warning": "no-health", "key": "health",
                                         "text": "health: 0 leaves no hit points; give 1 or more"})"));
  EXPECT_EQ(warnings[1].at("warning"), "unknown-effect");
  EXPECT_EQ(warnings[2].at("warning"), "foreign-effect");
}

TEST_F(Set, OfAModuleIsShownWithTheModulesName) {
  makeStructure();
  EXPECT_EQ(run({"set", kHouse, "--module", "n_wall_1", "health=0"}).status, 0);
  EXPECT_THAT(
      result({"show", kHouse}),
      testing::HasSubstr("\n  module \"n_wall_1\", health: 0 leaves no hit points; give 1 or more\n"));
  EXPECT_EQ(shown(kHouse).at("warnings")[0].at("module"), "n_wall_1");
}

TEST_F(Set, NamesAnUnknownHealthOnce) {
  makeFragile();
  EXPECT_EQ(messagesOf({"set", kCrate, "health=-1"}),
            "health: -1 stands for \"could not be estimated\"; set one\n");
  EXPECT_EQ(shown(kCrate).at("warnings")[0].at("warning"), "unknown-health");
}

TEST_F(Set, TakesWhatIsNoAssignmentForWrongUsage) {
  makeFragile();
  EXPECT_EQ(misuse({"set", kCrate, "health"}),
            "\"health\" is not of the form KEY=VALUE; see \"destructibles set --help\"");
  EXPECT_THAT(misuse({"set", kCrate, "=3"}), testing::HasSubstr("not of the form KEY=VALUE"));
  EXPECT_EQ(misuse({"set", kCrate, "--module"}), "--module needs a value; see \"destructibles set --help\"");
  EXPECT_EQ(misuse({"set", kCrate, "--"}), "KEY=VALUE is required; see \"destructibles set --help\"");
}

TEST_F(Set, FailsWhenTheDatabaseCannotBeWritten) {
  makeFragile();
  const std::string before = readDatabase();
  // No file may grow, as on a full disk.
  const ProcessResult result = support::runProcess(
      "/bin/sh", {"-c", "ulimit -f 0; exec \"$@\"", "sh", DESTRUCTIBLES_PROGRAM, "set", kCrate, "health=3"},
      {.folder = folder_.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(
      result.err,
      testing::AllOf(testing::StartsWith("destructibles: error: cannot save \"scripts/destructibles.xml\": "),
                     testing::EndsWith("File too large; the old file is whole; raise the limit on the "
                                       "size of files and save again\n")));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(readDatabase(), before);
  EXPECT_THAT(folder_.listing(), testing::Not(testing::Contains(testing::HasSubstr("destructibles.xml."))));
}

TEST_F(Set, RefusesADatabaseThatIsALinkOutOfTheRoot) {
  makeFragile();
  const std::string before = readDatabase();
  const support::TemporaryFolder outside;
  outside.write("destructibles.xml", before);
  std::filesystem::remove(folder_ / kDatabase);
  std::filesystem::create_symlink(outside / "destructibles.xml", folder_ / kDatabase);
  EXPECT_EQ(run({"set", kCrate, "health=3"}).status, 1);
  EXPECT_EQ(outside.read("destructibles.xml"), before);
}

using State = Editing;

TEST_F(State, IsAddedFilledEmptiedAndRemoved) {
  makeStructure();
  EXPECT_EQ(run({"state", kHouse, "add", "roofless"}).out,
            "content/buildings/house.model: added the state roofless\n");
  EXPECT_EQ(run({"state", kHouse, "add-material", "roofless", "n_roof_3_1", "n_wall_2"}).out,
            "content/buildings/house.model: added to the state roofless: n_roof_3_1 n_wall_2\n");
  EXPECT_EQ(result({"state", kHouse, "list"}),
            "undamaged  n_roof_3_1 n_wall_1 n_wall_2 n_window_5\n"
            "roofless   n_roof_3_1 n_wall_2\n"
            "destroyed  d_wall_1\n");
  EXPECT_THAT(readDatabase(),
              testing::HasSubstr("<destroyedMaterials>n_roof_3_1 n_wall_2 </destroyedMaterials>"));
  EXPECT_EQ(run({"state", kHouse, "remove-material", "roofless", "n_roof_3_1"}).out,
            "content/buildings/house.model: removed from the state roofless: n_roof_3_1\n");
  EXPECT_EQ(shown(kHouse).at("states").at("roofless"), Json::parse("[\"n_wall_2\"]"));
  EXPECT_EQ(run({"state", kHouse, "remove", "roofless"}).out,
            "content/buildings/house.model: removed the state roofless\n");
  EXPECT_EQ(shown(kHouse).at("states").size(), 2U);
}

TEST_F(State, MayHaveAnyNameThatXmlHolds) {
  makeStructure();
  for (const std::string name :
       {"a b", "<a&\"b\">", "50%s", "list", "add", "-", "[x]", "{}", "%%", "\xc3\xa4"}) {
    EXPECT_EQ(run({"state", kHouse, "add", "--", name}).status, 0) << name;
    EXPECT_TRUE(shown(kHouse).at("states").contains(name));
  }
}

TEST_F(State, IsRefusedWhenItCannotBeRight) {
  makeStructure();
  EXPECT_EQ(run({"state", kHouse, "add", "open"}).status, 0);
  EXPECT_EQ(refusal({"state", kHouse, "add", "open"}), "there is a state \"open\" already");
  EXPECT_EQ(refusal({"state", kHouse, "add", "destroyed"}),
            "the state \"destroyed\" is built in; choose another name");
  EXPECT_EQ(refusal({"state", kHouse, "add", ""}), "the name of a state cannot be empty; give one");
  EXPECT_EQ(refusal({"state", kHouse, "remove", "opne"}),
            "\"content/buildings/house.model\" has no state \"opne\"; did you mean \"open\"?");
  EXPECT_EQ(refusal({"state", kHouse, "add-material", "open", "n_wal_1"}),
            "the model has no material \"n_wal_1\"; did you mean \"n_wall_1\"?");
  EXPECT_EQ(refusal({"state", kHouse, "remove-material", "open", "n_wall_1"}),
            "the state \"open\" has no material \"n_wall_1\"; there is none");
}

TEST_F(State, TakesWhatItCannotShowDestroyedOnlyWhenForced) {
  makeStructure();
  EXPECT_EQ(run({"state", kHouse, "add", "open"}).status, 0);
  EXPECT_EQ(refusal({"state", kHouse, "add-material", "open", "s_ground"}),
            "the material \"s_ground\" has no kind (0), so in this state every material without one would "
            "vanish: \"s_ground\"; choose another one, or import the model again with a kind for it; --force "
            "adds it all the same");
  const ProcessResult forced = run({"state", kHouse, "add-material", "--force", "open", "s_ground"});
  EXPECT_EQ(forced.status, 0);
  EXPECT_EQ(forced.out, "content/buildings/house.model: added to the state open: s_ground\n");
  EXPECT_THAT(forced.err,
              testing::StartsWith("destructibles: warning: the material \"s_ground\" has no kind (0)"));
  EXPECT_EQ(shown(kHouse).at("states").at("open"), Json::parse("[\"s_ground\"]"));
}

TEST_F(State, IsRefusedToWhatIsNoStructure) {
  makeFragile();
  for (const Arguments& arguments :
       {Arguments{"state", kCrate, "list"}, Arguments{"state", kCrate, "add", "a"},
        Arguments{"state", kCrate, "remove", "a"}, Arguments{"state", kCrate, "add-material", "a", "n_wood"},
        Arguments{"state", kCrate, "remove-material", "a", "n_wood"}}) {
    EXPECT_EQ(refusal(arguments),
              "\"content/props/crate.model\" is no structure (its category is fragile), which alone has "
              "states to edit; "
              "convert it "
              "to a structure first");
  }
}

TEST_F(State, TakesUnknownActionsAndWrongCountsForWrongUsage) {
  EXPECT_THAT(misuse({"state", kHouse, "ad", "x"}),
              testing::HasSubstr("there is no action \"ad\"; did you mean \"add\"?"));
  EXPECT_THAT(misuse({"state", kHouse, "list", "x"}), testing::HasSubstr("the form is: state MODEL list"));
  EXPECT_THAT(misuse({"state", kHouse, "add"}), testing::HasSubstr("the form is: state MODEL add NAME"));
  EXPECT_THAT(misuse({"state", kHouse, "add", "a", "b"}), testing::HasSubstr("state MODEL add NAME"));
  EXPECT_THAT(misuse({"state", kHouse, "add-material", "a"}),
              testing::HasSubstr("the form is: state MODEL add-material NAME MATERIAL..."));
  EXPECT_THAT(misuse({"state", kHouse}), testing::HasSubstr("ACTION"));
  EXPECT_THAT(misuse({"state", kHouse, "add", "a", "--force"}),
              testing::HasSubstr("--force goes with add-material alone"));
}

using HostileNames = Editing;

TEST_F(HostileNames, AreHarmlessFromTheFirstCommandToTheLast) {
  // A model whose name, material and hard point hold what formats, markup and terminals act on.
  for (const std::string stem :
       {"content/100%s%n", "content/a&b<c>'\"", "content/\xc3\xa4\xe2\x82\xac", "content/x y"}) {
    const std::string model = stem + ".model";
    folder_.write(
        model,
        "<root><visual>content/hostile.visual</visual><bspMaterials><m>n_%s&amp;</m></bspMaterials></root>");
    folder_.write(
        "content/hostile.visual",
        "<root><materials><m><identifier>n_%s&amp;</identifier><kind>73</kind></m></materials></root>");
    EXPECT_EQ(run({"convert", model, "structure"}).status, 0);
    EXPECT_EQ(run({"set", model, "--module", "n_%s&", "hitEffect=%n<&>"}).status, 0);
    EXPECT_EQ(run({"set", model, "achievementTag=]]>%x"}).status, 0);
    const Json json = shown(model);
    EXPECT_EQ(json.at("model"), model);
    EXPECT_EQ(json.at("modules").at("n_%s&").at("hitEffect"), "%n<&>");
    EXPECT_EQ(json.at("achievementTag"), "]]>%x");
    EXPECT_THAT(result({"list"}), testing::HasSubstr(model));
    EXPECT_EQ(run({"convert", model, "none"}).status, 0);
  }
}

TEST_F(HostileNames, ThatTheDatabaseCannotHoldAreRefused) {
  for (const std::string stem : {"content/a\x1b[31m", "content/a\xff", "content/a\n"}) {
    const std::string model = stem + ".model";
    folder_.write(model, "<root><visual>content/props/crate.visual</visual></root>");
    const bool isHeld = stem.back() == '\n';  // XML holds line ends
    const ProcessResult result = run({"convert", model, "fragile"});
    EXPECT_EQ(result.status, isHeld ? 0 : 1);
    EXPECT_EQ(result.err.find('\x1b'), std::string::npos);
    const ProcessResult json = run({"show", model, "--json"});
    EXPECT_EQ(json.status, 0);
    EXPECT_TRUE(Json::accept(json.out));
    EXPECT_EQ(run({"show", model}).out.find('\x1b'), std::string::npos);
  }
}

TEST_F(HostileNames, OfUnknownThingsAreShownEscapedAndShort) {
  makeFragile();
  const std::string huge(100'000, 'x');
  EXPECT_LT(refusal({"show", "content/" + huge + ".model"}).size(), 400U);
  EXPECT_LT(refusal({"set", kCrate, huge + "=1"}).size(), 400U);
  EXPECT_LT(refusal({"convert", kCrate, huge}).size(), 400U);
  EXPECT_THAT(refusal({"set", kCrate, "%s%n\x1b=1"}),
              testing::StartsWith("a fragile has no key \"%s%n\\x1b\""));
}

}  // namespace
}  // namespace cli_test
