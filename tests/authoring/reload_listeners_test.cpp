#include <authoring/reload_fixture.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Tal::authoring {
namespace {

TEST_F(AReload, WhoseSlotClosesOneSessionAfterTheOtherLosesNobody) {
  auto lamp = open(kLamp);
  auto crate = open(kCrate);
  auto house = open(kHouse);
  int calls = 0;
  const ks::Connection closing = lamp->connectReloaded([&] { ++calls == 1 ? house.reset() : crate.reset(); });
  changeFile(*lamp, database("8", "fire"));
  EXPECT_EQ(house, nullptr);
  changeFile(*lamp, database("9", "fire"));
  EXPECT_EQ(crate, nullptr);
  EXPECT_EQ(open(kCrate)->description().fragile.value().health, 9);
}

TEST_F(AReload, WhoseSlotEditsAnotherSessionBehindAClosedOneKeepsThatEdit) {
  auto lamp = open(kLamp);
  const auto crate = open(kCrate);
  auto house = open(kHouse);
  int calls = 0;
  const ks::Connection editing = lamp->connectReloaded([&] {
    ++calls;
    if (calls == 1) house.reset();
    if (calls == 2) expectDone(crate->set({{"health", "77"}}));
  });
  changeFile(*crate, database("8", "smoke"));
  changeFile(*crate, database("9", "fire"));
  EXPECT_GE(calls, 2);
  EXPECT_EQ(crate->description().fragile.value().health, 77);
  EXPECT_EQ(crate->description().fragile.value().effect, "fire");
  EXPECT_TRUE(crate->hasUnsavedEdits());
}

TEST_F(AReload, WhoseSlotEditsTheSessionThatSavesKeepsThatEdit) {
  for (const bool isLampFirst : {false, true}) {
    writeDatabase(database("5", "smoke"));
    auto lamp = isLampFirst ? open(kLamp) : nullptr;
    auto crate = open(kCrate);
    if (!lamp) lamp = open(kLamp);
    const ks::Connection editing = lamp->connectReloaded([&] { expectDone(crate->set({{"health", "77"}})); });
    expectDone(crate->set({{"health", "9"}}));
    expectDone(crate->save());
    EXPECT_THAT(readDatabase(), testing::HasSubstr("<health>9</health>"));
    EXPECT_EQ(crate->description().fragile.value().health, 77);
    EXPECT_TRUE(crate->hasUnsavedEdits());
  }
}

TEST_F(AReload, WhoseSlotOpensAndClosesASessionComesToAnEnd) {
  const auto lamp = open(kLamp);
  const auto crate = open(kCrate);
  int calls = 0;
  const ks::Connection opening = crate->connectReloaded([&] {
    ++calls;
    open(kHouse);
  });
  changeFile(*lamp, database("8", "fire"));
  EXPECT_EQ(calls, 1);
}

TEST_F(AReload, WhoseSlotOpensASessionOpensNoModelTwice) {
  const auto crate = open(kCrate);
  std::vector<Result<std::unique_ptr<Session>>> opened;
  const ks::Connection opening = crate->connectReloaded([&] { opened.push_back(Session::open(kLamp)); });
  root_.replace(kDatabase, database("8", "fire"));
  opened.push_back(Session::open(kLamp));
  ASSERT_EQ(opened.size(), 2U);
  EXPECT_NE(static_cast<bool>(opened[0]), static_cast<bool>(opened[1]));
}

TEST_F(AReload, ThatFailsTakesNoRecordFromAnySession) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename><health>55</health></entry>"
      "</fragiles></root>");
  const auto crate = open(kCrate);
  const auto lamp = open(kLamp);
  expectDone(lamp->convert(DT_FALLING_ATOMS));
  std::filesystem::rename(root_ / "scripts", root_ / "away");
  EXPECT_FALSE(lamp->helper().loadConfig(true)) << "the tables are empty now";
  std::filesystem::rename(root_ / "away", root_ / "scripts");
  ASSERT_TRUE(crate->description().fragile.has_value());
  EXPECT_EQ(crate->description().fragile->health, 55);
  EXPECT_FALSE(crate->hasUnsavedEdits());
  expectDone(crate->set({{"effect", "fire"}}));
  expectDone(crate->save());
  EXPECT_THAT(readDatabase(), testing::AllOf(testing::HasSubstr("<health>55</health>"),
                                             testing::HasSubstr("<effect>fire</effect>")));
}

