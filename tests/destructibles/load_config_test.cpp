#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

class LoadingTheDatabase : public DestructiblesTest {
 protected:
  LoadingTheDatabase() { messages_.clear(); }  // the helper has no disabler and says so

  /// Loads a database of the given text through `helper_`.
  void load(std::string_view text) {
    writeDatabase(text);
    ASSERT_TRUE(helper_.loadConfig(true));
  }

  KsDestructiblesHelper helper_;
};

// --- When the file is read ---

TEST_F(LoadingTheDatabase, IsDoneByTheFirstHelperAndNotByTheSecond) {
  writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  const OpenModel first({}, "m");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
  writeDatabase("<r><fragiles><entry><filename>b</filename></entry></fragiles></r>");
  const OpenModel second({}, "m");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
  EXPECT_FALSE(second->loadConfig(false));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
}

TEST_F(LoadingTheDatabase, IsDoneWithoutForceWhenNothingWasLoadedYet) {
  writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  EXPECT_TRUE(helper_.loadConfig(false));
  EXPECT_TRUE(Access::hasLoaded());
  EXPECT_FALSE(helper_.loadConfig(false));
}

TEST_F(LoadingTheDatabase, AgainByForceRebuildsTheTables) {
  load("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  load("<r><fragiles><entry><filename>b</filename></entry></fragiles></r>");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("b")));
}

TEST_F(LoadingTheDatabase, WhenLoadedAlreadyTellsNobodyAndChangesNothing) {
  load("<r/>");
  Access::fragileMap()["in memory"].health = 3;
  int told = 0;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] { ++told; });
  EXPECT_FALSE(helper_.loadConfig(false));
  EXPECT_EQ(told, 0);
  EXPECT_EQ(Access::fragileMap().at("in memory").health, 3);
}

TEST_F(LoadingTheDatabase, DropsWhatWasMadeInMemory) {
  Access::stateMap()["m"].states["s"] = {"a"};
  Access::moduleMap()["m"]["a"].health = 1;
  Access::fragileMap()["m"].health = 1;
  Access::fallingAtomMap()["m"].health = 1;
  load("<r/>");
  EXPECT_TRUE(Access::tablesAreEmpty());
}

TEST_F(LoadingTheDatabase, ThatIsMissingLeavesTheTablesEmptyAndIsNotTriedAgain) {
  Access::stateMap()["m"].states["s"] = {"a"};
  Access::moduleMap()["m"]["a"].health = 1;
  Access::fragileMap()["m"].health = 1;
  Access::fallingAtomMap()["m"].health = 1;
  int told = 0;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] { ++told; });
  EXPECT_FALSE(helper_.loadConfig(false));
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_TRUE(Access::hasLoaded());
  EXPECT_EQ(told, 0);
  EXPECT_THAT(messages_.messages(), IsEmpty());
  const OpenModel later({}, "a");

  writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  EXPECT_FALSE(helper_.loadConfig(false));
  EXPECT_FALSE(later->loadConfig(false));
  const OpenModel latest({}, "a");
  EXPECT_EQ(latest->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_TRUE(helper_.loadConfig(true));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
}

TEST_F(LoadingTheDatabase, ThatIsBrokenEmptiesTheTablesAndTellsNobody) {
  load("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  int told = 0;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] { ++told; });
  writeDatabase("<r><fragiles><entry><filename>a</filename></entry>");
  EXPECT_FALSE(helper_.loadConfig(true));
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_TRUE(Access::hasLoaded());
  EXPECT_EQ(told, 0);
}

TEST_F(LoadingTheDatabase, WithoutAFileSystemLeavesTheTablesEmpty) {
  FS::setFileSystem(nullptr);
  Access::fragileMap()["m"].health = 1;
  EXPECT_FALSE(helper_.loadConfig(true));
  EXPECT_TRUE(Access::tablesAreEmpty());
}

// --- Who is told ---

TEST_F(LoadingTheDatabase, TellsTheListenersOfTheLoadingHelperOnlyWhenAllTablesAreComplete) {
  writeDatabase(R"(<r>
    <fragiles><entry><filename>a</filename></entry></fragiles>
    <structures><entry><filename>b</filename><modules/></entry></structures>
  </r>)");
  KsDestructiblesHelper other;
  Strings told;
  const ks::Connection onOther = other.connectLoadedConfigSignal([&] { told.emplace_back("other"); });
  const ks::Connection onLoader = helper_.connectLoadedConfigSignal([&] {
    told.emplace_back(Access::fragileMap().count("a") + Access::moduleMap().count("b") == 2 ? "complete"
                                                                                            : "torn");
  });
  EXPECT_TRUE(helper_.loadConfig(true));
  EXPECT_THAT(told, ElementsAre("complete"));
}

TEST_F(LoadingTheDatabase, TellsTheListenersOnceHoweverManySectionsTheFileHas) {
  int told = 0;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] { ++told; });
  load("<r><trees/><fragiles/><fallingAtoms/><structures/><structures/></r>");
  EXPECT_EQ(told, 1);
}

