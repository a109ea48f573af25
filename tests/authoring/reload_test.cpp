#include <authoring/reload_fixture.h>
#include <core/debug_message.h>
#include <render/render_system.h>
#include <support/message_recorder.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Tal::authoring {
namespace {

TEST_F(AReload, BringsWhatTheFileHoldsNow) {
  const auto session = open(kCrate);
  changeFile(*session, database("8", "fire"));
  EXPECT_EQ(session->description().fragile.value().health, 8);
  EXPECT_EQ(session->description().fragile.value().effect, "fire");
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(AReload, KeepsTheEditsThatWereNotSavedAndTakesTheRest) {
  auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  changeFile(*session, database("8", "fire"));
  EXPECT_EQ(session->description().fragile.value().health, 35);
  EXPECT_EQ(session->description().fragile.value().effect, "fire");
  EXPECT_TRUE(session->hasUnsavedEdits());
  expectDone(session->save());
  session.reset();
  const KsDestructibleFragileDesc saved = open(kCrate)->description().fragile.value();
  EXPECT_EQ(saved.health, 35);
  EXPECT_EQ(saved.effect, "fire");
}

TEST_F(AReload, KeepsAConversionThatWasNotSaved) {
  const auto session = open(kLamp);
  expectDone(session->convert(DT_FALLING_ATOMS));
  expectDone(session->set({{"health", "77"}}));
  changeFile(*session, database("8", "fire"));
  EXPECT_EQ(session->category(), DT_FALLING_ATOMS);
  EXPECT_EQ(session->description().fallingAtom.value().health, 77);
  EXPECT_EQ(session->description().fallingAtom.value().fractureEffect, "inf_streetlamp_fracture");
}

TEST_F(AReload, KeepsTheValuesThatAConversionHasLeftBehindForTheWayBack) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  expectDone(session->convert(DT_FALLING_ATOMS));
  changeFile(*session, database("8", "fire"));
  const Result<Outcome> back = session->convert(DT_FRAGILE);
  EXPECT_THAT(back->warnings, testing::IsEmpty());
  EXPECT_EQ(session->description().fragile.value().health, 35);
  EXPECT_EQ(session->description().fragile.value().effect, "fire");
}

TEST_F(AReload, KeepsTheModulesThatAConversionHasLeftBehindForTheWayBack) {
  writeDatabase(
      "<root><structures><entry><filename>content/buildings/house.model</filename>"
      "<achievementTag>house</achievementTag><modules>"
      "<module><matName>n_wall_1</matName><health>1</health><effectHP>HP_x</effectHP></module>"
      "<module><matName>n_wall_2</matName><health>2</health></module>"
      "</modules></entry></structures></root>");
  for (const KsDestructibleType between : {DT_FRAGILE, DT_FALLING_ATOMS}) {
    const auto session = open(kHouse);
    expectDone(session->setModule("n_wall_2", {{"health", "33"}}));
    expectDone(session->convert(between));
    const auto other = open(kCrate);
    expectDone(other->convert(other->category() == DT_FRAGILE ? DT_FALLING_ATOMS : DT_FRAGILE));
    expectDone(other->save());
    expectDone(session->convert(DT_STRUCTURE));
    const Description description = session->description();
    EXPECT_EQ(description.achievementTag, "house");
    EXPECT_EQ(description.modules.at("n_wall_1").health, 1);
    EXPECT_EQ(description.modules.at("n_wall_1").effectHP, "HP_x");
    EXPECT_EQ(description.modules.at("n_wall_2").health, 33);
  }
}

TEST_F(AReload, KeepsTheModulesThatTheFileLacks) {
  writeDatabase(
      "<root><structures><entry><filename>content/buildings/house.model</filename><modules>"
      "<module><matName>n_wall_1</matName><health>1</health></module></modules></entry></structures></root>");
  const auto session = open(kHouse);
  const Description before = session->description();
  ASSERT_TRUE(before.modules.contains("n_door_4"));
  const auto other = open(kCrate);
  expectDone(other->convert(DT_FRAGILE));
  expectDone(other->save());
  EXPECT_TRUE(isSame(session->description(), before));
  EXPECT_FALSE(session->hasUnsavedEdits());
  expectDone(session->setModule("n_door_4", {{"health", "9"}}));
  const std::string file = readDatabase();
  changeFile(*session, file + "\n");
  EXPECT_EQ(session->description().modules.at("n_door_4").health, 9);
  EXPECT_EQ(session->description().modules.size(), before.modules.size());
}

TEST_F(AReload, WhoseSlotClosesASessionLosesNoEditOfAnother) {
  std::vector<std::string> order = {kCrate, kHouse, kLamp};
  do {
    writeDatabase(database("5", "smoke"));
    std::map<std::string, std::unique_ptr<Session>> sessions;
    for (const std::string& model : order) sessions[model] = open(model);
    const ks::Connection closing = sessions[kLamp]->connectReloaded([&] { sessions[kHouse].reset(); });
    changeFile(*sessions[kCrate], database("8", "fire"));
    expectDone(sessions[kCrate]->set({{"health", "33"}}));
    EXPECT_EQ(sessions[kCrate]->description().fragile.value().health, 33) << testing::PrintToString(order);
    EXPECT_TRUE(sessions[kCrate]->hasUnsavedEdits());
  } while (std::ranges::next_permutation(order).found);
}

TEST_F(AReload, DuringAConversionTakesNothingForAnEditThatIsInTheFile) {
  for (const KsDestructibleType between : {DT_STRUCTURE, DT_FALLING_ATOMS}) {
    writeDatabase(database("5", "smoke"));
    const auto session = open(kCrate);
    expectDone(session->convert(between));
    changeFile(*session, database("8", "fire"));
    expectDone(session->convert(DT_FRAGILE));
    EXPECT_FALSE(session->hasUnsavedEdits());
    changeFile(*session, database("8", "theirs"));
    EXPECT_EQ(session->description().fragile.value().effect, "theirs");
  }
}

TEST_F(AReload, KeepsEditsOfAnEntryThatAnotherProgramRemoved) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  changeFile(*session, "<root>\n</root>\n");
  EXPECT_EQ(session->category(), DT_FRAGILE);
  EXPECT_EQ(session->description().fragile.value().health, 35);
  EXPECT_EQ(session->description().fragile.value().effect, "smoke");
}

