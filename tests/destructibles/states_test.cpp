#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

using Materials = std::vector<support::MaterialPart>;

class TheStates : public DestructiblesTest {
 protected:
  /// A house of two parts that depend on others, and of kinds outside both ranges.
  static support::ModelParts houseParts() {
    return {.materials = {{"a_wall_1_2", 80},  // depends on part 2
                          {"b_roof_2", 81},
                          {"c_ruin", 94},
                          {"d_other", 72},
                          {"e_plain", 0}}};
  }
};

// --- Adding and deleting ---

TEST_F(TheStates, OfAModelWithoutNamedOnesAreUndamagedAndDestroyed) {
  const OpenModel open({}, "m");
  EXPECT_THAT(open->getStateNames(), ElementsAre("undamaged", "destroyed"));
  EXPECT_TRUE(Access::tablesAreEmpty()) << "asking makes no entry";
}

TEST_F(TheStates, AreListedInAscendingOrderBetweenTheBuiltInOnes) {
  const OpenModel open({}, "m");
  EXPECT_TRUE(open->addDestructibleState("b"));
  EXPECT_TRUE(open->addDestructibleState("a"));
  EXPECT_THAT(open->getStateNames(), ElementsAre("undamaged", "a", "b", "destroyed"));
  EXPECT_TRUE(open->addDestructibleState("zz"));
  EXPECT_TRUE(open->addDestructibleState("B"));
  EXPECT_THAT(open->getStateNames(), ElementsAre("undamaged", "B", "a", "b", "zz", "destroyed"));
}

TEST_F(TheStates, OfANewNameAreAddedEmpty) {
  const OpenModel open({}, "m");
  EXPECT_TRUE(open->addDestructibleState("ruined"));
  EXPECT_THAT(Access::stateMap(), ElementsAre(Key("m")));
  EXPECT_THAT(Access::stateMap().at("m").states, ElementsAre(Pair("ruined", IsEmpty())));
}

TEST_F(TheStates, OfAnExistingNameAreNotAddedAndKeepTheirMaterials) {
  const OpenModel open({}, "m");
  ASSERT_TRUE(open->addDestructibleState("ruined"));
  ASSERT_TRUE(open->addMaterialToDestrState("ruined", "wall"));
  EXPECT_FALSE(open->addDestructibleState("ruined"));
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("wall"));
}

TEST_F(TheStates, MayBearABuiltInOrTheEmptyNameAndAreThenListedTwice) {
  const OpenModel open({}, "m");
  EXPECT_TRUE(open->addDestructibleState("undamaged"));
  EXPECT_TRUE(open->addDestructibleState("destroyed"));
  EXPECT_TRUE(open->addDestructibleState(""));
  EXPECT_THAT(open->getStateNames(), ElementsAre("undamaged", "", "destroyed", "undamaged", "destroyed"));
}

TEST_F(TheStates, AreDeletedWithTheirMaterialsWhileTheModelsEntryStays) {
  const OpenModel open({}, "m");
  ASSERT_TRUE(open->addDestructibleState("ruined"));
  ASSERT_TRUE(open->addMaterialToDestrState("ruined", "wall"));
  EXPECT_TRUE(open->delDestructibleState("ruined"));
  EXPECT_THAT(Access::stateMap(), ElementsAre(Key("m")));
  EXPECT_THAT(Access::stateMap().at("m").states, IsEmpty());
  EXPECT_FALSE(open->delDestructibleState("ruined"));
}

TEST_F(TheStates, ThatDoNotExistAreNotDeletedAndMakeNoEntry) {
  const OpenModel open({}, "m");
  EXPECT_FALSE(open->delDestructibleState("ruined"));
  EXPECT_FALSE(open->delDestructibleState("undamaged"));
  EXPECT_TRUE(Access::tablesAreEmpty());
}

