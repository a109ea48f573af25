#include <destructibles/fixture.h>

#include <type_traits>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

class AHelper : public DestructiblesTest {
 protected:
  /// Binds a helper to a model of nothing, with the tables as they are, and returns its category.
  static KsDestructibleType categoryOf(const std::string& name) {
    const OpenModel open({}, name);
    return open->destructibleType();
  }
};

constexpr const char* kAssertion =
    "ASSERTION FAILED: materialDisabler_\r\nlib/destructibles/ks_destructibles_helper(167)\r\n";

// --- Construction ---

TEST_F(AHelper, MadeWithoutArgumentsIsEmptyAndSaysThatItHasNoDisabler) {
  Access::fragileMap()[""].health = 1;
  KsDestructiblesHelper helper;
  EXPECT_EQ(helper.materialDisabler(), nullptr);
  EXPECT_EQ(helper.modelName(), "");
  EXPECT_EQ(helper.destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(helper.getDestructibleState(), "undamaged");
  EXPECT_EQ(Access::structureAchievementTag(helper), "");
  EXPECT_THAT(helper.getHardpointNames(), IsEmpty());
  EXPECT_THAT(helper.getMaterialNames(), IsEmpty());
  EXPECT_THAT(helper.bspMaterialNames(), IsEmpty());
  EXPECT_THAT(Access::dependencies(helper), IsEmpty());
  EXPECT_FALSE(helper.isMissingInDestructiblesXml());
  EXPECT_FALSE(Access::hasLoaded()) << "nothing is loaded without a model";
}

TEST_F(AHelper, WithoutADisablerReportsAnAssertionWithItsSourceAndLine) {
  const KsDestructiblesHelper helper(nullptr, "m", nullptr);
  ASSERT_EQ(messages_.messages().size(), 1U);
  const DebugMessage& message = messages_.messages()[0];
  EXPECT_TRUE(message.isCritical);
  EXPECT_EQ(message.text, kAssertion);
  EXPECT_EQ(message.file, "lib/destructibles/ks_destructibles_helper");
  EXPECT_EQ(message.line, 167U);
  EXPECT_THAT(message.callStack, ::testing::HasSubstr("Tal::KsDestructiblesHelper::KsDestructiblesHelper"));
  EXPECT_EQ(helper.modelName(), "m");
}

TEST_F(AHelper, WithADisablerAndWithoutAModelIsEmptyAndSilent) {
  Journal journal;
  RecordingDisabler disabler(nullptr, &journal);
  Access::fragileMap()["m"].health = 1;
  KsDestructiblesHelper helper(nullptr, "m", &disabler);
  EXPECT_EQ(helper.materialDisabler(), &disabler);
  EXPECT_EQ(helper.modelName(), "m");
  EXPECT_EQ(helper.destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_FALSE(Access::hasLoaded());
  EXPECT_THAT(journal, IsEmpty()) << "no state is applied";
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(AHelper, WithoutADisablerTakesEverythingElseFromItsModel) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  const auto model = support::buildModel({{{"nwall", 73}}, {"nwall"}, {"HP_1"}});
  KsDestructiblesHelper helper(model.get(), "m", nullptr);
  EXPECT_EQ(messages_.criticalCount(), 1);
  EXPECT_THAT(helper.getHardpointNames(), ElementsAre("HP_1"));
  EXPECT_THAT(helper.bspMaterialNames(), ElementsAre("nwall"));
  EXPECT_THAT(helper.getMaterialNames(), ElementsAre(Pair("nwall", 73U)));
  EXPECT_EQ(helper.destructibleType(), DT_FRAGILE);
  EXPECT_EQ(helper.getDestructibleState(), "undamaged");
}

TEST_F(AHelper, TakesAnOpenModelsNamesKindsAndHardPoints) {
  const OpenModel open({{{"nwall", 73}, {"droof", 88}}, {"b", "a"}, {"HP_2", "bone", "HP_1"}}, "m");
  EXPECT_THAT(open->getMaterialNames(), ElementsAre(Pair("droof", 88U), Pair("nwall", 73U)));
  EXPECT_THAT(open->bspMaterialNames(), ElementsAre("a", "b"));
  EXPECT_THAT(open->getHardpointNames(), ElementsAre("HP_2", "HP_1"));
  EXPECT_EQ(open->materialDisabler(), &open.disabler);
  EXPECT_EQ(open->modelName(), "m");
  EXPECT_EQ(open->getDestructibleState(), "undamaged");
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(AHelper, TakesTheSkeletonNodesThatBeginWithHpUnderscoreAsHardPoints) {
  const OpenModel open({{}, {}, {"HP_gun", "hp_x", "HP", "HPX_1"}}, "m");
  EXPECT_THAT(open->getHardpointNames(), ElementsAre("HP_gun"));
}

TEST_F(AHelper, KeepsHardPointsInSkeletonOrderWithRepetitions) {
  const OpenModel open({{}, {}, {"", "HP_b", "HP_", "xHP_c", "HP_b", "HP_a"}}, "m");
  EXPECT_THAT(open->getHardpointNames(), ElementsAre("HP_b", "HP_", "HP_b", "HP_a"));
}

TEST_F(AHelper, CollapsesRepeatedCollisionMaterials) {
  const OpenModel open({{}, {"b", "a", "b", "a"}}, "m");
  EXPECT_THAT(open->bspMaterialNames(), ElementsAre("a", "b"));
}

TEST_F(AHelper, OfAModelThatIsNotReadyHasNoMaterialsButHardPointsAndACategory) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  const OpenModel open({.materials = {{"nwall", 73}}, .bsp = {"nwall"}, .nodes = {"HP_1"}, .isReady = false},
                       "m");
  EXPECT_THAT(open->getMaterialNames(), IsEmpty());
  EXPECT_THAT(open->bspMaterialNames(), IsEmpty());
  EXPECT_THAT(open->getHardpointNames(), ElementsAre("HP_1"));
  EXPECT_EQ(open->destructibleType(), DT_FRAGILE);
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false"));
}

TEST_F(AHelper, OfAModelWithoutATopModelOrCollisionDataHasNoCollisionMaterials) {
  const OpenModel bodiless({.materials = {{"nwall", 73}}, .hasTopModel = false}, "m");
  EXPECT_THAT(bodiless->bspMaterialNames(), IsEmpty());
  EXPECT_THAT(bodiless->getMaterialNames(), ElementsAre(Key("nwall")));
  const OpenModel intangible({.materials = {{"nwall", 73}}, .hasBspData = false}, "m");
  EXPECT_THAT(intangible->bspMaterialNames(), IsEmpty());
  EXPECT_THAT(intangible->getMaterialNames(), ElementsAre(Key("nwall")));
}

TEST_F(AHelper, HoldsNoReferenceOnItsTopModel) {
  const auto model = support::buildModel({.bsp = {"nwall"}});
  const SmartPointer<Model> top = model->topModel();
  const auto before = top->refCount();
  const KsDestructiblesHelper helper(model.get(), "m", nullptr);
  EXPECT_EQ(top->refCount(), before);
}

TEST_F(AHelper, AppliesTheUndamagedStateAndNothingElse) {
  writeDatabase("<r><structures><entry><filename>m</filename><modules/></entry></structures></r>");
  const OpenModel open({{{"nwall", 73}, {"dwall", 87}}}, "m");
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false"));
}

TEST_F(AHelper, LoadsTheDatabaseOnlyWhenNoHelperHasSinceTheLastWasDestroyed) {
  writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  auto first = std::make_unique<OpenModel>(support::ModelParts{}, "m");
  writeDatabase("<r><fragiles><entry><filename>b</filename></entry></fragiles></r>");
  const OpenModel second({}, "m");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
  first.reset();
  EXPECT_FALSE(Access::hasLoaded());
  const OpenModel third({}, "m");
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("b")));
}