TEST_F(AReload, FollowsTheFileToAnotherCategory) {
  const auto session = open(kCrate);
  changeFile(*session,
             "<root><fallingAtoms><entry><filename>content/props/crate.model</filename><health>3</health>"
             "</entry></fallingAtoms></root>");
  EXPECT_EQ(session->category(), DT_FALLING_ATOMS);
  EXPECT_EQ(session->description().fallingAtom.value().health, 3);
  EXPECT_FALSE(session->hasUnsavedEdits());
  changeFile(*session, "<root/>");
  EXPECT_EQ(session->category(), DT_NON_DESTRUCTIBLE);
  changeFile(*session,
             "<root><structures><entry><filename>content/props/crate.model</filename>"
             "<achievementTag>box</achievementTag><modules><module><matName>n_wood</matName>"
             "<effectHP>HP_x</effectHP></module></modules></entry></structures></root>");
  EXPECT_EQ(session->category(), DT_STRUCTURE);
  EXPECT_EQ(session->description().achievementTag, "box");
  EXPECT_EQ(session->description().modules.at("n_wood").effectHP, "HP_x");
}

TEST_F(AReload, KeepsStatesAndModulesOfAStructureThatWereNotSaved) {
  const std::string house =
      "<root><structures><entry><filename>content/buildings/house.model</filename><modules><module>"
      "<matName>n_wall_1</matName><health>1</health></module></modules><states><state><name>open</name>"
      "<destroyedMaterials>n_door_4 "
      "</destroyedMaterials></state><state><name>burnt</name></state></states></entry>"
      "</structures></root>";
  writeDatabase(house);
  const auto session = open(kHouse);
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->setModule("n_wall_1", {{"health", "9"}}));
  expectDone(session->addMaterials("open", {"n_wall_2"}));
  expectDone(session->removeState("burnt"));
  expectDone(session->addState("flooded"));
  changeFile(*session, house + "\n");
  const Description now = session->description();
  EXPECT_EQ(now.achievementTag, "manor");
  EXPECT_EQ(now.modules.at("n_wall_1").health, 9);
  EXPECT_THAT(session->stateNames(), testing::ElementsAre("undamaged", "flooded", "open", "destroyed"));
  EXPECT_THAT(session->materialsForState("open"), testing::ElementsAre("n_door_4", "n_wall_2"));
}

