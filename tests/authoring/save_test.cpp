#include <authoring/program_that_saves.h>
#include <authoring/session_fixture.h>
#include <resources/save_group.h>
#include <support/full_disk.h>

#include <filesystem>
#include <memory>
#include <string>

namespace Tal::authoring {
namespace {

using Code = SaveWarning::Code;

std::vector<std::string> textsOf(const std::vector<SaveWarning>& warnings) {
  std::vector<std::string> texts;
  for (const SaveWarning& warning : warnings) texts.push_back(warning.text);
  return texts;
}

class Saving : public SessionTest {
 protected:
  static constexpr const char* kOneFragile = R"(<root>
	<!-- the crates -->
	<fragiles>
		<entry>
			<filename>content/props/crate.model</filename>
			<health>5</health>
		</entry>
	</fragiles>
</root>
)";
};

TEST_F(Saving, WritesTheEntryOfTheModel) {
  writeDatabase(kOneFragile);
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}, {"matName", "n_wood"}}));
  EXPECT_EQ(readDatabase(), kOneFragile);
  expectDone(session->save());
  EXPECT_EQ(readDatabase(), R"(<root>
	<!-- the crates -->
	<fragiles>
		<entry>
			<filename>content/props/crate.model</filename>
			<health>35</health>
			<decayEffect>none</decayEffect>
			<effect>none</effect>
			<effectHP/>
			<effectScale>1</effectScale>
			<matName>n_wood</matName>
			<lifetimeEffect>none</lifetimeEffect>
		</entry>
	</fragiles>
</root>
)");
  EXPECT_FALSE(session->hasUnsavedEdits());
}

constexpr const char* kHouseWithoutModules =
    "<root><structures><entry><filename>content/buildings/house.model</filename><modules/></entry>"
    "</structures></root>";

TEST_F(Saving, OfAStructureNamesTheModulesThatItDrops) {
  writeDatabase(kHouseWithoutModules);
  const auto session = open(kHouse);
  std::vector<SaveWarning> warnings = saveWarningsOf(*session);
  std::erase_if(warnings, [](const SaveWarning& warning) { return warning.code != Code::droppedModule; });
  EXPECT_THAT(
      textsOf(warnings),
      testing::ElementsAre("module \"n_roof_3_1\" is not saved: the model has no BSP material of that "
                           "name; import it with one",
                           "module \"n_window_5\" is not saved: its material kind 75 is that of module "
                           "\"n_wall_2\"; give the materials different kinds"));
  expectDone(session->save());
  // The warnings and the writer agree on what stays.
  std::vector<std::string> kept;
  for (const auto& [name, module] : session->description().modules) kept.push_back(name);
  EXPECT_THAT(kept, testing::ElementsAre("n_door_4", "n_wall_1", "n_wall_2"));
  EXPECT_TRUE(saveWarningsOf(*session).empty());
}