TEST_F(AHelper, WithoutAFileSystemIsMadeAndDestroyed) {
  FS::setFileSystem(nullptr);
  { const KsDestructiblesHelper empty; }
  const OpenModel open({{{"nwall", 73}}}, "m");
  EXPECT_THAT(open->getMaterialNames(), ElementsAre(Key("nwall")));
}

TEST_F(AHelper, OutlivesTheFileSystemThatItListensTo) {
  const OpenModel open({}, "m");
  FS::setFileSystem(nullptr);
  EXPECT_FALSE(open->loadConfig(true));
}

// --- Category ---

TEST_F(AHelper, TakesTheCategoryOfTheTableThatHoldsItsModel) {
  pretendLoaded();
  Access::moduleMap()["house"];
  Access::fragileMap()["crate"];
  Access::fallingAtomMap()["lamp"];
  Access::stateMap()["states only"];
  EXPECT_EQ(categoryOf("house"), DT_STRUCTURE);
  pretendLoaded();  // each destruction makes the next helper read the file
  EXPECT_EQ(categoryOf("crate"), DT_FRAGILE);
  pretendLoaded();
  EXPECT_EQ(categoryOf("lamp"), DT_FALLING_ATOMS);
  pretendLoaded();
  EXPECT_EQ(categoryOf("states only"), DT_NON_DESTRUCTIBLE);
  pretendLoaded();
  EXPECT_EQ(categoryOf("House"), DT_NON_DESTRUCTIBLE);
}