TEST_F(AReload, GivesAStructureItsOwnTagAgain) {
  const auto text = [](const std::string& health) {
    return "<root><structures><entry><filename>content/buildings/house.model</filename>"
           "<achievementTag>house</achievementTag><modules><module><matName>n_wall_1</matName><health>" +
           health +
           "</health><effectHP>HP_wall_2</effectHP></module></modules></entry><entry><filename>other</"
           "filename>"
           "<achievementTag>other</achievementTag></entry></structures></root>";
  };
  writeDatabase(text("1"));
  const auto session = open(kHouse);
  changeFile(*session, text("2"));
  std::string tag;
  EXPECT_TRUE(session->helper().getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "house");
  EXPECT_EQ(session->description().modules.at("n_wall_1").health, 2);
  EXPECT_EQ(session->description().modules.at("n_wall_1").effectHP, "HP_wall_2");
}

TEST_F(AReload, OfAFileThatBecameUnreadableKeepsWhatWasLastRead) {
  const auto session = open(kCrate);
  expectDone(session->set({{"effect", "fire"}}));
  root_.replace(kDatabase, "<root><fragiles>");
  const std::string message =
      "scripts/destructibles.xml cannot be read any more; what was last read of "
      "\"content/props/crate.model\" is "
      "kept until it can";
  EXPECT_TRUE(passFramesUntil([&] {
    const std::vector<std::string> texts = messages_.texts();
    return std::find(texts.begin(), texts.end(), message) != texts.end();
  }));
  EXPECT_EQ(session->category(), DT_FRAGILE);
  EXPECT_EQ(session->description().fragile.value().health, 5);
  EXPECT_EQ(session->description().fragile.value().effect, "fire");
  changeFile(*session, database("8", "smoke"));
  EXPECT_EQ(session->description().fragile.value().health, 8);
  EXPECT_EQ(session->description().fragile.value().effect, "fire");
}

TEST_F(AReload, ThatAnotherSessionCausesKeepsTheEditsOfThisOne) {
  auto crate = open(kCrate);
  expectDone(crate->set({{"health", "35"}}));
  auto lamp = open(kLamp);
  expectDone(lamp->convert(DT_FALLING_ATOMS));
  expectDone(lamp->save());
  KsDestructibleFragileDesc fragile;
  EXPECT_TRUE(crate->helper().getFragileParameters(fragile));
  EXPECT_EQ(fragile.health, 35);
  expectDone(crate->save());
  lamp.reset();
  crate.reset();
  EXPECT_EQ(open(kLamp)->category(), DT_FALLING_ATOMS);
  EXPECT_EQ(open(kCrate)->description().fragile.value().health, 35);
}

TEST_F(AReload, ThatOpeningAnotherSessionCausesKeepsTheEditsOfThisOne) {
  const auto crate = open(kCrate);
  expectDone(crate->set({{"health", "35"}}));
  { const auto closed = open(kLamp); }
  const auto lamp = open(kLamp);  // reads the file, since a helper was destroyed
  KsDestructibleFragileDesc fragile;
  EXPECT_TRUE(crate->helper().getFragileParameters(fragile));
  EXPECT_EQ(fragile.health, 35);
}