TEST_F(AReload, BringsTheValuesOfAnotherProgramThatMadeTheSameConversion) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FALLING_ATOMS));
  expectDone(session->set({{"lifetimeEffect", "mine"}}));
  changeFile(*session,
             "<root><fallingAtoms><entry><filename>content/props/crate.model</filename><health>333</health>"
             "<lifetimeEffect>theirs</lifetimeEffect><achievementTag>THEIRS</achievementTag></entry>"
             "</fallingAtoms></root>");
  const KsDestructibleFallingAtomDesc now = session->description().fallingAtom.value();
  EXPECT_EQ(now.health, 333);
  EXPECT_EQ(now.achievementTag, "THEIRS");
  EXPECT_EQ(now.lifetimeEffect, "mine");
}

TEST_F(AReload, DoesNotBringBackWhatAResetHasThrownAway) {
  const auto text = [](const std::string& rest) {
    return "<root><structures><entry><filename>content/buildings/house.model</filename><modules>"
           "<module><matName>n_wall_1</matName><health>1</health></module>"
           "<module><matName>n_gone_9</matName><health>500</health></module>"
           "</modules></entry></structures></root>" +
           rest;
  };
  writeDatabase(text(""));
  const auto session = open(kHouse);
  expectDone(session->reset());
  const Description before = session->description();
  EXPECT_FALSE(before.modules.contains("n_gone_9"));
  changeFile(*session, text("\n"));
  EXPECT_TRUE(isSame(session->description(), before));
  KsDestructibleModuleDesc module;
  EXPECT_FALSE(session->helper().getDestructibleModule("n_gone_9", module));
}

constexpr const char* kAtom =
    "<root><fallingAtoms><entry><filename>content/props/crate.model</filename><health>3</health></entry>"
    "</fallingAtoms></root>";

TEST_F(AReload, TakesNothingThatWasInTheFileBeforeForAnEdit) {
  for (const char* const between : {kAtom, "<root/>"}) {
    writeDatabase(database("5", "smoke"));
    const auto session = open(kCrate);
    changeFile(*session, between);
    changeFile(*session, database("99", "theirs"));
    EXPECT_EQ(session->description().fragile.value().health, 99);
    EXPECT_EQ(session->description().fragile.value().effect, "theirs");
    EXPECT_FALSE(session->hasUnsavedEdits());
  }
}

TEST_F(AReload, TakesNothingThatASaveHasRemovedForAnEdit) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FALLING_ATOMS));
  expectDone(session->save());
  changeFile(*session, database("99", "theirs"));
  EXPECT_EQ(session->description().fragile.value().health, 99);
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(AReload, BringsTheUneditedValuesOfARecordThatAnotherProgramTookAwayAndMadeAgain) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  changeFile(*session, kAtom);
  changeFile(*session, database("99", "theirs"));
  EXPECT_EQ(session->description().fragile.value().health, 35);
  EXPECT_EQ(session->description().fragile.value().effect, "theirs");
}

std::string houseOf(const std::vector<std::string>& modules, const std::string& health) {
  std::string text = "<root><structures><entry><filename>content/buildings/house.model</filename><modules>";
  for (const std::string& module : modules)
    text += "<module><matName>" + module + "</matName><health>" + health + "</health></module>";
  return text + "</modules></entry></structures></root>";
}

