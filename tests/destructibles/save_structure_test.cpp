#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;

class SavingAStructure : public DestructiblesTest {
 protected:
  /// A structure with an entry that holds nothing but its name, behind another model's.
  void writeBareHouse() const {
    writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>other</filename>
      <achievementTag></achievementTag>
    </entry>
    <entry>
      <filename>house</filename>
    </entry>
  </structures>
</root>
)");
  }
};

TEST_F(SavingAStructure, WritesTagStatesAndModulesWithTheirKeysInOrder) {
  writeBareHouse();
  const OpenModel house({{{"nwall", 73}, {"nroof", 74}}, {"nwall", "nroof"}, {"HP_1"}}, "house");
  house->setAsStructure();
  KsDestructibleModuleDesc wall;
  wall.health = 12;
  wall.effectScale = 0.1F;
  wall.effectHP = "HP_1";
  wall.ramEffect = "ram";
  wall.hitEffect = "hit";
  wall.decayEffect = "decay";
  KsDestructibleModuleDesc roof;
  roof.effectHP = "HP_1";
  Access::moduleMap()["house"] = {{"nwall", wall}, {"nroof", roof}};
  Access::stateMap()["house"].states = {{"ruined", {"wall", "roof"}}, {"burnt", {"roof"}}};
  ASSERT_TRUE(house->updateStructureAchievementTag("hero"));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>other</filename>
      <achievementTag></achievementTag>
    </entry>
    <entry>
      <filename>house</filename>
      <achievementTag>hero</achievementTag>
      <states>
        <state>
          <name>burnt</name>
          <destroyedMaterials>roof </destroyedMaterials>
        </state>
        <state>
          <name>ruined</name>
          <destroyedMaterials>wall roof </destroyedMaterials>
        </state>
      </states>
      <modules>
        <module>
          <matName>nroof</matName>
          <health>80</health>
          <decayEffect>none</decayEffect>
          <ramEffect>none</ramEffect>
          <effectHP>HP_1</effectHP>
          <effectScale>1</effectScale>
        </module>
        <module>
          <matName>nwall</matName>
          <health>12</health>
          <decayEffect>decay</decayEffect>
          <ramEffect>ram</ramEffect>
          <hitEffect>hit</hitEffect>
          <effectHP>HP_1</effectHP>
          <effectScale>0.1</effectScale>
        </module>
      </modules>
    </entry>
  </structures>
</root>
)");
  EXPECT_THAT(Access::stateMap().at("house").states,
              ElementsAre(Pair("burnt", ElementsAre("roof")), Pair("ruined", ElementsAre("wall", "roof"))));
}

TEST_F(SavingAStructure, RewritesItsStatesAndModulesAndKeepsItsUnknownKeys) {
  writeDatabase(R"(<root>
  <structures>
    <entry>
      <!-- the house -->
      <filename>house</filename>
      <modules>
        <note>gone with the modules</note>
        <module>
          <matName>nwall</matName>
          <health>1</health>
          <colour>red</colour>
        </module>
      </modules>
      <mass>12</mass>
      <states>
        <state>
          <name>old</name>
        </state>
        <note>kept</note>
        <state>
          <name>older</name>
        </state>
      </states>
    </entry>
  </structures>
</root>
)");
  const OpenModel house({{{"nwall", 73}}, {"nwall"}, {"HP_1"}}, "house");
  Access::stateMap()["house"].states = {{"new", {"nwall"}}};
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <!-- the house -->
      <filename>house</filename>
      <modules>
        <module>
          <matName>nwall</matName>
          <health>1</health>
          <decayEffect>none</decayEffect>
          <ramEffect>none</ramEffect>
          <effectHP>HP_1</effectHP>
          <effectScale>1</effectScale>
        </module>
      </modules>
      <mass>12</mass>
      <states>
        <note>kept</note>
        <state>
          <name>new</name>
          <destroyedMaterials>nwall </destroyedMaterials>
        </state>
      </states>
    </entry>
  </structures>
</root>
)");
}

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

TEST_F(SavingAStructure, WritesTheTagThatTheLoadLeftInTheHelperAlsoWhenItIsAnotherModels) {
  writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <achievementTag>mine</achievementTag>
      <modules/>
    </entry>
    <entry>
      <filename>other</filename>
      <achievementTag>other's</achievementTag>
    </entry>
  </structures>
</root>
)");
  const OpenModel house({}, "house");
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <achievementTag>other's</achievementTag>
      <modules/>
    </entry>
    <entry>
      <filename>other</filename>
      <achievementTag>other's</achievementTag>
    </entry>
  </structures>
</root>
)");
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