TEST_F(LoadingTheDatabase, DoesNotTellOfAChangedCategory) {
  int told = 0;
  const ks::Connection listening = helper_.connectDestructibleTypeChanged([&] { ++told; });
  load("<r/>");
  EXPECT_EQ(told, 0);
}

// --- Sections ---

TEST_F(LoadingTheDatabase, OfTreesAloneYieldsEmptyTablesAndSucceeds) {
  writeDatabase(R"(<r><trees><entry><filename>oak</filename><health>5</health>
    <achievementTag>tree</achievementTag><modules><module><matName>x</matName></module></modules>
  </entry></trees></r>)");
  EXPECT_TRUE(helper_.loadConfig(true));
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_EQ(Access::structureAchievementTag(helper_), "");
}

TEST_F(LoadingTheDatabase, ReadsASectionOfAnyOtherTagAsStructures) {
  load(R"(<r><buildings><entry><filename>hut</filename><modules>
    <module><matName>wall</matName></module></modules></entry></buildings></r>)");
  EXPECT_THAT(Access::moduleMap().at("hut"), ElementsAre(Key("wall")));
}

TEST_F(LoadingTheDatabase, ComparesSectionTagsInTheirExactCase) {
  load(R"(<r>
    <Fragiles><entry><filename>a</filename><modules/></entry></Fragiles>
    <FALLINGATOMS><entry><filename>b</filename><modules/></entry></FALLINGATOMS>
    <Trees><entry><filename>c</filename><modules/></entry></Trees>
    <fragile><entry><filename>d</filename><modules/></entry></fragile>
  </r>)");
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Key("a"), Key("b"), Key("c"), Key("d")));
  EXPECT_THAT(Access::fragileMap(), IsEmpty());
  EXPECT_THAT(Access::fallingAtomMap(), IsEmpty());
}

TEST_F(LoadingTheDatabase, DoesNotLookAtTheTagsOfTheRootTheEntriesAndTheRepeatedChildren) {
  load(R"(<anything>
    <fragiles><a><filename>f</filename></a><b><filename>g</filename></b></fragiles>
    <structures><c><filename>s</filename>
      <modules><d><matName>wall</matName></d><e><matName>roof</matName></e></modules>
      <states><f><name>ruined</name></f><g><name>gone</name></g></states>
    </c></structures>
  </anything>)");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("f"), Key("g")));
  EXPECT_THAT(Access::moduleMap().at("s"), ElementsAre(Key("roof"), Key("wall")));
  EXPECT_THAT(Access::stateMap().at("s").states, ElementsAre(Key("gone"), Key("ruined")));
}

TEST_F(LoadingTheDatabase, StoresAnEntryWithoutAFilenameUnderTheEmptyKey) {
  load(R"(<r>
    <fragiles><entry><health>1</health></entry></fragiles>
    <fallingAtoms><entry><filename></filename><health>2</health></entry></fallingAtoms>
    <structures><entry><modules/><states/></entry></structures>
  </r>)");
  EXPECT_EQ(Access::fragileMap().at("").health, 1);
  EXPECT_EQ(Access::fallingAtomMap().at("").health, 2);
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Key("")));
  EXPECT_THAT(Access::stateMap(), ElementsAre(Key("")));
}