TEST_F(TheStates, ThatWereNeverAddedTakeNoMaterialsAndMakeNoEntry) {
  const OpenModel open({}, "m");
  EXPECT_FALSE(open->addMaterialToDestrState("ruined", "wall"));
  EXPECT_FALSE(open->addMaterialToDestrState("undamaged", "wall"));
  EXPECT_TRUE(Access::tablesAreEmpty());
  ASSERT_TRUE(open->addDestructibleState("other"));
  EXPECT_FALSE(open->addMaterialToDestrState("ruined", "wall"));
  EXPECT_THAT(Access::stateMap().at("m").states, ElementsAre(Key("other")));

  ASSERT_TRUE(open->addDestructibleState("ruined"));
  EXPECT_TRUE(open->addMaterialToDestrState("ruined", "wall"));
  EXPECT_FALSE(open->addMaterialToDestrState("ruined", "wall"));
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("wall"));
}

TEST_F(TheStates, KeepTheirMaterialsInTheOrderOfAdditionWhetherTheModelHasThemOrNot) {
  const OpenModel open({{{"wall", 73}}}, "m");
  ASSERT_TRUE(open->addDestructibleState("ruined"));
  for (const char* name : {"z", "wall", "", "Wall"})
    EXPECT_TRUE(open->addMaterialToDestrState("ruined", name));
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("z", "wall", "", "Wall"));
}

TEST_F(TheStates, LoseOnlyTheFirstOccurrenceOfAMaterial) {
  const OpenModel open({}, "m");
  Access::stateMap()["m"].states["ruined"] = {"c", "a", "b", "a"};
  EXPECT_TRUE(open->delMaterialFromDestrState("ruined", "a"));
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("c", "b", "a"));
  EXPECT_TRUE(open->delMaterialFromDestrState("ruined", "a"));
  EXPECT_FALSE(open->delMaterialFromDestrState("ruined", "a"));
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("c", "b"));
}

TEST_F(TheStates, ThatDoNotExistLoseNoMaterials) {
  const OpenModel open({}, "m");
  EXPECT_FALSE(open->delMaterialFromDestrState("ruined", "a"));
  EXPECT_TRUE(Access::tablesAreEmpty());
  ASSERT_TRUE(open->addDestructibleState("other"));
  EXPECT_FALSE(open->delMaterialFromDestrState("ruined", "a"));
  EXPECT_FALSE(open->delMaterialFromDestrState("other", "a"));
}

TEST_F(TheStates, AreEditedWithoutSavingSignallingOrShowing) {
  writeDatabase("<r/>");
  OpenModel open({}, "m");
  int told = 0;
  const ks::Connection onLoad = open->connectLoadedConfigSignal([&] { ++told; });
  const ks::Connection onType = open->connectDestructibleTypeChanged([&] { ++told; });
  open.journal.clear();
  open->addDestructibleState("ruined");
  open->addMaterialToDestrState("ruined", "a");
  open->delMaterialFromDestrState("ruined", "a");
  open->delDestructibleState("ruined");
  EXPECT_EQ(readDatabase(), "<r/>");
  EXPECT_EQ(told, 0);
  EXPECT_THAT(open.journal, IsEmpty());
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheStates, AreEditedWithoutReadingTheFileButListedAfterReadingIt) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename>
    <states><state><name>filed</name></state></states></entry></structures></r>)");
  const OpenModel open({}, "m");
  Access::clearTables();
  EXPECT_TRUE(open->addDestructibleState("filed")) << "the file was not read";
  EXPECT_TRUE(open->addMaterialToDestrState("filed", "a"));
  EXPECT_TRUE(open->delMaterialFromDestrState("filed", "a"));
  EXPECT_TRUE(open->delDestructibleState("filed"));
  EXPECT_FALSE(Access::hasLoaded());
  EXPECT_THAT(open->getStateNames(), ElementsAre("undamaged", "filed", "destroyed"));
  EXPECT_TRUE(Access::hasLoaded());
}

// --- Materials and kinds of a state ---

TEST_F(TheStates, BuiltInShowTheMaterialsOfTheirKindsInAscendingOrder) {
  const OpenModel open({{{"k72", 72},
                         {"k73", 73},
                         {"k86", 86},
                         {"k87", 87},
                         {"k100", 100},
                         {"k101", 101},
                         {"none", 0},
                         {"a80", 80},
                         {"a90", 90}}},
                       "m");
  EXPECT_THAT(open->getMaterialsForState("undamaged"), ElementsAre("a80", "k73", "k86"));
  EXPECT_THAT(open->getMaterialsForState("destroyed"), ElementsAre("a90", "k100", "k87"));
}