TEST_F(SavingAStructure, DropsAModuleOfAMaterialThatTheModelLacksFromFileAndTables) {
  writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <modules>
        <module>
          <matName>gone</matName>
        </module>
        <module>
          <matName>nroof</matName>
          <effectHP>HP_1</effectHP>
        </module>
      </modules>
    </entry>
  </structures>
</root>
)");
  // "nwall" is a material, but no collision material
  const OpenModel house({{{"nwall", 73}, {"nroof", 74}}, {"nroof"}, {"HP_1"}}, "house");
  ASSERT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("gone"), Key("nroof"), Key("nwall")));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <modules>
        <module>
          <matName>nroof</matName>
          <health>80</health>
          <decayEffect>none</decayEffect>
          <ramEffect>none</ramEffect>
          <effectHP>HP_1</effectHP>
          <effectScale>1</effectScale>
        </module>
      </modules>
    </entry>
  </structures>
</root>
)");
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("nroof")));
}

TEST_F(SavingAStructure, EmptiesTheModulesSectionWhenNoModuleIsLeftToWrite) {
  writeDatabase(R"(<r><structures><entry><filename>house</filename><modules>
    <module><matName>gone</matName></module></modules></entry></structures></r>)");
  const OpenModel house({}, "house");
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(readDatabase(), Not(HasSubstr("gone")));
  EXPECT_THAT(Access::moduleMap().at("house"), IsEmpty());
}

TEST_F(SavingAStructure, WithAnEmptyModuleTableKeepsTheModulesOfTheFile) {
  const std::string text = R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <modules>
        <module>
          <matName>nwall</matName>
        </module>
      </modules>
    </entry>
  </structures>
</root>
)";
  writeDatabase(text);
  const OpenModel house({{}, {"nwall"}}, "house");
  Access::moduleMap()["house"].clear();
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), text);
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("nwall")));
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

TEST_F(SavingAStructure, ThatIsInNeitherTableKeepsTheStatesAndModulesOfItsEntry) {
  const std::string text = R"(<root>
  <structures>
    <entry>
      <filename>house</filename>
      <modules>
        <module>
          <matName>nwall</matName>
        </module>
      </modules>
      <states>
        <state>
          <name>ruined</name>
          <destroyedMaterials>nwall</destroyedMaterials>
        </state>
      </states>
    </entry>
  </structures>
</root>
)";
  writeDatabase(text);
  const OpenModel house({{}, {"nwall"}}, "house");
  Access::moduleMap().erase("house");
  Access::stateMap().erase("house");
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), text);
}

TEST_F(SavingAStructure, ThatIsInNeitherTableAndNotInTheFileWritesItsNameAndTagOnly) {
  writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>other</filename>
    </entry>
  </structures>
</root>
)");
  const OpenModel house({}, "house");
  house->setAsStructure();
  Access::moduleMap().erase("house");
  ASSERT_TRUE(house->updateStructureAchievementTag("hero"));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>other</filename>
    </entry>
    <entry>
      <filename>house</filename>
      <achievementTag>hero</achievementTag>
    </entry>
  </structures>
</root>
)");
}

TEST_F(SavingAStructure, WritesAStateWithoutMaterialsWithAnEmptyValue) {
  writeBareHouse();
  const OpenModel house({}, "house");
  house->setAsStructure();
  ASSERT_TRUE(house->addDestructibleState("bare"));
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>other</filename>
      <achievementTag></achievementTag>
    </entry>
    <entry>
      <filename>house</filename>
      <states>
        <state>
          <name>bare</name>
          <destroyedMaterials/>
        </state>
      </states>
      <modules/>
    </entry>
  </structures>
</root>
)");
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("bare", IsEmpty())));
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

TEST_F(SavingAStructure, RemovesItsFormerFragileEntryAfterAConversion) {
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>house</filename>
    </entry>
    <entry>
      <filename>other</filename>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel house({{{"nwall", 73}}, {"nwall"}, {"HP_1"}}, "house");
  house->setAsStructure();
  EXPECT_TRUE(house->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fragiles>
    <entry>
      <filename>other</filename>
    </entry>
  </fragiles>
  <structures>
    <entry>
      <filename>house</filename>
      <modules>
        <module>
          <matName>nwall</matName>
          <health>50</health>
          <decayEffect>none</decayEffect>
          <ramEffect>inf_bld_UNI_000_Base_02</ramEffect>
          <hitEffect>inf_bld_UNI_000_Base_02</hitEffect>
          <effectHP>HP_1</effectHP>
          <effectScale>1</effectScale>
        </module>
      </modules>
    </entry>
  </structures>
</root>
)");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("other")));
}

}  // namespace
}  // namespace Tal