TEST_F(Saving, TakesNoStatesOfAnEntryThatDidNotCount) {
  writeDatabase(
      "<root><structures>"
      "<entry><filename>content/buildings/house.model</filename><modules/><states><state><name>stale</name>"
      "<destroyedMaterials>n_wall_1 </destroyedMaterials></state></states></entry>"
      "<entry><filename>content/buildings/house.model</filename><modules/><states></states></entry>"
      "</structures></root>");
  const auto session = open(kHouse);
  const std::vector<std::string> states = session->stateNames();
  expectDone(session->reset());
  expectDone(session->save());
  EXPECT_EQ(session->stateNames(), states);
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(Saving, DescribesNoStatesThatItDrops) {
  writeDatabase(kHouseWithoutModules);
  const auto session = open(kHouse);
  expectDone(session->addState("half"));
  expectDone(session->convert(DT_FRAGILE));
  EXPECT_TRUE(session->description().states.empty());
  expectDone(session->convert(DT_STRUCTURE));
  EXPECT_TRUE(session->description().states.contains("half"));
}

TEST_F(Saving, OfAVariantWithoutItsEntryIsAnEdit) {
  support::writeModel(root_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  writeDatabase(
      "<root><fragiles><entry><filename>content/lod1/crate.model</filename></entry></fragiles></root>");
  const auto session = open("content/lod1/crate.model");
  EXPECT_FALSE(session->hasUnsavedEdits());
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  EXPECT_TRUE(session->hasUnsavedEdits());
  expectDone(session->save());
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(Saving, DoesNotBringBackTheSecondOfTwoKeysWhenItTakesOutTheFirst) {
  for (const std::string key : {"achievementTag", "hitEffect", "matName"}) {
    for (const char* const before : {"", "<fragiles/>"}) {  // the entry may be in a later section of the tag
      const std::string text = "<root>" + std::string(before) +
                               "<fragiles><entry><filename>content/props/crate.model</filename><" + key +
                               ">n_first</" + key + "><" + key + ">n_second</" + key +
                               "></entry></fragiles></root>";
      writeDatabase(text);
      const auto session = open(kCrate);
      expectDone(session->set({{key, key == "achievementTag" ? "none" : ""}}));
      EXPECT_EQ(faultText(session->save()),
                "the entry of \"content/props/crate.model\" has the key " + key +
                    " more than once, and a save without a value for it would leave one of them; nothing was "
                    "saved; take them out of scripts/destructibles.xml");
      EXPECT_EQ(readDatabase(), text);
      expectDone(session->set({{key, key == "matName" ? "n_wood" : "third"}}));
      expectDone(session->save());
    }
  }
}

TEST_F(Saving, NamesAModuleOfAMaterialThatTheModelNoLongerHas) {
  writeDatabase(
      "<root><structures><entry><filename>content/buildings/house.model</filename><modules><module>"
      "<matName>n_gone_9</matName></module></modules></entry></structures></root>");
  EXPECT_THAT(
      textsOf(saveWarningsOf(*open(kHouse))),
      testing::Contains("module \"n_gone_9\" is not saved: the model has no BSP material of that name; "
                        "import it with one"));
}

TEST_F(Saving, OfAStructureWithoutAModuleSaysThatItCannotBreak) {
  constexpr const char* kCannotBreak =
      "the structure is saved without a module, so nothing of it can break; import the model with an "
      "undamaged part that is a BSP material";
  writeDatabase(
      "<root><structures><entry><filename>content/street/lamp.model</filename><modules/></entry>"
      "</structures></root>");
  EXPECT_THAT(textsOf(saveWarningsOf(*open(kLamp))), testing::Not(testing::Contains(kCannotBreak)));
  support::writeModel(root_, "content/street/lamp", {.materials = {{"n_pole", 73}}, .bsp = {}});
  const auto unbreakable = open(kLamp);
  EXPECT_THAT(textsOf(saveWarningsOf(*unbreakable)), testing::Contains(kCannotBreak));
  EXPECT_THAT(unbreakable->save()->warnings, testing::Contains(kCannotBreak));
}

TEST_F(Saving, NamesAHealthThatCouldNotBeEstimated) {
  writeDatabase(kOneFragile);
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "-1"}}));
  EXPECT_THAT(textsOf(saveWarningsOf(*session)),
              testing::ElementsAre("health: -1 stands for \"could not be estimated\"; set one"));
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->setModule("n_wood", {{"health", "-1"}}));
  EXPECT_THAT(textsOf(saveWarningsOf(*session)),
              testing::Contains("module \"n_wood\", health: -1 stands for \"could not be "
                                "estimated\"; set one"));
}

TEST_F(Saving, NamesTheEntriesThatItRemoves) {
  writeDatabase(R"(<root>
	<trees><entry><filename>content/props/crate.model</filename></entry></trees>
	<buildings><entry><filename>content/props/crate.model</filename></entry></buildings>
	<fragiles>
		<entry><filename>content/props/crate.model</filename></entry>
		<entry><filename>content/street/lamp.model</filename></entry>
		<entry><filename>content/props/crate.model</filename></entry>
	</fragiles>
</root>
)");
  const auto session = open(kCrate);
  EXPECT_THAT(
      textsOf(saveWarningsOf(*session)),
      testing::ElementsAre("the entry of the model in the section \"buildings\" is removed from the file",
                           "another entry of the model in the section \"fragiles\" is removed from the "
                           "file"));
  expectDone(session->save());
  EXPECT_TRUE(saveWarningsOf(*session).empty());
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<trees><entry><filename>content/props/crate.model"));
}

TEST_F(Saving, AModelOfNoCategoryRemovesItsEntriesAndSucceeds) {
  writeDatabase(kOneFragile);
  auto session = open(kCrate);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  EXPECT_TRUE(session->hasUnsavedEdits());
  EXPECT_THAT(textsOf(saveWarningsOf(*session)),
              testing::ElementsAre(testing::StartsWith("thrown away (convert it to fragile first): set ")));
  expectDone(session->save());
  EXPECT_EQ(readDatabase(), "<root>\n\t<!-- the crates -->\n\t<fragiles></fragiles>\n</root>\n");
  EXPECT_FALSE(session->hasUnsavedEdits());
  session.reset();
  EXPECT_EQ(open(kCrate)->category(), DT_NON_DESTRUCTIBLE);
}