TEST_F(TheStates, BuiltInLeaveOutNamesWithSUnderscoreUnlessTheModelIsAFallingAtom) {
  const OpenModel open(
      {{{"wall_s_1", 73}, {"s_a", 74}, {"glass_b", 75}, {"walls", 76}, {"wall_S_2", 77}, {"bricks_c", 90}}},
      "m");
  for (const KsDestructibleType type : {DT_STRUCTURE, DT_FRAGILE, DT_NON_DESTRUCTIBLE}) {
    Access::type(*open) = type;
    EXPECT_THAT(open->getMaterialsForState("undamaged"), ElementsAre("wall_S_2", "walls"));
    EXPECT_THAT(open->getMaterialsForState("destroyed"), IsEmpty());
  }
  Access::type(*open) = DT_FALLING_ATOMS;
  EXPECT_THAT(open->getMaterialsForState("undamaged"),
              ElementsAre("glass_b", "s_a", "wall_S_2", "wall_s_1", "walls"));
  EXPECT_THAT(open->getMaterialsForState("destroyed"), ElementsAre("bricks_c"));
}

TEST_F(TheStates, UndamagedOfAStructureLeavesOutWallS1AndOfAFallingAtomListsIt) {
  const OpenModel structure({{{"wall_s_1", 73}}}, "m");
  structure->setAsStructure();
  EXPECT_THAT(structure->getMaterialsForState("undamaged"), IsEmpty());
  const OpenModel lamp({{{"wall_s_1", 73}}}, "lamp");
  lamp->setAsFallingAtoms();
  EXPECT_THAT(lamp->getMaterialsForState("undamaged"), ElementsAre("wall_s_1"));
}

TEST_F(TheStates, NamedShowTheirListWithoutAFilter) {
  const OpenModel open({{{"wall_s_1", 73}}}, "m");
  Access::stateMap()["m"].states["ruined"] = {"wall_s_1", "unknown", "wall_s_1"};
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("wall_s_1", "unknown", "wall_s_1"));
  EXPECT_THAT(open->getMaterialsForState("Ruined"), IsEmpty());
  EXPECT_THAT(open->getMaterialsForState("Undamaged"), IsEmpty());
  EXPECT_THAT(Access::stateMap().at("m").states, ElementsAre(Key("ruined"))) << "asking adds no state";
}

TEST_F(TheStates, BuiltInOfOtherCaseAreUnknown) {
  const OpenModel open({{{"nwall", 73}, {"dwall", 87}}}, "m");
  Access::stateMap()["m"].states["ruined"] = {"nwall"};
  for (const char* const state : {"Destroyed", "Undamaged", "destroyed "}) {
    EXPECT_FALSE(open->setDestructibleState(state));
    EXPECT_EQ(open->getDestructibleState(), state);
    EXPECT_TRUE(open->isMaterialKindVisible(73));
    EXPECT_FALSE(open->isMaterialKindVisible(87));
  }
}

TEST_F(TheStates, BuiltInHideStoredOnesOfTheSameName) {
  const OpenModel open({{{"wall", 73}}}, "m");
  Access::stateMap()["m"].states["undamaged"] = {"stored"};
  EXPECT_THAT(open->getMaterialsForState("undamaged"), ElementsAre("wall"));
}

TEST_F(TheStates, GiveTheKindsOfTheirMaterialsAndThenTheDependenciesWithRepetitions) {
  const OpenModel open({{{"a_b_1_2_3", 80}, {"c_d_2_3", 81}, {"e_f_3", 82}}}, "m");
  Access::stateMap()["m"].states["ruined"] = {"c_d_2_3", "a_b_1_2_3", "e_f_3"};
  EXPECT_THAT(open->getMatKindsForState("ruined"), ElementsAre(81U, 80U, 82U, 82U, 81U, 82U));
  EXPECT_THAT(open->getMatKindsForState("undamaged"), ElementsAre(80U, 81U, 82U, 81U, 82U, 82U));
  EXPECT_THAT(open->getMatKindsForState("unknown"), IsEmpty());
}