TEST_F(AReload, IsToldOfWithTheEditsRestored) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  std::vector<int> seen;
  const ks::Connection connection =
      session->connectReloaded([&] { seen.push_back(session->description().fragile.value().health); });
  changeFile(*session, database("8", "fire"));
  expectDone(session->save());
  EXPECT_THAT(seen, testing::ElementsAre(35, 35));
}

TEST_F(AReload, ThatNobodyHasToldOfYetIsMadeBeforeASave) {
  auto session = open(kCrate);
  root_.replace(kDatabase, database("8", "fire"));
  expectDone(session->set({{"health", "35"}}));
  expectDone(session->save());
  session.reset();
  const KsDestructibleFragileDesc saved = open(kCrate)->description().fragile.value();
  EXPECT_EQ(saved.health, 35);
  EXPECT_EQ(saved.effect, "fire");
}

TEST_F(AReload, ThatNobodyHasToldOfYetIsMadeWhenASecondSessionOpens) {
  const auto lamp = open(kLamp);
  root_.replace(kDatabase, database("8", "fire"));
  EXPECT_EQ(open(kCrate)->description().fragile.value().health, 8);
}

// What is saved while one session hears of a reload comes before the other one hears of it.
TEST_F(AReload, KeepsWhatAnotherProgramSavesBeforeEverySessionHasHeardOfIt) {
  const auto lamp = open(kLamp);
  const auto crate = open(kCrate);
  bool isOver = false;
  const ks::Connection connection = lamp->connectReloaded([this, &isOver] {
    if (!std::exchange(isOver, true)) root_.replace(kDatabase, database("8", "fire"));
  });
  changeFile(*crate, database("8", "smoke"));
  ASSERT_TRUE(isOver);
  EXPECT_EQ(crate->description().fragile.value().effect, "fire") << "whatever the tables were loaded from";
  expectDone(crate->set({{"health", "35"}}));
  expectDone(crate->save());
  EXPECT_THAT(root_.read(kDatabase), testing::AllOf(testing::HasSubstr("<health>35</health>"),
                                                    testing::HasSubstr("<effect>fire</effect>")));
}

/// While it lives, another program writes the database whenever this one logs something.
class ProgramThatWritesAtEveryMessage {
 public:
  ProgramThatWritesAtEveryMessage(const support::TemporaryFolder& root, const std::string& text)
      : previous_(DebugMessageHelper::setSink([this, &root, text](const DebugMessage&) {
          root.replace(kDatabase, text);
          hasWritten_ = true;
        })) {}
  ~ProgramThatWritesAtEveryMessage() { DebugMessageHelper::setSink(std::move(previous_)); }
  ProgramThatWritesAtEveryMessage(const ProgramThatWritesAtEveryMessage&) = delete;
  ProgramThatWritesAtEveryMessage& operator=(const ProgramThatWritesAtEveryMessage&) = delete;

  bool hasWritten() const noexcept { return hasWritten_; }

 private:
  bool hasWritten_ = false;
  DebugMessageHelper::Sink previous_;
};

// The health of such a gate cannot be estimated: opening it logs that, after the tables were loaded.
TEST_F(AReload, KeepsWhatAnotherProgramSavesWhileASessionOpens) {
  const std::string model = "content/gatesandfences/gate";
  support::writeModel(root_, model, {.materials = {{"n_brick", 73}}, .bsp = {"n_brick"}});
  const auto text = [&model](const std::string& effect) {
    return "<root><structures><entry><filename>" + model +
           ".model</filename><modules><module><matName>n_brick</matName><health>5</health><hitEffect>" +
           effect + "</hitEffect></module></modules></entry></structures></root>";
  };
  writeDatabase(text("smoke"));
  std::unique_ptr<Session> session;
  {
    const ProgramThatWritesAtEveryMessage other(root_, text("fire"));
    session = open(model + ".model");
    ASSERT_TRUE(other.hasWritten());
  }
  EXPECT_EQ(session->description().modules.at("n_brick").hitEffect, "fire");
  expectDone(session->setModule("n_brick", {{"health", "35"}}));
  expectDone(session->save());
  EXPECT_THAT(root_.read(kDatabase), testing::AllOf(testing::HasSubstr("<health>35</health>"),
                                                    testing::HasSubstr("<hitEffect>fire</hitEffect>")));
}