TEST_F(LoadingTheDatabase, ReadsSpecialCharactersInNamesAsWhatTheyStandFor) {
  load(
      "<r><fragiles><entry><filename>a&amp;b &lt;100%s&gt; "
      "&quot;é&#x20AC;</filename></entry></fragiles></r>");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a&b <100%s> \"é€")));
}

// --- Fragiles and falling atoms ---

TEST_F(LoadingTheDatabase, ReadsEveryKeyOfAFragile) {
  load(R"(<r><fragiles><entry>
    <filename>crate.model</filename><health>12</health><effect>main</effect><hitEffect>hit</hitEffect>
    <effectHP>HP_a</effectHP><effectScale>2.5</effectScale><decayEffect>decay</decayEffect>
    <matName>wood</matName><lifetimeEffect>life</lifetimeEffect><achievementTag>tag</achievementTag>
  </entry></fragiles></r>)");
  const KsDestructibleFragileDesc& desc = Access::fragileMap().at("crate.model");
  EXPECT_EQ(desc.health, 12);
  EXPECT_EQ(desc.effect, "main");
  EXPECT_EQ(desc.hitEffect, "hit");
  EXPECT_EQ(desc.effectHP, "HP_a");
  EXPECT_EQ(desc.effectScale, 2.5F);
  EXPECT_EQ(desc.decayEffect, "decay");
  EXPECT_EQ(desc.matName, "wood");
  EXPECT_EQ(desc.lifetimeEffect, "life");
  EXPECT_EQ(desc.achievementTag, "tag");
}

TEST_F(LoadingTheDatabase, GivesTheAbsentKeysOfAFragileTheirReadDefaults) {
  load("<r><fragiles><entry><filename>crate.model</filename></entry></fragiles></r>");
  const KsDestructibleFragileDesc& desc = Access::fragileMap().at("crate.model");
  EXPECT_EQ(desc.health, 5);
  EXPECT_EQ(desc.effect, "none");
  EXPECT_EQ(desc.hitEffect, "");
  EXPECT_EQ(desc.effectHP, "");
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.decayEffect, "none");
  EXPECT_EQ(desc.matName, "");
  EXPECT_EQ(desc.lifetimeEffect, "none");
  EXPECT_EQ(desc.achievementTag, "");
}

TEST_F(LoadingTheDatabase, ReadsEveryKeyOfAFallingAtom) {
  load(R"(<r><fallingAtoms><entry>
    <filename>lamp.model</filename><health>12</health><physicParams>1 2 3 4 5 6 7</physicParams>
    <lifetimeEffect>life</lifetimeEffect><fractureEffect>fracture</fractureEffect>
    <touchdownEffect>touchdown</touchdownEffect><touchdownBreakEffect>break</touchdownBreakEffect>
    <effectScale>0.5</effectScale><achievementTag>tag</achievementTag>
  </entry></fallingAtoms></r>)");
  const KsDestructibleFallingAtomDesc& desc = Access::fallingAtomMap().at("lamp.model");
  EXPECT_EQ(desc.health, 12);
  EXPECT_EQ(desc.physicParams, "1 2 3 4 5 6 7");
  EXPECT_EQ(desc.lifetimeEffect, "life");
  EXPECT_EQ(desc.fractureEffect, "fracture");
  EXPECT_EQ(desc.touchdownEffect, "touchdown");
  EXPECT_EQ(desc.touchdownBreakEffect, "break");
  EXPECT_EQ(desc.effectScale, 0.5F);
  EXPECT_EQ(desc.achievementTag, "tag");
}

TEST_F(LoadingTheDatabase, GivesTheAbsentKeysOfAFallingAtomTheirReadDefaults) {
  load("<r><fallingAtoms><entry><filename>lamp.model</filename></entry></fallingAtoms></r>");
  const KsDestructibleFallingAtomDesc& desc = Access::fallingAtomMap().at("lamp.model");
  EXPECT_EQ(desc.health, 20);
  EXPECT_EQ(desc.physicParams, "200 3.2 0.03 150000 10000 0 0.05");
  EXPECT_EQ(desc.lifetimeEffect, "none");
  EXPECT_EQ(desc.fractureEffect, "");
  EXPECT_EQ(desc.touchdownEffect, "");
  EXPECT_EQ(desc.touchdownBreakEffect, "");
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.achievementTag, "");
}