TEST_F(TheStates, DestroyedGiveTheKindsOfTheRuinsWhichHaveNoDependencies) {
  const OpenModel open({{{"a_b_1_2", 80}, {"c_d_2", 81}, {"ruin_1_2", 94}, {"a_ruin", 95}, {"z_ruin", 94}}},
                       "m");
  EXPECT_THAT(open->getMatKindsForState("destroyed"), ElementsAre(95U, 94U, 94U));
}

TEST_F(TheStates, GiveADependencyThatNoNameDeclaresAsKind0) {
  const OpenModel open({{{"a_b_5_9", 80}}}, "m");
  EXPECT_THAT(open->getMatKindsForState("undamaged"), ElementsAre(80U, 0U));
}

TEST_F(TheStates, GiveNoKindForAnUnknownMaterialNorItsDependencies) {
  const OpenModel open({{{"a_b_1_2", 80}, {"plain", 0}}}, "m");
  Access::dependencies(*open)[4294967295U] = {1, 2};
  Access::stateMap()["m"].states["ruined"] = {"unknown", "plain", "a_b_1_2"};
  EXPECT_THAT(open->getMatKindsForState("ruined"), ElementsAre(0U, 80U, 0U));
}

TEST_F(TheStates, GiveTheDependenciesOfTheirOwnKindsOnly) {
  const OpenModel open({{{"a_b_1_2", 80}, {"c_d_2_3", 81}, {"e_f_3", 82}}}, "m");
  Access::stateMap()["m"].states["ruined"] = {"a_b_1_2"};
  EXPECT_THAT(open->getMatKindsForState("ruined"), ElementsAre(80U, 81U)) << "not those of 81 in turn";
}

// --- Showing a state ---

TEST_F(TheStates, UndamagedOnlyTellsTheDisablerSo) {
  OpenModel open(houseParts(), "m");
  ASSERT_TRUE(open->setDestructibleState("destroyed"));
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("undamaged"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false"));
  EXPECT_EQ(open->getDestructibleState(), "undamaged");
  EXPECT_TRUE(open->isMaterialKindVisible(80));
  EXPECT_FALSE(open->isMaterialKindVisible(94));
}

TEST_F(TheStates, DestroyedHidesThenShowsThenHidesTheDependencies) {
  OpenModel open(houseParts(), "m");
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("destroyed"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false",           //
                                        "hide 80", "hide 81", "hide 80",  // the last for the ruin of kind 94
                                        "show 94", "show 95", "show 94",  //
                                        "hide 81", "hide 95",             // the dependency of 80 ...
                                        "hide 81", "hide 95"));  // ... once for each time it is hidden
  EXPECT_EQ(open->getDestructibleState(), "destroyed");
}

TEST_F(TheStates, DestroyedFiltersNoNamesAndIgnoresOtherKinds) {
  OpenModel open({{{"glass_a", 73}, {"s_b", 86}, {"c", 72}, {"d", 101}, {"e", 0}, {"f", 100}, {"g", 87}}},
                 "m");
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("destroyed"));
  EXPECT_THAT(open.journal,
              ElementsAre("setIsDestroyed false", "hide 86", "hide 73", "hide 73", "hide 86",  //
                          "show 100", "show 87", "show 87", "show 100"));
}

TEST_F(TheStates, ShowADependencyThatNoNameDeclaresAsKind0) {
  OpenModel open({{{"a_b_5_9", 80}}}, "m");
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("destroyed"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false", "hide 80", "show 94", "hide 0", "hide 14"));
  ASSERT_TRUE(open->setDestructibleState("undamaged"));
  open.journal.clear();
  open->setMaterialDestroyed(80, true);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 80", "hide 80", "show 94", "hide 0", "hide 14"));
  open.journal.clear();
  open->setMaterialDestroyed(80, false);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 80", "show 80", "hide 94", "show 0", "show 14"));
}

TEST_F(TheStates, NamedHideTheirMaterialsAndShowTheirRuins) {
  OpenModel open(houseParts(), "m");
  Access::stateMap()["m"].states["ruined"] = {"b_roof_2", "unknown", "a_wall_1_2"};
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("ruined"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false", "hide 81", "hide 80", "show 95", "show 94",
                                        "hide 81", "hide 95"));
  EXPECT_EQ(open->getDestructibleState(), "ruined");
}

