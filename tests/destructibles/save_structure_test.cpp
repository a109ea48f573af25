#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;

// The fixture that the cases of this suite in saves/ have.
using SavingAStructure = DestructiblesTest;

TEST_F(SavingAStructure, WithATagThatIsEmptyOrNoneWritesNoTag) {
  for (const char* tag : {"", "none"}) {
    writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <achievementTag>old</achievementTag>
      <mass>12</mass>
    </entry>
  </structures>
</root>
)");
    const OpenModel house({}, "house");
    house->setAsStructure();
    Access::moduleMap().erase("house");
    ASSERT_TRUE(house->updateStructureAchievementTag(tag));
    EXPECT_TRUE(house->saveConfig());
    EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <mass>12</mass>
    </entry>
  </structures>
</root>
)") << "tag '"
    << tag << "'";
  }
}

TEST_F(SavingAStructure, WritesOneModulePerMaterialKindTheOneThatSortsFirst) {
  writeDatabase("<root/>");
  const OpenModel house({{{"wall_a", 73}, {"wall_b", 73}, {"wall_c", 74}, {"wall_d", 0}, {"wall_e", 0}},
                         {"wall_a", "wall_b", "wall_c", "wall_d", "wall_e"}},
                        "house");
  house->setAsStructure();
  for (const char* name : {"wall_a", "wall_b", "wall_c", "wall_d", "wall_e"})
    Access::moduleMap()["house"][name].health = 1;
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("wall_a"), Key("wall_c"), Key("wall_d")));
  EXPECT_THAT(readDatabase(), Not(HasSubstr("wall_b")));
}

TEST_F(SavingAStructure, CountsAMaterialKindAsWrittenOnlyForACollisionMaterial) {
  writeDatabase("<root/>");
  const OpenModel house({{{"wall_a", 73}, {"wall_b", 73}}, {"wall_b"}}, "house");
  house->setAsStructure();
  ASSERT_THAT(Access::modules().at("house"), ElementsAre(Key("wall_a"), Key("wall_b")));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(Access::modules().at("house"), ElementsAre(Key("wall_b")));
}

TEST_F(SavingAStructure, WritesEveryModuleWhoseCollisionMaterialHasNoKindNumber) {
  writeDatabase("<root/>");
  const OpenModel house({{}, {"collision_a", "collision_b"}}, "house");
  house->setAsStructure();
  Access::moduleMap()["house"]["collision_a"].health = 1;
  Access::moduleMap()["house"]["collision_b"].health = 2;
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(Access::moduleMap().at("house").at("collision_a").health, 1);
  EXPECT_EQ(Access::moduleMap().at("house").at("collision_b").health, 2);
}

TEST_F(SavingAStructure, EmptiesTheModulesSectionWhenNoModuleIsLeftToWrite) {
  writeDatabase(R"(<r><structures><entry><filename>house</filename><modules>
    <module><matName>gone</matName></module></modules></entry></structures></r>)");
  const OpenModel house({}, "house");
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(readDatabase(), Not(HasSubstr("gone")));
  EXPECT_THAT(Access::moduleMap().at("house"), IsEmpty());
}

TEST_F(SavingAStructure, ThatIsNewWithoutModulesIsAStructureAgainNextTime) {
  writeDatabase("<root/>");
  {
    const OpenModel house({}, "house");
    house->setAsStructure();
    EXPECT_TRUE(house->saveConfig());
  }
  const OpenModel again({}, "house");
  EXPECT_EQ(again->destructibleType(), DT_STRUCTURE);
  EXPECT_THAT(Access::stateMap(), IsEmpty());
}

TEST_F(SavingAStructure, WritesTheSpaceOfAMaterialWithoutAName) {
  writeDatabase("<r/>");
  const OpenModel house({{{"nwall", 73}}, {"nwall"}}, "house");
  Access::moduleMap()["house"];
  house->addDestructibleState("ruined");
  ASSERT_TRUE(house->addMaterialToDestrState("ruined", ""));
  Access::type(*house) = DT_STRUCTURE;
  ASSERT_TRUE(house->saveConfig());
  EXPECT_THAT(readDatabase(), HasSubstr("<destroyedMaterials> </destroyedMaterials>"));
}

TEST_F(SavingAStructure, WritesStatesThatBearTheBuiltInNames) {
  writeDatabase("<root/>");
  const OpenModel house({}, "house");
  house->setAsStructure();
  ASSERT_TRUE(house->addDestructibleState("undamaged"));
  ASSERT_TRUE(house->addDestructibleState("destroyed"));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Key("destroyed"), Key("undamaged")));
}

TEST_F(SavingAStructure, DropsTheLastStateFromTheFile) {
  writeDatabase(R"(<r><structures><entry><filename>house</filename><modules/><states>
    <state><name>ruined</name></state></states></entry></structures></r>)");
  const OpenModel house({}, "house");
  ASSERT_TRUE(house->delDestructibleState("ruined"));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(readDatabase(), Not(HasSubstr("ruined")));
  EXPECT_THAT(Access::stateMap().at("house").states, IsEmpty());
}

TEST_F(SavingAStructure, NeverWritesAModuleWithoutAMaterialName) {
  writeDatabase(R"(<r><structures><entry><filename>house</filename><modules>
    <module><matName></matName><health>31</health></module>
    <module><matName>nwall</matName><health>32</health></module>
  </modules></entry></structures></r>)");
  const OpenModel house({{}, {"nwall", ""}}, "house");
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(readDatabase(), Not(HasSubstr("31")));
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("nwall")));
}

}  // namespace
}  // namespace Tal