TEST_F(AHelper, OfAModelInBothTheModuleAndTheFragileTableIsAStructure) {
  writeDatabase(R"(<r><fragiles><entry><filename>m</filename></entry></fragiles>
    <structures><entry><filename>m</filename><modules/></entry></structures></r>)");
  EXPECT_EQ(categoryOf("m"), DT_STRUCTURE);
}

TEST_F(AHelper, OfAModelInBothTheFragileAndTheFallingAtomTableIsAFragile) {
  writeDatabase(R"(<r><fallingAtoms><entry><filename>m</filename></entry></fallingAtoms>
    <fragiles><entry><filename>m</filename></entry></fragiles></r>)");
  EXPECT_EQ(categoryOf("m"), DT_FRAGILE);
}

TEST_F(AHelper, OfAStructureWithoutModulesHasNoCategory) {
  writeDatabase("<r><structures><entry><filename>m</filename><states/></entry></structures></r>");
  EXPECT_EQ(categoryOf("m"), DT_NON_DESTRUCTIBLE);
}

TEST_F(AHelper, OfALodModelHasNoCategoryAndMakesNoEntries) {
  writeDatabase("<r><fragiles><entry><filename>a/lod1/b</filename></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}}, "a/lod1/b");
  EXPECT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a/lod1/b")));
  EXPECT_THAT(Access::moduleMap(), IsEmpty());
  EXPECT_THAT(Access::fallingAtomMap(), IsEmpty());
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
}

TEST_F(AHelper, NeverClassifiesLodCrashAndMergedModels) {
  for (const char* name : {"a/lod1/b", "a/lod2/b", "a/crash/b", "a/merged/b", "/merged/", "a/lod1//lod2/b"}) {
    pretendLoaded();
    Access::moduleMap()[name];
    Access::fragileMap()[name];
    Access::fallingAtomMap()[name];
    EXPECT_EQ(categoryOf(name), DT_NON_DESTRUCTIBLE) << name;
  }
}

TEST_F(AHelper, ClassifiesModelsWhoseNamesOnlyResembleThose) {
  for (const char* name :
       {"a/LOD1/b", "lod1/b", "a/lod1", "a/lod3/b", "a/Crash/b", "a\\merged\\b", "a/lod11/b"}) {
    pretendLoaded();
    Access::fallingAtomMap()[name];
    EXPECT_EQ(categoryOf(name), DT_FALLING_ATOMS) << name;
  }
}

TEST_F(AHelper, OfAKnownModelRaisesNoTypeSignalAndIsNotMissing) {
  writeDatabase(R"(<r><structures><entry><filename>house</filename><modules/></entry></structures>
    <fallingAtoms><entry><filename>lamp</filename></entry></fallingAtoms></r>)");
  const OpenModel house({{{"nwall", 73}}}, "house");
  EXPECT_FALSE(house->isMissingInDestructiblesXml());
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("nwall"))) << "lacking modules are made";
  const OpenModel lamp({}, "lamp");
  EXPECT_FALSE(lamp->isMissingInDestructiblesXml());
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

// --- Destruction ---