TEST_F(Saving, AModelThatHasNoEntryAndNoCategoryWritesNothing) {
  writeDatabase(kOneFragile);
  const auto before = std::filesystem::last_write_time(root_ / kDatabase);
  const auto session = open(kLamp);
  expectDone(session->save());
  EXPECT_EQ(readDatabase(), kOneFragile);
  EXPECT_EQ(std::filesystem::last_write_time(root_ / kDatabase), before);
}

TEST_F(Saving, IsRefusedWithoutResourceRootsAndKeepsTheEdits) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->set({{"health", "35"}}));
  FS::setFileSystem(nullptr);
  EXPECT_EQ(faultText(session->save()),
            "no resource roots are set up, so nothing was saved; restore that and save again");
  EXPECT_EQ(session->description().fragile.value().health, 35);
}

TEST_F(Saving, IsRefusedWhenTheDatabaseIsGone) {
  writeDatabase(kOneFragile);
  auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  std::filesystem::remove(root_ / kDatabase);
  EXPECT_EQ(faultText(session->save()),
            "the resource roots hold no scripts/destructibles.xml, so nothing was saved; restore that and "
            "save again");
  writeDatabase(kOneFragile);
  expectDone(session->save());
  session.reset();
  EXPECT_EQ(open(kCrate)->description().fragile.value().health, 35);
}

class AFailedSave : public Saving {
 protected:
  AFailedSave() { writeDatabase(kOneFragile); }

  static void expectRefused(Session& session) {
    const support::FullDisk disk;
    EXPECT_THAT(faultText(session.save()),
                testing::AllOf(testing::StartsWith("cannot save \"scripts/destructibles.xml\": writing "),
                               testing::EndsWith("File too large; the old file is whole; raise the limit on "
                                                 "the size of files and save again")));
  }
};

TEST_F(Saving, TakesOverWhatAnotherProgramIsJustSavingForTheSameModel) {
  writeDatabase(kOneFragile);
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  {
    const ProgramThatSaves other(
        root_,
        "<root><fragiles><entry><filename>content/props/crate.model</filename><health>5</health>"
        "<effect>fire</effect></entry></fragiles></root>");
    expectDone(session->save());
  }
  EXPECT_THAT(readDatabase(), testing::AllOf(testing::HasSubstr("<health>35</health>"),
                                             testing::HasSubstr("<effect>fire</effect>")));
}

/// A fragile crate with an edit, to which another program gives another category.
class ASaveAfterAConversionElsewhere : public Saving {
 protected:
  ASaveAfterAConversionElsewhere() {
    writeDatabase(kOneFragile);
    crate_ = open(kCrate);
    expectDone(crate_->set({{"health", "35"}}));
  }

  static std::string refusalNaming(const std::string& category) {
    return "another program has meanwhile changed the category of \"content/props/crate.model\" to \"" +
           category +
           "\", so nothing was saved; look at the model as it is now, and if this is still wanted, do the "
           "same again";
  }

  static constexpr const char* kStructure =
      "<root><structures><entry><filename>content/props/crate.model</filename><modules><module>"
      "<matName>n_wood</matName></module></modules></entry></structures></root>";
  std::unique_ptr<Session> crate_;
};

TEST_F(ASaveAfterAConversionElsewhere, IsRefusedAndLeavesTheOtherProgramsEntry) {
  root_.replace(kDatabase, kStructure);
  EXPECT_EQ(faultText(crate_->save()), refusalNaming("structure"));
  EXPECT_EQ(readDatabase(), kStructure);
  EXPECT_EQ(crate_->category(), DT_FRAGILE);
  EXPECT_EQ(crate_->description().fragile.value().health, 35);
  EXPECT_TRUE(crate_->hasUnsavedEdits());
}

TEST_F(ASaveAfterAConversionElsewhere, IsRefusedWhenTheEntryWasRemoved) {
  root_.replace(kDatabase, "<root/>");
  EXPECT_EQ(faultText(crate_->save()), refusalNaming("none"));
  EXPECT_EQ(readDatabase(), "<root/>");
}

TEST_F(ASaveAfterAConversionElsewhere, IsRefusedWhenBothHaveConvertedTheModel) {
  expectDone(crate_->convert(DT_FALLING_ATOMS));
  root_.replace(kDatabase, kStructure);
  EXPECT_EQ(faultText(crate_->save()), refusalNaming("structure"));
  EXPECT_EQ(readDatabase(), kStructure);
}

