#include <authoring/session_fixture.h>

namespace Tal::authoring {
namespace {

// Two structures and a fragile. The last structure's tag is the one that a load leaves in a helper, and the
// hard points of the house are not those that its module names would give.
constexpr char kTwoStructures[] = R"(<root>
	<structures>
		<entry>
			<filename>content/buildings/house.model</filename>
			<achievementTag>house</achievementTag>
			<modules>
				<module>
					<matName>n_wall_1</matName>
					<health>11</health>
					<effectHP>HP_wall_2</effectHP>
				</module>
				<module>
					<matName>n_wall_2</matName>
					<health>12</health>
					<effectHP></effectHP>
				</module>
			</modules>
		</entry>
		<entry>
			<filename>content/buildings/tower.model</filename>
			<achievementTag>tower</achievementTag>
			<modules>
			</modules>
		</entry>
	</structures>
</root>
)";

class KeptValues : public SessionTest {
 protected:
  KeptValues() {
    writeDatabase(kTwoStructures);
    support::writeModel(root_, "content/buildings/tower",
                        {.materials = {{"n_base_1", 74}, {"n_top_2", 75}},
                         .bsp = {"n_base_1", "n_top_2"},
                         .nodes = {"HP_base"},
                         .corner = "2 2 2"});
  }

  static std::string hardPointOf(Session& session, const std::string& module) {
    return session.description().modules.at(module).effectHP;
  }

  static std::string tagOf(Session& session) {
    std::string tag;
    EXPECT_TRUE(session.helper().getStructureAchievementTag(tag));
    EXPECT_EQ(session.description().achievementTag, tag);
    return tag;
  }
};

TEST_F(KeptValues, TheTagIsTheModelsOwnAfterOpening) {
  EXPECT_EQ(tagOf(*open(kHouse)), "house");
}

TEST_F(KeptValues, TheHardPointsAreThoseOfTheFileAfterOpening) {
  const auto session = open(kHouse);
  EXPECT_EQ(hardPointOf(*session, "n_wall_1"), "HP_wall_2");
  EXPECT_EQ(hardPointOf(*session, "n_wall_2"), "");
}

TEST_F(KeptValues, AModuleThatTheFileLacksGetsTheHardPointOfItsNumber) {
  EXPECT_EQ(hardPointOf(*open(kHouse), "n_roof_3_1"), "HP_wall_1");
}

TEST_F(KeptValues, ASaveWritesTheModelsOwnTagAndHardPoints) {
  auto session = open(kHouse);
  expectDone(session->setModule("n_wall_1", {{"health", "99"}}));
  expectDone(session->save());
  EXPECT_EQ(tagOf(*session), "house");
  EXPECT_EQ(hardPointOf(*session, "n_wall_1"), "HP_wall_2");
  session.reset();
  const auto again = open(kHouse);
  EXPECT_EQ(tagOf(*again), "house");
  EXPECT_EQ(hardPointOf(*again, "n_wall_1"), "HP_wall_2");
  EXPECT_EQ(hardPointOf(*again, "n_wall_2"), "");
  EXPECT_EQ(again->description().modules.at("n_wall_1").health, 99);
}

TEST_F(KeptValues, ASaveLeavesTheOtherStructureByteForByte) {
  const std::string tower(
      kTwoStructures +
      std::string(kTwoStructures).find("\t\t<entry>\n\t\t\t<filename>content/buildings/tower"));
  const auto session = open(kHouse);
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->save());
  EXPECT_THAT(readDatabase(), testing::EndsWith(tower));
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<achievementTag>manor</achievementTag>"));
}

TEST_F(KeptValues, TheTagOfAModelThatBecomesAStructureIsNotAnothers) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_STRUCTURE));
  EXPECT_EQ(tagOf(*session), "");
  expectDone(session->save());
  EXPECT_EQ(tagOf(*session), "");
  const std::string text = readDatabase();
  const std::string entry = text.substr(text.find("<filename>content/props/crate.model"));
  EXPECT_THAT(entry, testing::Not(testing::HasSubstr("achievementTag")));
}

TEST_F(KeptValues, AListenerOfEditsSeesTheModelsOwnTagAndHardPoints) {
  const auto session = open(kHouse);
  std::string tag;
  KsDestructibleModuleDesc module;
  const ks::Connection connection = session->connectEdited([&] {
    session->helper().getStructureAchievementTag(tag);
    session->helper().getDestructibleModule("n_wall_1", module);
  });
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->convert(DT_STRUCTURE));
  EXPECT_EQ(tag, "house");
  EXPECT_EQ(module.effectHP, "HP_wall_2");
}

TEST_F(KeptValues, ConvertingThereAndBackKeepsTagAndHardPoints) {
  const auto session = open(kHouse);
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->convert(DT_STRUCTURE));
  EXPECT_EQ(tagOf(*session), "manor");
  EXPECT_EQ(hardPointOf(*session, "n_wall_1"), "HP_wall_2");
}

TEST_F(KeptValues, AResetRenewsTheRecordsAndKeepsTagHardPointsAndStates) {
  const auto session = open(kHouse);
  expectDone(session->addState("roofless"));
  expectDone(session->addMaterials("roofless", {"n_roof_3_1"}));
  expectDone(session->reset());
  EXPECT_EQ(session->description().modules.at("n_wall_1").health, 50);
  EXPECT_EQ(tagOf(*session), "house");
  EXPECT_EQ(hardPointOf(*session, "n_wall_1"), "HP_wall_2");
  EXPECT_THAT(session->materialsForState("roofless"), testing::ElementsAre("n_roof_3_1"));
}

TEST_F(KeptValues, SessionsOnTwoStructuresKeepTheirTagsThroughEachOthersSaves) {
  const auto house = open(kHouse);
  const auto tower = open("content/buildings/tower.model");
  expectDone(tower->set({{"achievementTag", "keep"}}));
  expectDone(house->set({{"achievementTag", "manor"}}));
  expectDone(house->save());
  EXPECT_EQ(tagOf(*tower), "keep");
  EXPECT_EQ(tagOf(*house), "manor");
  expectDone(tower->save());
  EXPECT_EQ(tagOf(*tower), "keep");
  EXPECT_EQ(tagOf(*house), "manor");
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<achievementTag>keep</achievementTag>"));
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<achievementTag>manor</achievementTag>"));
}

TEST_F(KeptValues, TheLastEntryOfAModelGivesItsTag) {
  writeDatabase(R"(<root><structures>
    <entry><filename>content/buildings/house.model</filename><achievementTag>old</achievementTag><modules/></entry>
    <entry><filename>content/buildings/house.model</filename><achievementTag>new</achievementTag><modules/></entry>
  </structures></root>)");
  EXPECT_EQ(tagOf(*open(kHouse)), "new");
}

TEST_F(KeptValues, AHardPointChosenByHandSurvivesSavingAndOpening) {
  {
    const auto session = open(kHouse);
    expectDone(session->setModule("n_wall_2", {{"effectHP", "HP_wall_1"}}));
    expectDone(session->save());
  }
  {
    const auto session = open(kHouse);
    expectDone(session->setModule("n_wall_1", {{"effectHP", ""}}));
    expectDone(session->save());
  }
  const auto session = open(kHouse);
  EXPECT_EQ(hardPointOf(*session, "n_wall_2"), "HP_wall_1");
  EXPECT_EQ(hardPointOf(*session, "n_wall_1"), "");
}

}  // namespace
}  // namespace Tal::authoring