TEST_F(LoadingTheDatabase, ReadsAMissingFractureEffectAndAMissingHitEffectAsEmpty) {
  load(R"(<r><fallingAtoms><entry><filename>lamp</filename></entry></fallingAtoms>
             <fragiles><entry><filename>crate</filename></entry></fragiles></r>)");
  EXPECT_EQ(Access::fallingAtomMap().at("lamp").fractureEffect, "");
  EXPECT_EQ(KsDestructibleFallingAtomDesc().fractureEffect, "none");
  EXPECT_EQ(Access::fragileMap().at("crate").hitEffect, "");
}

TEST_F(LoadingTheDatabase, LetsTheLastOfTwoEntriesOfAFragileWinInFull) {
  load(R"(<r><fragiles>
    <entry><filename>a</filename><health>1</health><hitEffect>first</hitEffect><matName>m</matName></entry>
    <entry><filename>a</filename><effect>second</effect></entry>
  </fragiles></r>)");
  const KsDestructibleFragileDesc& desc = Access::fragileMap().at("a");
  EXPECT_EQ(desc.effect, "second");
  EXPECT_EQ(desc.health, 5);
  EXPECT_EQ(desc.hitEffect, "");
  EXPECT_EQ(desc.matName, "");
}

TEST_F(LoadingTheDatabase, LetsTheLastOfTwoEntriesOfAFallingAtomWinInFullAcrossSections) {
  load(R"(<r>
    <fallingAtoms><entry><filename>a</filename><health>1</health><fractureEffect>x</fractureEffect></entry></fallingAtoms>
    <fallingAtoms><entry><filename>a</filename><touchdownEffect>y</touchdownEffect></entry></fallingAtoms>
  </r>)");
  const KsDestructibleFallingAtomDesc& desc = Access::fallingAtomMap().at("a");
  EXPECT_EQ(desc.touchdownEffect, "y");
  EXPECT_EQ(desc.health, 20);
  EXPECT_EQ(desc.fractureEffect, "");
}

TEST_F(LoadingTheDatabase, KeepsAModelThatStandsInSeveralCategoriesInEachTable) {
  load(R"(<r>
    <structures><entry><filename>a</filename><modules/></entry></structures>
    <fragiles><entry><filename>a</filename></entry></fragiles>
    <fallingAtoms><entry><filename>a</filename></entry></fallingAtoms>
  </r>)");
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Key("a")));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
  EXPECT_THAT(Access::fallingAtomMap(), ElementsAre(Key("a")));
}

TEST_F(LoadingTheDatabase, DoesNotJudgeTheValues) {
  load(R"(<r><fragiles><entry><filename>a</filename><health>-7</health><effectScale>-0.25</effectScale>
    <effect>no such effect</effect></entry></fragiles></r>)");
  EXPECT_EQ(Access::fragileMap().at("a").health, -7);
  EXPECT_EQ(Access::fragileMap().at("a").effectScale, -0.25F);
  EXPECT_EQ(Access::fragileMap().at("a").effect, "no such effect");
}

// --- Modules ---

TEST_F(LoadingTheDatabase, ReadsEveryKeyOfAModule) {
  load(R"(<r><structures><entry><filename>house.model</filename><modules><module>
    <matName>wall</matName><health>12</health><effectScale>2.5</effectScale><effectHP>HP_a</effectHP>
    <ramEffect>ram</ramEffect><hitEffect>hit</hitEffect><decayEffect>decay</decayEffect>
  </module></modules></entry></structures></r>)");
  const KsDestructibleModuleDesc& desc = Access::moduleMap().at("house.model").at("wall");
  EXPECT_EQ(desc.health, 12);
  EXPECT_EQ(desc.effectScale, 2.5F);
  EXPECT_EQ(desc.effectHP, "HP_a");
  EXPECT_EQ(desc.ramEffect, "ram");
  EXPECT_EQ(desc.hitEffect, "hit");
  EXPECT_EQ(desc.decayEffect, "decay");
}