TEST_F(TheStates, NamedDoNotTestTheRangeOfAKind) {
  OpenModel open({{{"plain", 0}, {"odd", 72}, {"ruin", 90}}}, "m");
  Access::stateMap()["m"].states["ruined"] = {"plain", "odd", "ruin", "odd"};
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("ruined"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false",                     //
                                        "hide 0", "hide 72", "hide 90", "hide 72",  //
                                        "show 14", "show 86", "show 104", "show 86"));
}

TEST_F(TheStates, NamedWithoutMaterialsChangeNoVisibility) {
  OpenModel open(houseParts(), "m");
  ASSERT_TRUE(open->addDestructibleState("bare"));
  open.journal.clear();
  EXPECT_TRUE(open->setDestructibleState("bare"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false"));
}

TEST_F(TheStates, UnknownAreRefusedAndCurrentAllTheSame) {
  OpenModel open(houseParts(), "m");
  open.journal.clear();
  EXPECT_FALSE(open->setDestructibleState("unknown")) << "the model has no entry";
  EXPECT_EQ(open->getDestructibleState(), "unknown");
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false"));
  ASSERT_TRUE(open->addDestructibleState("other"));
  EXPECT_FALSE(open->setDestructibleState("")) << "the entry has no such state";
  EXPECT_EQ(open->getDestructibleState(), "");
  EXPECT_THAT(Access::stateMap().at("m").states, ElementsAre(Key("other")));
}

TEST_F(TheStates, AreSwitchedFromTheLookOfTheUndamagedModel) {
  const OpenModel open(houseParts(), "m");
  Access::stateMap()["m"].states = {{"one", {"a_wall_1_2"}}, {"two", {"b_roof_2"}}};
  ASSERT_TRUE(open->setDestructibleState("one"));
  EXPECT_FALSE(open->isMaterialKindVisible(80));
  EXPECT_FALSE(open->isMaterialKindVisible(81)) << "it vanishes with 80";
  ASSERT_TRUE(open->setDestructibleState("two"));
  EXPECT_TRUE(open->isMaterialKindVisible(80));
  EXPECT_FALSE(open->isMaterialKindVisible(81));
  EXPECT_TRUE(open->isMaterialKindVisible(95));
  EXPECT_FALSE(open->isMaterialKindVisible(94));
}

TEST_F(TheStates, MayBeSetToTheCurrentOneByItsOwnName) {
  const OpenModel open({}, "m");
  ASSERT_FALSE(open->setDestructibleState("a state name that is too long to be held in place"));
  EXPECT_FALSE(open->setDestructibleState(open->getDestructibleState()));
  EXPECT_EQ(open->getDestructibleState(), "a state name that is too long to be held in place");
}

TEST_F(TheStates, ThatAreChangedAreShownOnlyWhenSetAgain) {
  OpenModel open(houseParts(), "m");
  ASSERT_TRUE(open->addDestructibleState("ruined"));
  ASSERT_TRUE(open->setDestructibleState("ruined"));
  open.journal.clear();
  ASSERT_TRUE(open->addMaterialToDestrState("ruined", "b_roof_2"));
  EXPECT_THAT(open.journal, IsEmpty());
  ASSERT_TRUE(open->setDestructibleState("ruined"));
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false", "hide 81", "show 95"));
}

// --- One material ---

TEST_F(TheStates, OfOneKindAreDestroyedOnceWithItsDependencies) {
  OpenModel open({{{"a_wall_1_2_3", 80}, {"b_roof_2", 81}, {"c_door_3", 82}}}, "m");
  open.journal.clear();
  open->setMaterialDestroyed(80, true);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 80", "hide 80", "show 94",  //
                                        "hide 81", "hide 95", "hide 82", "hide 96"));
  EXPECT_EQ(open->getDestructibleState(), "destroyed");
  open.journal.clear();
  open->setMaterialDestroyed(80, true);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 80"));
}

