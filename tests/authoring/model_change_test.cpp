#include <authoring/panel_record.h>
#include <authoring/session_fixture.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Tal::authoring {
namespace {

class AModelThatChanges : public SessionTest {
 protected:
  /// Writes the model's files as an import does, and waits until the session has followed.
  void change(Session& session, const std::string& stem, const support::ModelFiles& files) const {
    support::writeModel(root_, stem, files);
    const std::set<std::string> bsp(files.bsp.begin(), files.bsp.end());
    std::vector<std::string> hardPoints = files.nodes;
    std::erase_if(hardPoints, [](const std::string& node) { return !node.starts_with("HP_"); });
    EXPECT_TRUE(
        passFramesUntil([&] { return session.bspMaterials() == bsp && session.hardPoints() == hardPoints; }));
  }

  /// The house with one more wall and without its door and one of its hard points.
  static support::ModelFiles otherHouse() {
    return {.materials = {{"n_wall_1", 74}, {"n_wall_2", 75}, {"n_wall_9", 78}, {"d_wall_1", 88}},
            .bsp = {"n_wall_1", "n_wall_2", "n_wall_9"},
            .nodes = {"root", "HP_wall_1"},
            .corner = "2 2 2"};
  }

  bool isLogged(const std::string& text) const {
    const std::vector<std::string> texts = messages_.texts();
    return std::ranges::any_of(
        texts, [&text](const std::string& one) { return one.find(text) != std::string::npos; });
  }
};

TEST_F(AModelThatChanges, IsLoadedAgainWithItsMaterialsHardPointsAndModules) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->save());
  change(*session, "content/buildings/house", otherHouse());
  EXPECT_THAT(session->hardPoints(), testing::ElementsAre("HP_wall_1"));
  EXPECT_THAT(session->bspMaterials(), testing::ElementsAre("n_wall_1", "n_wall_2", "n_wall_9"));
  EXPECT_TRUE(session->description().modules.contains("n_wall_9"));
}

TEST_F(AModelThatChanges, KeepsTheEditsThatWereNotSaved) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->setModule("n_wall_1", {{"health", "9"}}));
  expectDone(session->setModule("n_door_4", {{"health", "8"}}));
  expectDone(session->addState("open"));
  expectDone(session->addMaterials("open", {"n_door_4"}));
  change(*session, "content/buildings/house", otherHouse());
  EXPECT_TRUE(session->hasUnsavedEdits());
  EXPECT_EQ(session->description().modules.at("n_wall_1").health, 9);
  EXPECT_EQ(session->description().modules.at("n_door_4").health, 8);
  EXPECT_THAT(session->materialsForState("open"), testing::ElementsAre("n_door_4"));
}

TEST_F(AModelThatChanges, ReportsWhatTheEditsNameAndTheModelLacks) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->setModule("n_door_4", {{"health", "8"}}));
  expectDone(session->setModule("n_wall_1", {{"effectHP", "HP_wall_2"}}));
  expectDone(session->addState("open"));
  expectDone(session->addMaterials("open", {"n_door_4"}));
  EXPECT_THAT(session->namesLacking(), testing::IsEmpty());
  change(*session, "content/buildings/house", otherHouse());
  EXPECT_THAT(session->namesLacking(),
              testing::ElementsAre(R"(module "n_door_4": the model has no material "n_door_4")",
                                   R"(state "open": the model has no material "n_door_4")",
                                   R"(module "n_wall_1", effectHP: the model has no hard point "HP_wall_2"; )"
                                   R"(did you mean "HP_wall_1"?)"));
  EXPECT_TRUE(isLogged(R"("content/buildings/house.model" has changed: state "open": the model has no)"));
}

TEST_F(AModelThatChanges, IsSavedAsItIsNow) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->setModule("n_wall_1", {{"health", "9"}}));
  change(*session, "content/buildings/house", otherHouse());
  expectDone(session->save());
  const std::string text = readDatabase();
  EXPECT_THAT(text, testing::HasSubstr("<matName>n_wall_9</matName>"));
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("n_door_4")));
  EXPECT_THAT(text, testing::HasSubstr("<health>9</health>"));
}

TEST_F(AModelThatChanges, GoesOnShowingItsState) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->addState("open"));
  expectDone(session->showState("open"));
  change(*session, "content/buildings/house", otherHouse());
  EXPECT_EQ(session->shownState(), "open");
}

TEST_F(AModelThatChanges, StaysAsItWasWhileItsFilesCannotBeRead) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->set({{"health", "35"}}));
  const std::string visual = root_.read("content/props/crate.visual");
  root_.replace("content/props/crate.visual", "<visual><materials>");
  EXPECT_TRUE(passFramesUntil([this] { return isLogged("stays as it was read before"); }));
  EXPECT_EQ(session->description().fragile.value().health, 35);
  EXPECT_THAT(session->bspMaterials(), testing::ElementsAre("n_wood"));
  bool isReloaded = false;
  const ks::Connection connection = session->connectReloaded([&isReloaded] { isReloaded = true; });
  root_.replace("content/props/crate.visual", visual);
  EXPECT_TRUE(passFramesUntil([&isReloaded] { return isReloaded; }));
  expectDone(session->save());
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<health>35</health>"));
}

TEST_F(AModelThatChanges, LosesNoEditOfAnotherSession) {
  const auto crate = open(kCrate);
  expectDone(crate->convert(DT_FRAGILE));
  expectDone(crate->set({{"health", "35"}}));
  const auto house = open(kHouse);
  change(*house, "content/buildings/house", otherHouse());
  EXPECT_EQ(crate->description().fragile.value().health, 35);
  KsDestructibleFragileDesc shown;
  EXPECT_TRUE(crate->helper().getFragileParameters(shown));
  EXPECT_EQ(shown.health, 35);
}

TEST_F(AModelThatChanges, IsFollowedByAPanelAsEditsAre) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FRAGILE));
  const auto panel = PanelRecord::open(*session, std::nullopt);
  expectDone(panel);
  auto& record = dynamic_cast<KsDestructibleFragileDesc&>((*panel)->object());
  expectDone(session->set({{"health", "35"}}));
  EXPECT_EQ(record.health, 35);
  change(*session, "content/props/crate",
         {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}, .nodes = {"HP_lid"}, .corner = "2 2 2"});
  EXPECT_EQ(record.health, 35);
  EXPECT_THAT(session->hardPoints(), testing::ElementsAre("HP_lid"));
}

}  // namespace
}  // namespace Tal::authoring