TEST_F(AReload, BehindASaveShowsTheModulesThatTheNextSaveAddsAndTellsOfThem) {
  writeDatabase(houseOf({"n_door_4", "n_wall_1", "n_wall_2"}, "200"));
  const auto session = open(kHouse);
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->save());
  root_.replace(kDatabase, houseOf({"n_door_4", "n_wall_1"}, "200"));
  expectDone(session->set({{"achievementTag", "hall"}}));
  const auto saved = session->save();
  expectDone(saved);
  EXPECT_THAT(saved->warnings,
              testing::Contains(testing::HasSubstr("module \"n_wall_2\" is added with health 50")));
  EXPECT_EQ(session->description().modules.at("n_wall_2").health, 50);
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(AReload, OfAModuleThatAResetHasRemovedIsToldOfByTheSaveThatRemovesIt) {
  writeDatabase(houseOf({"n_gone_9", "n_wall_1"}, "500"));
  const auto session = open(kHouse);
  expectDone(session->reset());
  changeFile(*session, houseOf({"n_gone_9", "n_wall_1"}, "501"));
  const auto saved = session->save();
  expectDone(saved);
  EXPECT_THAT(saved->warnings, testing::Contains(testing::AllOf(testing::HasSubstr("n_gone_9"),
                                                                testing::HasSubstr("health=501"))));
}

TEST_F(AReload, OfAModuleThatAResetHasRemovedIsToldOfAsTheFileHasItAtTheSave) {
  for (const bool isRemovedMeanwhile : {false, true}) {
    writeDatabase(houseOf({"n_gone_9", "n_wall_1"}, "500"));
    const auto session = open(kHouse);
    expectDone(session->reset());
    changeFile(*session, houseOf({"n_gone_9", "n_wall_1"}, "501"));
    changeFile(*session, houseOf({"n_wall_1"}, "502"));
    if (!isRemovedMeanwhile) changeFile(*session, houseOf({"n_gone_9", "n_wall_1"}, "503"));
    const auto saved = session->save();
    expectDone(saved);
    EXPECT_THAT(saved->warnings, testing::Not(testing::Contains(testing::HasSubstr("health=501"))));
    const auto isOfTheModule = testing::AllOf(testing::HasSubstr("n_gone_9"), testing::HasSubstr("503"));
    EXPECT_THAT(saved->warnings, testing::Contains(isOfTheModule).Times(isRemovedMeanwhile ? 0 : 1));
  }
}

TEST_F(AReload, ThatNobodyHasToldOfYetIsMadeBeforeAStateIsShown) {
  const std::string house = houseOf({"n_wall_1"}, "500");
  std::string withState = house;
  withState.insert(house.find("<modules>"), "<states><state><name>open</name></state></states>");
  writeDatabase(withState);
  const auto session = open(kHouse);
  root_.replace(kDatabase, house);
  open(kLamp).reset();  // loads the tables anew
  EXPECT_EQ(
      faultText(session->showState("open")),
      "\"content/buildings/house.model\" has no state \"open\"; there are \"undamaged\" and \"destroyed\"");
  EXPECT_EQ(session->shownState(), "undamaged");
}

TEST_F(AReload, WhoseSlotSavesSeesAtOnceWhatIsInTheFile) {
  const std::string house = houseOf({"n_wall_1"}, "500");
  std::string withState = house;
  withState.insert(house.find("<modules>"), "<states><state><name>open</name></state></states>");
  writeDatabase(withState);
  const auto session = open(kHouse);
  const ks::Connection connection = session->connectReloaded([&] {
    if (session->category() != DT_STRUCTURE) return;
    expectDone(session->convert(DT_FRAGILE));
    expectDone(session->save());
    EXPECT_TRUE(session->description().states.empty());
    EXPECT_FALSE(session->hasUnsavedEdits());
  });
  changeFile(*session, withState + "\n");
  EXPECT_EQ(session->category(), DT_FRAGILE);
}