TEST_F(AReload, WithoutResourceRootsKeepsWhatWasLastReadAndTheEdits) {
  const auto crate = open(kCrate);
  expectDone(crate->set({{"health", "35"}}));
  auto lamp = open(kLamp);
  FS::setFileSystem(nullptr);
  lamp.reset();  // the next look at the tables loads them again
  EXPECT_EQ(crate->category(), DT_FRAGILE);
  EXPECT_EQ(crate->description().fragile.value().health, 35);
  EXPECT_EQ(crate->description().fragile.value().effect, "smoke");
}

TEST_F(AReload, OfAFileThatWasGoneIsMadeUpForByTheNextSession) {
  const std::string text =
      "<root><structures><entry><filename>content/buildings/house.model</filename><modules><module>"
      "<matName>n_brick</matName><health>77</health></module></modules></entry></structures></root>";
  writeDatabase(text);
  const auto crate = open(kCrate);
  support::MessageRecorder messages;
  std::filesystem::rename(root_ / "scripts", root_ / "away");
  EXPECT_TRUE(passFramesUntil([&] {
    const std::vector<std::string> texts = messages.texts();
    return std::ranges::any_of(texts, [](const std::string& one) {
      return one.find("cannot be read any more") != std::string::npos;
    });
  }));
  std::filesystem::rename(root_ / "away", root_ / "scripts");
  const auto house = open(kHouse);
  EXPECT_EQ(house->description().modules.at("n_brick").health, 77);
  EXPECT_FALSE(house->hasUnsavedEdits());
}

TEST_F(AReload, OfAFileThatWasGoneAtASaveIsMadeUpForByAllSessions) {
  const std::string text =
      "<root><structures><entry><filename>content/buildings/house.model</filename><modules><module>"
      "<matName>n_brick</matName><health>77</health></module></modules></entry></structures><fragiles><entry>"
      "<filename>content/props/crate.model</filename><health>55</health></entry></fragiles></root>";
  writeDatabase(text);
  const auto crate = open(kCrate);
  const auto lamp = open(kLamp);
  std::filesystem::rename(root_ / "scripts", root_ / "away");
  EXPECT_NE(faultText(lamp->save()), "");
  std::filesystem::rename(root_ / "away", root_ / "scripts");
  const auto house = open(kHouse);
  EXPECT_EQ(house->description().modules.at("n_brick").health, 77);
  EXPECT_EQ(crate->description().fragile.value().health, 55);
  expectDone(crate->save());
  EXPECT_THAT(root_.read(kDatabase), testing::HasSubstr("<health>55</health>"));
}

TEST_F(AReload, MayCloseItsOwnSessionFromTheListener) {
  auto session = open(kCrate);
  bool isClosed = false;
  const ks::Connection connection = session->connectReloaded([&] {
    session.reset();
    isClosed = true;
  });
  root_.replace(kDatabase, database("8", "fire"));
  EXPECT_TRUE(passFramesUntil([&isClosed] { return isClosed; }));
}

TEST_F(AReload, MayCloseASessionFromItsListener) {
  auto crate = open(kCrate);
  auto lamp = open(kLamp);
  const ks::Connection connection = crate->connectReloaded([&lamp] { lamp.reset(); });
  changeFile(*crate, database("8", "fire"));
  EXPECT_EQ(lamp, nullptr);
  EXPECT_EQ(crate->description().fragile.value().health, 8);
}

}  // namespace
}  // namespace Tal::authoring