TEST_F(TheStates, OfOneKindAreRestoredWithItsDependenciesAndTheirRuins) {
  OpenModel open({{{"a_wall_1_2", 80}, {"b_roof_2", 81}}}, "m");
  open->setMaterialDestroyed(80, true);
  ASSERT_FALSE(open->setDestructibleState("x"));
  open.disabler.setMaterialKindVisible(80, false);
  open.journal.clear();
  open->setMaterialDestroyed(80, false);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 80", "show 80", "hide 94", "show 81", "show 95"));
  EXPECT_EQ(open->getDestructibleState(), "destroyed") << "a restore leaves that state too";
  open.journal.clear();
  open->setMaterialDestroyed(80, false);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 80"));
}

TEST_F(TheStates, OfADestroyedKindAreNotChangedByHand) {
  OpenModel open({{{"a_ruin", 90}}}, "m");
  open.disabler.setMaterialKindVisible(90, true);
  open.journal.clear();
  open->setMaterialDestroyed(90, true);
  EXPECT_THAT(open.journal, ElementsAre("isVisible 90"));
  EXPECT_EQ(open->getDestructibleState(), "undamaged");
}

TEST_F(TheStates, AreChangedByHandForTheUndamagedKindsOnly) {
  for (const unsigned kind : {0U, 72U, 87U, 100U, 101U, 4294967295U}) {
    OpenModel open({}, "m");
    open.disabler.setMaterialKindVisible(kind, true);
    open.journal.clear();
    open->setMaterialDestroyed(kind, true);
    EXPECT_THAT(open.journal, ElementsAre("isVisible " + std::to_string(kind)));
    EXPECT_EQ(open->getDestructibleState(), "undamaged");
  }
  for (const unsigned kind : {73U, 86U}) {
    OpenModel open({}, "m");
    open.journal.clear();
    open->setMaterialDestroyed(kind, true);
    EXPECT_THAT(open.journal, ElementsAre("isVisible " + std::to_string(kind), "hide " + std::to_string(kind),
                                          "show " + std::to_string(kind + 14)));
    EXPECT_EQ(open->getDestructibleState(), "destroyed");
  }
}

TEST_F(TheStates, ReadTheFileFirstWhenItIsNotLoaded) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename><states>
    <state><name>ruined</name><destroyedMaterials>wall</destroyedMaterials></state></states></entry></structures></r>)");
  const OpenModel open({{{"wall", 73}}}, "m");
  const auto forget = [] { Access::clearTables(); };
  forget();
  EXPECT_THAT(open->getMaterialsForState("ruined"), ElementsAre("wall"));
  forget();
  EXPECT_TRUE(open->setDestructibleState("ruined"));
  forget();
  EXPECT_THAT(open->getMatKindsForState("ruined"), ElementsAre(73U));
  forget();
  open->setMaterialDestroyed(90, true);
  EXPECT_TRUE(Access::hasLoaded());
  forget();
  EXPECT_EQ(open->getDestructibleState(), "ruined");
  EXPECT_FALSE(Access::hasLoaded()) << "the current state needs no file";
}

TEST_F(TheStates, OfAHelperWithoutADisablerAreListedAndSet) {
  const auto model = support::buildModel({{{"wall", 73}}});
  KsDestructiblesHelper helper(model.get(), "m", nullptr);
  EXPECT_THAT(helper.getMaterialsForState("undamaged"), ElementsAre("wall"));
  EXPECT_TRUE(helper.setDestructibleState("destroyed"));
  EXPECT_EQ(helper.getDestructibleState(), "destroyed");
  EXPECT_TRUE(helper.setDestructibleState("undamaged"));
  helper.setMaterialDestroyed(73, true);
  EXPECT_EQ(helper.getDestructibleState(), "destroyed");
}

TEST_F(TheStates, AreReplacedByAReloadOfTheFile) {
  writeDatabase("<r/>");
  const OpenModel open({}, "m");
  ASSERT_TRUE(open->addDestructibleState("unsaved"));
  ASSERT_TRUE(open->loadConfig(true));
  EXPECT_THAT(open->getStateNames(), ElementsAre("undamaged", "destroyed"));
}

}  // namespace
}  // namespace Tal