TEST_F(AHelper, ThatIsDestroyedMakesTheNextAccessOfAnotherReload) {
  writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  auto first = std::make_unique<OpenModel>(support::ModelParts{}, "m");
  const OpenModel second({}, "m");
  int told = 0;
  const ks::Connection listening = second->connectLoadedConfigSignal([&] { ++told; });
  writeDatabase("<r><fragiles><entry><filename>b</filename></entry></fragiles></r>");
  second->getStateNames();
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
  first.reset();
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a"))) << "nothing is read before it is needed";
  second->getStateNames();
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("b")));
  EXPECT_EQ(told, 1);
}

TEST_F(AHelper, WithoutAModelThatIsDestroyedMakesTheNextReloadToo) {
  pretendLoaded();
  { const KsDestructiblesHelper empty; }
  EXPECT_FALSE(Access::hasLoaded());
}

TEST_F(AHelper, ThatMadeAFragileInMemoryTakesOnlyThatEntryWithIt) {
  pretendLoaded();
  {
    const OpenModel open({}, "m");
    Access::moduleMap()["m"]["nwall"];
    Access::stateMap()["m"];
    Access::fallingAtomMap()["m"];
    Access::fragileMap()["other"];
    open->setAsFragile();
    ASSERT_TRUE(open->isMissingInDestructiblesXml());
    ASSERT_EQ(Access::fragileMap().count("m"), 1U);
  }
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("other")));
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Key("m")));
  EXPECT_THAT(Access::stateMap(), ElementsAre(Key("m")));
  EXPECT_THAT(Access::fallingAtomMap(), ElementsAre(Key("m")));
}

TEST_F(AHelper, ThatMadeAStructureInMemoryTakesItsModulesAndStatesWithIt) {
  pretendLoaded();
  {
    const OpenModel open({}, "m");
    Access::fragileMap()["m"];
    Access::fallingAtomMap()["m"];
    open->setAsStructure();
    open->addDestructibleState("ruined");
  }
  EXPECT_THAT(Access::moduleMap(), IsEmpty());
  EXPECT_THAT(Access::stateMap(), IsEmpty());
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("m")));
  EXPECT_THAT(Access::fallingAtomMap(), ElementsAre(Key("m")));
}

TEST_F(AHelper, ThatMadeAFallingAtomInMemoryTakesOnlyThatEntryWithIt) {
  pretendLoaded();
  {
    const OpenModel open({}, "m");
    Access::fragileMap()["m"];
    open->setAsFallingAtoms();
  }
  EXPECT_THAT(Access::fallingAtomMap(), IsEmpty());
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("m")));
}

TEST_F(AHelper, ThatIsMissingAsAFragileTakesTheModulesOfTheFileWithItOnceItIsAStructure) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename>
    <modules><module><matName>wall</matName></module></modules>
    <states><state><name>ruined</name></state></states></entry></structures></r>)");
  {
    const OpenModel open({{{"wall", 73}}}, "m");
    ASSERT_FALSE(open->isMissingInDestructiblesXml());
    open->setAsFragile();
    ASSERT_TRUE(open->isMissingInDestructiblesXml());
    open->setAsStructure();
    ASSERT_TRUE(open->isMissingInDestructiblesXml());
  }
  EXPECT_THAT(Access::modules(), IsEmpty());
  EXPECT_THAT(Access::states(), IsEmpty());
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m"))) << "the entry of its former category";
  const OpenModel next({{{"wall", 73}}}, "m");
  EXPECT_EQ(next->destructibleType(), DT_STRUCTURE) << "the file was read anew";
}

TEST_F(AHelper, OfNoCategoryTakesNoEntryWithItEvenWhenItIsMissing) {
  pretendLoaded();
  {
    const OpenModel open({}, "m");
    Access::fragileMap()["m"];
    open->setAsNonDestructible(true);
    ASSERT_TRUE(open->isMissingInDestructiblesXml());
    Access::fragileMap()["m"];
    Access::moduleMap()["m"];
  }
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("m")));
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Key("m")));
}

TEST_F(AHelper, WhoseEntryIsInTheFileLeavesTheTablesAsTheyAre) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  { const OpenModel open({}, "m"); }
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("m")));
}

// --- Detaching and resetting ---