TEST_F(LoadingTheDatabase, GivesTheAbsentKeysOfAModuleTheirReadDefaults) {
  load(R"(<r><structures><entry><filename>house.model</filename><modules><module>
    <matName>wall</matName></module></modules></entry></structures></r>)");
  const KsDestructibleModuleDesc& desc = Access::moduleMap().at("house.model").at("wall");
  EXPECT_EQ(desc.health, 80);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.effectHP, "");
  EXPECT_EQ(desc.ramEffect, "none");
  EXPECT_EQ(desc.hitEffect, "");
  EXPECT_EQ(desc.decayEffect, "none");
}

TEST_F(LoadingTheDatabase, DropsAModuleWithoutAMaterial) {
  load(R"(<r><structures><entry><filename>house</filename><modules>
    <module><health>1</health></module><module><matName></matName></module>
    <module><matName>wall</matName></module>
  </modules></entry></structures></r>)");
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("wall")));
}

TEST_F(LoadingTheDatabase, AddsNoModulesForAStructureWithoutThemButItsStates) {
  load(R"(<r><structures><entry><filename>house</filename><states>
    <state><name>ruined</name><destroyedMaterials>wall</destroyedMaterials></state>
  </states></entry></structures></r>)");
  EXPECT_THAT(Access::moduleMap(), IsEmpty());
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("ruined", ElementsAre("wall"))));
}

TEST_F(LoadingTheDatabase, GivesAStructureWithAnEmptyModulesSectionAnEmptyTable) {
  load("<r><structures><entry><filename>house</filename><modules/></entry></structures></r>");
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Pair("house", IsEmpty())));
  EXPECT_THAT(Access::stateMap(), IsEmpty());
}

TEST_F(LoadingTheDatabase, LetsTheLastOfTwoModulesOfAMaterialWinInFull) {
  load(R"(<r><structures><entry><filename>house</filename><modules>
    <module><matName>wall</matName><health>1</health><hitEffect>first</hitEffect></module>
    <module><matName>wall</matName><ramEffect>second</ramEffect></module>
  </modules></entry></structures></r>)");
  const KsDestructibleModuleDesc& desc = Access::moduleMap().at("house").at("wall");
  EXPECT_EQ(desc.ramEffect, "second");
  EXPECT_EQ(desc.health, 80);
  EXPECT_EQ(desc.hitEffect, "");
}

TEST_F(LoadingTheDatabase, TakesTheModulesOfTheSecondEntryOfAStructureAndKeepsTheStatesOfTheFirst) {
  load(R"(<r><structures>
    <entry><filename>house</filename>
      <modules><module><matName>wall</matName></module></modules>
      <states><state><name>ruined</name><destroyedMaterials>wall</destroyedMaterials></state></states></entry>
    <entry><filename>house</filename><modules><module><matName>roof</matName></module></modules></entry>
  </structures></r>)");
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("roof")));
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("ruined", ElementsAre("wall"))));
}

TEST_F(LoadingTheDatabase, LetsAnEmptyModulesOrStatesSectionReplaceAnEarlierOne) {
  load(R"(<r><structures>
    <entry><filename>house</filename><modules><module><matName>wall</matName></module></modules>
      <states><state><name>ruined</name></state></states></entry>
    <entry><filename>house</filename><modules/><states/></entry>
  </structures></r>)");
  EXPECT_THAT(Access::moduleMap().at("house"), IsEmpty());
  EXPECT_THAT(Access::stateMap().at("house").states, IsEmpty());
}

// --- States ---

TEST_F(LoadingTheDatabase, SplitsTheMaterialsOfAStateAtRunsOfSpaces) {
  load(R"(<r><structures><entry><filename>house</filename><states>
    <state><name>ruined</name><destroyedMaterials>  a  b </destroyedMaterials></state>
  </states></entry></structures></r>)");
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("ruined", ElementsAre("a", "b"))));
}

TEST_F(LoadingTheDatabase, DoesNotSplitTheMaterialsOfAStateAtTabs) {
  load(
      "<r><structures><entry><filename>house</filename><states>"
      "<state><name>ruined</name><destroyedMaterials>a\tb c</destroyedMaterials></state>"
      "</states></entry></structures></r>");
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("ruined", ElementsAre("a\tb", "c"))));
}