TEST_F(AReload, OfASaveDuringWhichAnEditWasSavedLeavesNothingUnsaved) {
  const auto session = open(kCrate);
  int calls = 0;
  ks::Connection connection = session->helper().connectLoadedConfigSignal([&] {
    if (++calls > 1) return;
    expectDone(session->set({{"health", "72"}}));
    expectDone(session->save());
  });
  expectDone(session->set({{"health", "51"}}));
  expectDone(session->save());
  connection.disconnect();
  EXPECT_FALSE(session->hasUnsavedEdits());
  changeFile(*session, database("200", "smoke"));
  EXPECT_EQ(session->description().fragile.value().health, 200);
}

TEST_F(AReload, TakesNothingForAnEditOnceTheFileAndTheModelHoldNothing) {
  for (const KsDestructibleType meanwhile : {DT_FALLING_ATOMS, DT_STRUCTURE}) {
    writeDatabase(database("5", "smoke"));
    const auto session = open(kCrate);
    expectDone(session->convert(meanwhile));
    changeFile(*session, "<root/>");
    expectDone(session->convert(DT_NON_DESTRUCTIBLE));
    EXPECT_FALSE(session->hasUnsavedEdits());
    changeFile(*session, database("300", "smoke"));
    EXPECT_EQ(session->category(), DT_FRAGILE);
    EXPECT_EQ(session->description().fragile.value().health, 300);
  }
}

TEST_F(AReload, KeepsTheEditsOfAStructureThatAnotherProgramTakesAwayAndPutsBack) {
  std::string house = houseOf({"n_door_4", "n_wall_1", "n_wall_2"}, "200");
  house.insert(house.find("<modules>"),
               "<achievementTag>manor</achievementTag><states><state><name>open</name></state></states>");
  writeDatabase(house);
  const auto session = open(kHouse);
  expectDone(session->setModule("n_wall_1", {{"health", "50"}}));  // what a new module has, too
  expectDone(session->set({{"achievementTag", ""}}));
  expectDone(session->removeState("open"));
  changeFile(*session, "<root/>");
  EXPECT_EQ(session->description().modules.at("n_wall_2").health, 200);
  std::string again = house;
  again.insert(again.find("<health>"), "<effectHP>HP_wall_2</effectHP>");
  changeFile(*session, again);
  const Description now = session->description();
  EXPECT_EQ(now.modules.at("n_wall_1").health, 50);
  EXPECT_EQ(now.modules.at("n_door_4").effectHP, "HP_wall_2");
  EXPECT_EQ(now.achievementTag, "");
  EXPECT_TRUE(now.states.empty());
  EXPECT_TRUE(session->hasUnsavedEdits());
}

TEST_F(AReload, OfAConvertedStructureShowsNoStatesThatNoSaveWrites) {
  const std::string house = houseOf({"n_wall_1"}, "200");
  writeDatabase(house);
  const auto session = open(kHouse);
  expectDone(session->addState("open"));
  expectDone(session->convert(DT_FRAGILE));
  changeFile(*session, "<root/>");
  EXPECT_TRUE(session->description().states.empty());
}

TEST_F(AReload, DuringASaveKeepsWhatAConversionByAListenerLeavesBehind) {
  const auto session = open(kCrate);
  int calls = 0;
  ks::Connection connection = session->helper().connectLoadedConfigSignal([&] {
    if (++calls == 1) expectDone(session->convert(DT_FALLING_ATOMS));
  });
  expectDone(session->set({{"health", "51"}}));
  expectDone(session->save());
  connection.disconnect();
  expectDone(session->convert(DT_FRAGILE));
  EXPECT_EQ(session->description().fragile.value().health, 51);
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(AReload, IsNotToldOfWhenASaveHadNothingToWrite) {
  const auto session = open(kCrate);
  int calls = 0;
  const ks::Connection connection = session->connectReloaded([&] {
    if (++calls < 10) expectDone(session->save());
  });
  expectDone(session->set({{"health", "35"}}));
  expectDone(session->save());
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace Tal::authoring