TEST_F(ASaveAfterAConversionElsewhere, IsMadeTheSecondTimeAndNamesTheEntryThatItRemoves) {
  root_.replace(kDatabase, kStructure);
  EXPECT_NE(faultText(crate_->save()), "");
  const Result<Outcome> saved = crate_->save();
  EXPECT_EQ(faultText(saved), "");
  EXPECT_THAT(saved->warnings,
              testing::ElementsAre(testing::StartsWith("thrown away (convert it to structure first): set "),
                                   "the entry of the model in the section \"structures\" "
                                   "is removed from the file"));
  EXPECT_THAT(readDatabase(), testing::AllOf(testing::HasSubstr("<health>35</health>"),
                                             testing::Not(testing::HasSubstr("n_wood</matName></module>"))));
}

TEST_F(ASaveAfterAConversionElsewhere, IsRefusedWithinAGroupOfSavesAndKeepsTheEdits) {
  {
    const SaveGroup group;
    EXPECT_NE(faultText(crate_->save()), "");
  }
  EXPECT_TRUE(crate_->hasUnsavedEdits());
  expectDone(crate_->save());
  EXPECT_FALSE(crate_->hasUnsavedEdits());
}

TEST_F(ASaveAfterAConversionElsewhere, IsMadeWhenBothHaveMadeTheModelTheSame) {
  expectDone(crate_->convert(DT_STRUCTURE));
  root_.replace(kDatabase, kStructure);
  expectDone(crate_->save());
  EXPECT_EQ(crate_->category(), DT_STRUCTURE);
}

TEST_F(ASaveAfterAConversionElsewhere, FollowsTheFileWhenNothingWasEdited) {
  expectDone(crate_->set({{"health", "5"}}));
  root_.replace(kDatabase, kStructure);
  expectDone(crate_->save());
  EXPECT_EQ(crate_->category(), DT_STRUCTURE);
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<matName>n_wood</matName>"));
}

TEST_F(Saving, TellsTheWarningsOfTheFileThatItWritesTo) {
  writeDatabase(kOneFragile);
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  EXPECT_TRUE(saveWarningsOf(*session).empty());
  const std::string entry = "<entry><filename>content/props/crate.model</filename><health>5</health></entry>";
  root_.replace(kDatabase, "<root><fragiles>" + entry + entry + "</fragiles></root>");
  const Result<Outcome> saved = session->save();
  EXPECT_EQ(faultText(saved), "");
  EXPECT_THAT(saved->warnings, testing::ElementsAre("another entry of the model in the section "
                                                    "\"fragiles\" is removed from the file"));
}

TEST_F(AFailedSave, TellsOfNothingThatItWouldHaveRemoved) {
  const std::string entry = "<entry><filename>content/props/crate.model</filename><health>5</health></entry>";
  writeDatabase("<root><fragiles>" + entry + entry + "</fragiles></root>");
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  expectRefused(*session);
  EXPECT_EQ(session->save()->warnings.size(), 1U);
}

TEST_F(AFailedSave, KeepsTheFileAndTheEditsAndMayBeTriedAgain) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  expectRefused(*session);
  EXPECT_THAT(messages_.messages(), testing::IsEmpty()) << "the fault says it all";
  EXPECT_EQ(readDatabase(), kOneFragile);
  EXPECT_EQ(session->description().fragile.value().health, 35);
  EXPECT_TRUE(session->hasUnsavedEdits());
  expectDone(session->save());
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<health>35</health>"));
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(AFailedSave, OfAStructureKeepsItsTagModulesAndStates) {
  auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->setModule("n_wall_1", {{"health", "9"}}));
  expectDone(session->addState("open"));
  expectRefused(*session);
  EXPECT_EQ(readDatabase(), kOneFragile);
  expectDone(session->save());
  session.reset();
  const Description saved = open(kHouse)->description();
  EXPECT_EQ(saved.achievementTag, "manor");
  EXPECT_EQ(saved.modules.at("n_wall_1").health, 9);
  EXPECT_TRUE(saved.states.contains("open"));
}

TEST_F(AFailedSave, OfAModelWithoutACategoryIsNotTakenForDone) {
  auto session = open(kCrate);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  expectRefused(*session);
  EXPECT_EQ(readDatabase(), kOneFragile);
  expectDone(session->save());
  session.reset();
  EXPECT_EQ(open(kCrate)->category(), DT_NON_DESTRUCTIBLE);
}

}  // namespace
}  // namespace Tal::authoring