TEST_F(LoadingTheDatabase, KeepsTheOrderAndTheRepetitionsOfTheMaterialsOfAState) {
  load(R"(<r><structures><entry><filename>house</filename><states>
    <state><name>ruined</name><destroyedMaterials>b a b</destroyedMaterials></state>
  </states></entry></structures></r>)");
  EXPECT_THAT(Access::stateMap().at("house").states.at("ruined"), ElementsAre("b", "a", "b"));
}

TEST_F(LoadingTheDatabase, DropsAStateWithoutAName) {
  load(R"(<r><structures><entry><filename>house</filename><states>
    <state><destroyedMaterials>a</destroyedMaterials></state>
    <state><name></name><destroyedMaterials>b</destroyedMaterials></state>
    <state><name>ruined</name></state>
  </states></entry></structures></r>)");
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("ruined", IsEmpty())));
}

TEST_F(LoadingTheDatabase, LetsTheLastOfTwoStatesOfANameWin) {
  load(R"(<r><structures><entry><filename>house</filename><states>
    <state><name>ruined</name><destroyedMaterials>a b</destroyedMaterials></state>
    <state><name>ruined</name><destroyedMaterials>c</destroyedMaterials></state>
  </states></entry></structures></r>)");
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Pair("ruined", ElementsAre("c"))));
}

TEST_F(LoadingTheDatabase, LetsTheStatesOfTheLastEntryOfAStructureReplaceThoseOfTheFirst) {
  load(R"(<r><structures>
    <entry><filename>house</filename><states><state><name>old</name></state></states></entry>
    <entry><filename>house</filename><states><state><name>new</name></state></states></entry>
  </structures></r>)");
  EXPECT_THAT(Access::stateMap().at("house").states, ElementsAre(Key("new")));
}

// --- The achievement tag of structures ---

TEST_F(LoadingTheDatabase, LeavesTheTagOfTheLastStructureInTheHelperWhateverItsModel) {
  writeDatabase(R"(<r><structures>
    <entry><filename>mine</filename><achievementTag>my tag</achievementTag><modules/></entry>
    <entry><filename>other</filename><achievementTag>other's tag</achievementTag><modules/></entry>
  </structures></r>)");
  const OpenModel open({}, "mine");
  std::string tag;
  EXPECT_TRUE(open->getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "other's tag");
}

TEST_F(LoadingTheDatabase, LeavesAnEmptyTagInTheHelperWhenTheLastStructureHasNone) {
  load(R"(<r><structures>
    <entry><filename>a</filename><achievementTag>tag</achievementTag></entry>
    <entry><filename>b</filename></entry>
  </structures></r>)");
  EXPECT_EQ(Access::structureAchievementTag(helper_), "");
}

TEST_F(LoadingTheDatabase, TakesTheTagOfAStructureUnderAnUnlistedSectionToo) {
  load(R"(<r>
    <structures><entry><filename>a</filename><achievementTag>first</achievementTag></entry></structures>
    <bridges><entry><filename>b</filename><achievementTag>last</achievementTag></entry></bridges>
    <fragiles><entry><filename>c</filename><achievementTag>fragile</achievementTag></entry></fragiles>
  </r>)");
  EXPECT_EQ(Access::structureAchievementTag(helper_), "last");
}

TEST_F(LoadingTheDatabase, KeepsTheHelpersTagWhenTheFileHasNoStructures) {
  Access::structureAchievementTag(helper_) = "kept";
  load("<r><structures/><fragiles><entry><achievementTag>x</achievementTag></entry></fragiles></r>");
  EXPECT_EQ(Access::structureAchievementTag(helper_), "kept");
}

TEST_F(LoadingTheDatabase, SetsTheTagOfTheLoadingHelperOnly) {
  KsDestructiblesHelper other;
  load(R"(<r><structures><entry><achievementTag>tag</achievementTag></entry></structures></r>)");
  EXPECT_EQ(Access::structureAchievementTag(helper_), "tag");
  EXPECT_EQ(Access::structureAchievementTag(other), "");
}

TEST_F(LoadingTheDatabase, LogsNothing) {
  load(R"(<r><trees/><odd/><fragiles><entry/><entry><health>1</health></entry></fragiles></r>)");
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

}  // namespace
}  // namespace Tal
