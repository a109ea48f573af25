#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/model_files.h>
#include <support/process.h>
#include <support/temporary_folder.h>

#include <string>
#include <vector>

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kDatabase = "scripts/destructibles.xml";

/// The program of docs/examples/module_panel.cpp on a gate of two modules, one of which has lost its
/// material.
class TheModulePanelExample : public ::testing::Test {
 protected:
  TheModulePanelExample() {
    support::writeModel(
        folder_, "gate",
        {.materials = {{"n_wall_1", 73}, {"d_wall_1", 87}, {"n_bar_2", 74}, {"n_shown_3", 75}},
         .bsp = {"n_wall_1", "n_bar_2"},
         .nodes = {"HP_1", "HP_2"}});
    folder_.write(kDatabase,
                  "<root><structures><entry><filename>gate.model</filename><modules>"
                  "<module><matName>n_wall_1</matName><health>40</health><effectHP>HP_2</effectHP></module>"
                  "<module><matName>n_gone</matName></module>"
                  "</modules></entry><entry><filename>last.model</filename>"
                  "<achievementTag>of the last</achievementTag></entry></structures></root>\n");
    folder_.write("scripts/destructibles_effects.xml", "<root><structures><boom/></structures></root>\n");
  }

  support::ProcessResult panel(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {folder_.path().string(), "gate.model"});
    return support::runProcess(MODULE_PANEL_PROGRAM, arguments, {});
  }

  support::TemporaryFolder folder_;
};

TEST_F(TheModulePanelExample, ListsTheModulesOfTheModelsMaterials) {
  const support::ProcessResult result = panel({});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "n_bar_2\nn_wall_1\n");
}

TEST_F(TheModulePanelExample, ShowsTheFieldsOfAModuleWithTheirOptions) {
  const support::ProcessResult result = panel({"n_wall_1"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "Health: 40\n"
            "Effect hardpoint: HP_2 [] [HP_1] [HP_2]\n"
            "Hit effect:  [] [none] [boom]\n"
            "Ram effect: none [] [none] [boom]\n"
            "Decay effect: none [] [none] [boom]\n");
}

TEST_F(TheModulePanelExample, SavesWhatWasTyped) {
  const support::ProcessResult result = panel({"n_wall_1", "Health=12", "Ram effect=boom", "save"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(HasSubstr("Health: 12\n"), HasSubstr("Ram effect: boom [")));
  const std::string database = folder_.read(kDatabase);
  EXPECT_THAT(database, AllOf(HasSubstr("<health>12</health>"), HasSubstr("<ramEffect>boom</ramEffect>")));
  EXPECT_EQ(database.find("achievementTag"), database.rfind("<achievementTag>of the last<") + 1)
      << "that of another structure is not taken over";
}

TEST_F(TheModulePanelExample, KeepsWhatWasTypedWhenItsOwnSaveLoadsTheTablesOnceMore) {
  const support::ProcessResult result = panel({"n_wall_1", "Health=12", "save", "Health=13", "wait", "save"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "") << "there was a load to wait for";
  EXPECT_THAT(result.out, HasSubstr("Health: 13\n"));
  EXPECT_THAT(folder_.read(kDatabase), HasSubstr("<health>13</health>"));
}

TEST_F(TheModulePanelExample, ChangesNothingWhenAValueOrAFieldIsRefused) {
  const std::string before = folder_.read(kDatabase);
  const support::ProcessResult result = panel({"n_wall_1", "Health=a lot", "Helth=3"});
  EXPECT_EQ(result.err,
            "Health: cannot convert the string \"a lot\" to int32\n"
            "there is no field \"Helth\"\n");
  EXPECT_THAT(result.out, HasSubstr("Health: 40\n"));
  EXPECT_EQ(folder_.read(kDatabase), before);
}

TEST_F(TheModulePanelExample, RefusesAModuleThatIsNotThere) {
  for (const std::string module : {"n_gone", "n_shown_3"}) {  // which a save would drop
    const support::ProcessResult result = panel({module});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "there is no module \"" + module + "\"; give none to list them\n");
  }
}

}  // namespace