TEST_F(AHelper, ThatDetachesItsModelForgetsTheHardPointsOnly) {
  pretendLoaded();
  Access::fragileMap()["m"];
  const OpenModel open({{{"a_b_5_7", 80}}, {"nwall"}, {"HP_1"}}, "m");
  EXPECT_TRUE(open->detachSuperModel(open.model.get()));
  EXPECT_THAT(open->getHardpointNames(), IsEmpty());
  EXPECT_THAT(open->getMaterialNames(), ElementsAre(Key("a_b_5_7")));
  EXPECT_THAT(open->bspMaterialNames(), ElementsAre("nwall"));
  EXPECT_THAT(Access::dependencies(*open), ElementsAre(Key(80U)));
  EXPECT_EQ(open->destructibleType(), DT_FRAGILE);
  EXPECT_EQ(open->materialDisabler(), &open.disabler);
}

TEST_F(AHelper, KeepsTheHardPointsWhenTheDisablerIsNotBoundToThatModel) {
  const OpenModel open({{}, {}, {"HP_1"}}, "m");
  const auto stranger = support::buildModel({});
  EXPECT_FALSE(open->detachSuperModel(stranger.get()));
  EXPECT_FALSE(open->detachSuperModel(nullptr));
  EXPECT_THAT(open->getHardpointNames(), ElementsAre("HP_1"));
}

TEST_F(AHelper, WithoutADisablerDetachesNothingAndKeepsTheHardPoints) {
  const auto model = support::buildModel({.nodes = {"HP_1"}});
  KsDestructiblesHelper helper(model.get(), "m", nullptr);
  EXPECT_FALSE(helper.detachSuperModel(model.get()));
  EXPECT_THAT(helper.getHardpointNames(), ElementsAre("HP_1"));
}

TEST_F(AHelper, LetsTheDisablerMakeItsBindingsAnew) {
  OpenModel open({}, "m");
  open.journal.clear();
  open->createMaterialBindings();
  EXPECT_THAT(open.journal, ElementsAre("createMaterialBindings"));
}

TEST_F(AHelper, ThatResetsItsDescriptionsMakesItsRecordAnewInTheSameCategory) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>3</health></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}}, "m");
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] { ++told; });
  open->resetDescriptions();
  EXPECT_EQ(open->destructibleType(), DT_FRAGILE);
  EXPECT_EQ(Access::fragileMap().at("m").health, 20);
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
  EXPECT_EQ(told, 2);
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(2, "Model is set as fragile.")));
}

TEST_F(AHelper, ThatResetsAStructureDropsItsStatesAndModules) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename>
    <modules><module><matName>gone</matName></module></modules>
    <states><state><name>ruined</name></state></states></entry></structures></r>)");
  const OpenModel open({{{"nwall", 73}}}, "m");
  open->resetDescriptions();
  EXPECT_EQ(open->destructibleType(), DT_STRUCTURE);
  EXPECT_THAT(Access::moduleMap().at("m"), ElementsAre(Key("nwall")));
  EXPECT_THAT(Access::stateMap(), IsEmpty());
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(2, "Model is set as structure.")));
}

TEST_F(AHelper, ThatResetsAFallingAtomGivesItTheStreetLampsEffects) {
  writeDatabase("<r><fallingAtoms><entry><filename>m</filename></entry></fallingAtoms></r>");
  const OpenModel open({}, "m");
  open->resetDescriptions();
  EXPECT_EQ(open->destructibleType(), DT_FALLING_ATOMS);
  EXPECT_EQ(Access::fallingAtomMap().at("m").fractureEffect, "inf_streetlamp_fracture");
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(2, "Model is set as falling atom.")));
}

TEST_F(AHelper, ThatResetsAModelOfNoCategoryOnlyRaisesTheTypeSignal) {
  const OpenModel open({}, "m");
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] { ++told; });
  open->resetDescriptions();
  EXPECT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

// --- The class itself ---

TEST_F(AHelper, IsAModificationListenerWithAVirtualDestructor) {
  EXPECT_TRUE((std::is_base_of_v<ResourceModificationListener, KsDestructiblesHelper>));
  EXPECT_TRUE(std::has_virtual_destructor_v<KsDestructiblesHelper>);
}

}  // namespace
}  // namespace Tal
