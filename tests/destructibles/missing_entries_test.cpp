#include <destructibles/fixture.h>

#include <algorithm>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

class MissingEntries : public DestructiblesTest {
 protected:
  /// The hard points that the modules of a structure get, by module.
  static std::map<std::string, std::string> hardPointsOf(const Strings& modules, const Strings& hardPoints) {
    Access::hasLoaded() = true;
    const OpenModel open({.nodes = hardPoints}, "m");
    for (const std::string& module : modules) Access::moduleMap()["m"][module];
    Access::setMissingModules(*open);
    std::map<std::string, std::string> found;
    for (const auto& [name, desc] : Access::moduleMap()["m"]) found[name] = desc.effectHP;
    Access::moduleMap().erase("m");
    return found;
  }
};

constexpr const char* kNoUndamagedMaterial = "Model doesn't have an undamaged matkind material!\n";

// --- Falling atoms ---

TEST_F(MissingEntries, OfFallingAtomsAreMadeWithTheStreetLampsEffectsAndTheEstimatedHealth) {
  const OpenModel open({{{"nwall", 73}}, {"nwall"}, {"HP_1"}}, "m");
  open->setAsFallingAtoms();
  const KsDestructibleFallingAtomDesc& desc = Access::fallingAtomMap().at("m");
  EXPECT_EQ(desc.health, 20);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.physicParams, "200 3.2 0.03 150000 10000 0 0.05");
  EXPECT_EQ(desc.achievementTag, "");
  EXPECT_EQ(desc.lifetimeEffect, "none");
  EXPECT_EQ(desc.fractureEffect, "inf_streetlamp_fracture");
  EXPECT_EQ(desc.touchdownEffect, "inf_streetlamp_touchdown");
  EXPECT_EQ(desc.touchdownBreakEffect, "none");
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
}

TEST_F(MissingEntries, OfSmallFallingAtomsAndFragilesHaveHealth1) {
  writeVisual("m.visual", "1 1 1");
  const OpenModel open({}, "m.model");
  open->setAsFallingAtoms();
  EXPECT_EQ(Access::fallingAtomMap().at("m.model").health, 1);
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("m.model").health, 1);
}

TEST_F(MissingEntries, OfFallingAtomsThatExistAreLeftAloneAndClearTheMissingFlag) {
  const OpenModel open({}, "m");
  Access::fallingAtomMap()["m"].health = 3;
  Access::isMissing(*open) = true;
  Access::setMissingFallingAtom(*open);
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
  EXPECT_EQ(Access::fallingAtomMap().at("m").health, 3);
  EXPECT_EQ(Access::fallingAtomMap().at("m").fractureEffect, "none");
}

// --- Fragiles ---

TEST_F(MissingEntries, OfFragilesAreMadeWithTheDefaultEffectsTheFirstHardPointAndTheUndamagedMaterial) {
  const OpenModel open({{{"nwall", 73}}, {}, {"HP_b", "HP_a"}}, "m");
  open->setAsFragile();
  const KsDestructibleFragileDesc& desc = Access::fragileMap().at("m");
  EXPECT_EQ(desc.health, 20);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.effectHP, "HP_b");
  EXPECT_EQ(desc.achievementTag, "");
  EXPECT_EQ(desc.matName, "nwall");
  EXPECT_EQ(desc.effect, "hd_bld_SU_206_Cellar");
  EXPECT_EQ(desc.hitEffect, "hd_bld_SU_206_Cellar");
  EXPECT_EQ(desc.decayEffect, "none");
  EXPECT_EQ(desc.lifetimeEffect, "none");
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(2, "Model is set as fragile.")));
}

TEST_F(MissingEntries, OfFragilesThatExistAreLeftAloneAndClearTheMissingFlagWhileModulesLeaveItAsItIs) {
  const OpenModel open({}, "m");
  Access::fragileMap()["m"].health = 3;
  Access::isMissing(*open) = true;
  Access::setMissingFragile(*open);
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
  EXPECT_EQ(Access::fragileMap().at("m").health, 3);
  EXPECT_EQ(Access::fragileMap().at("m").effect, "none");

  Access::moduleMap()["m"];
  Access::isMissing(*open) = true;
  Access::setMissingModules(*open);
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
  Access::isMissing(*open) = false;
  Access::setMissingModules(*open);
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
}

TEST_F(MissingEntries, OfFragilesTakeTheirMaterialFromTheCollisionMaterialsFirst) {
  const OpenModel open({{{"a_undamaged", 73}, {"z_undamaged", 74}}, {"z_undamaged"}}, "m");
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("m").matName, "z_undamaged");
}

TEST_F(MissingEntries, OfFragilesTakeTheFirstUndamagedCollisionMaterialAlsoByItsName) {
  const OpenModel open({{{"nlast", 73}, {"dfirst", 87}}, {"nlast", "dfirst", "nfirst", "wall"}}, "m");
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("m").matName, "nfirst") << "it is no material, its name decides";
}

TEST_F(MissingEntries, OfFragilesTakeTheFirstUndamagedMaterialWhenNoCollisionMaterialIs) {
  const OpenModel open({{{"d1", 87}, {"y_undamaged", 75}, {"x_undamaged", 76}}, {"d1", "wall"}}, "m");
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("m").matName, "x_undamaged");
}

TEST_F(MissingEntries, OfFragilesWithoutAnUndamagedMaterialAreMadeAllTheSameWithAMessage) {
  const OpenModel open({{{"d1", 87}, {"stone", 73}}, {"wall"}}, "m");
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("m").matName, "");
  EXPECT_EQ(Access::fragileMap().at("m").effectHP, "");
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
  EXPECT_THAT(messages_.messages(),
              ElementsAre(isLogged(5, kNoUndamagedMaterial), isLogged(2, "Model is set as fragile.")));
}

// --- Modules ---

TEST_F(MissingEntries, OfStructuresAreOneModulePerUndamagedMaterial) {
  const OpenModel open({{{"wall", 73}, {"droof", 88}, {"stairs", 75}, {"nroof", 0}, {"roof", 86}, {"x", 72}}},
                       "m");
  open->setAsStructure();
  EXPECT_THAT(Access::moduleMap().at("m"), ElementsAre(Key("nroof"), Key("roof"), Key("wall")));
  const KsDestructibleModuleDesc& desc = Access::moduleMap().at("m").at("wall");
  EXPECT_EQ(desc.health, 50);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.effectHP, "");
  EXPECT_EQ(desc.ramEffect, "inf_bld_UNI_000_Base_02");
  EXPECT_EQ(desc.hitEffect, "inf_bld_UNI_000_Base_02");
  EXPECT_EQ(desc.decayEffect, "none");
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
}

TEST_F(MissingEntries, OfStructuresWithTwoUndamagedCollisionMaterialsHaveHealth35) {
  const OpenModel open({{{"wall", 73}, {"roof", 74}}, {"wall", "roof"}}, "m");
  open->setAsStructure();
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").health, 35);
  EXPECT_EQ(Access::moduleMap().at("m").at("roof").health, 35);
}

TEST_F(MissingEntries, OfStructuresWithoutUndamagedMaterialsAreAnEmptyTable) {
  const OpenModel open({{{"d1", 87}}, {}, {"HP_1"}}, "m");
  open->setAsStructure();
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Pair("m", IsEmpty())));
  EXPECT_EQ(open->destructibleType(), DT_STRUCTURE);
}

TEST_F(MissingEntries, OfStructuresLeaveExistingModulesAndAddTheOthers) {
  const OpenModel open({{{"wall", 73}, {"roof", 74}}}, "m");
  KsDestructibleModuleDesc& wall = Access::moduleMap()["m"]["wall"];
  wall.health = 3;
  wall.effectHP = "kept";
  Access::moduleMap()["m"]["gone"].health = 4;
  open->setAsStructure();
  EXPECT_THAT(Access::moduleMap().at("m"), ElementsAre(Key("gone"), Key("roof"), Key("wall")));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").health, 3);
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").effectHP, "kept") << "there is no hard point to assign";
  EXPECT_EQ(Access::moduleMap().at("m").at("gone").health, 4);
  EXPECT_FALSE(open->isMissingInDestructiblesXml()) << "the model's table was there";
}

TEST_F(MissingEntries, OfStructuresKeepAModuleWhoseMaterialIsNoLongerUndamaged) {
  const OpenModel open({{{"wall", 73}, {"droof", 88}}, {}, {"HP_1"}}, "m");
  Access::moduleMap()["m"]["droof"].health = 4;
  open->setAsStructure();
  EXPECT_THAT(Access::modules().at("m"), ElementsAre(Key("droof"), Key("wall")));
  EXPECT_EQ(Access::modules().at("m").at("droof").health, 4);
  EXPECT_EQ(Access::modules().at("m").at("droof").effectHP, "HP_1");
}

TEST_F(MissingEntries, OfStructuresMakeNoStates) {
  const OpenModel open({{{"wall", 73}}}, "m");
  open->setAsStructure();
  EXPECT_THAT(Access::stateMap(), IsEmpty());
}

TEST_F(MissingEntries, OfGatesWithoutKnownMaterialsGetTheHealthMinus1AndTheWarning) {
  const OpenModel open({{{"nwall", 73}}}, "a/gatesandfences/b");
  open->setAsStructure();
  EXPECT_EQ(Access::moduleMap().at("a/gatesandfences/b").at("nwall").health, -1);
  EXPECT_THAT(
      messages_.messages(),
      ElementsAre(isLogged(4,
                           "[Wrn.122] Model a/gatesandfences/b has no stone, wood and metal materials - "
                           "cannot calculate health of destructible."),
                  isLogged(2, "Model is set as structure.")));
}

TEST_F(MissingEntries, OfAFragileGateWithoutMaterialsWarnOfItsHealthBeforeItsMaterial) {
  const OpenModel open({}, "a/gatesandfences/b");
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("a/gatesandfences/b").health, -1);
  EXPECT_THAT(
      messages_.messages(),
      ElementsAre(isLogged(4,
                           "[Wrn.122] Model a/gatesandfences/b has no stone, wood and metal materials - "
                           "cannot calculate health of destructible."),
                  isLogged(5, kNoUndamagedMaterial), isLogged(2, "Model is set as fragile.")));
}

TEST_F(MissingEntries, AskForTheHealthOnEveryFillOfModulesAndOnceForOtherEntries) {
  const OpenModel open({}, "a/gatesandfences/b");
  Access::setMissingFragile(*open);
  Access::setMissingFragile(*open);
  Access::setMissingFallingAtom(*open);
  Access::setMissingFallingAtom(*open);
  Access::setMissingModules(*open);
  Access::setMissingModules(*open);
  const auto warnings =
      std::count_if(messages_.messages().begin(), messages_.messages().end(),
                    [](const DebugMessage& message) { return message.messagePriority == 4; });
  EXPECT_EQ(warnings, 4);
}

TEST_F(MissingEntries, OfStructuresAreMadeAlsoWhenTheDatabaseIsReadAnewInBetween) {
  writeDatabase("<r/>");
  auto first = std::make_unique<OpenModel>(support::ModelParts{}, "other");
  const OpenModel open({{{"wall", 73}, {"roof", 74}}, {}, {"HP_1"}}, "m");
  first.reset();  // the next look at the states reads the file
  open->setAsStructure();
  EXPECT_THAT(Access::moduleMap().at("m"), ElementsAre(Key("roof"), Key("wall")));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").effectHP, "HP_1");
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
}

// --- Hard points ---

TEST_F(MissingEntries, GiveModulesTheHardPointOfTheirNumberWithoutItsFirstDigit) {
  EXPECT_THAT(hardPointsOf({"wall2_01", "wall3_02", "roof"}, {"HP_fx1", "HP_fx2"}),
              ElementsAre(Pair("roof", "HP_fx1"), Pair("wall2_01", "HP_fx1"), Pair("wall3_02", "HP_fx2")));
}

TEST_F(MissingEntries, GiveModulesWithoutANumberTheHardPointOfNumber0) {
  EXPECT_THAT(hardPointsOf({"roof", "wall7", "gate1_0", "pillar1_9"}, {"HP_fx1", "HP_gun", "HP_0"}),
              ElementsAre(Pair("gate1_0", "HP_gun"), Pair("pillar1_9", "HP_fx1"), Pair("roof", "HP_gun"),
                          Pair("wall7", "HP_gun")));
}

TEST_F(MissingEntries, JoinTheDigitsOfANameThatStandApart) {
  EXPECT_THAT(hardPointsOf({"x9_1_2y"}, {"HP_a", "HP_1b2"}), ElementsAre(Pair("x9_1_2y", "HP_1b2")));
}

TEST_F(MissingEntries, GiveTheFirstOfTwoHardPointsOfANumber) {
  EXPECT_THAT(hardPointsOf({"x0_5"}, {"HP_a", "HP_b5", "HP_c5"}), ElementsAre(Pair("x0_5", "HP_b5")));
}

TEST_F(MissingEntries, WrapNumbersAt32Bits) {
  EXPECT_THAT(hardPointsOf({"a0_1", "b9_4294967298"}, {"HP_x", "HP_4294967297", "HP_2"}),
              ElementsAre(Pair("a0_1", "HP_4294967297"), Pair("b9_4294967298", "HP_2")));
}

TEST_F(MissingEntries, CountAsciiDigitsOnly) {
  EXPECT_THAT(hardPointsOf({"a0_1"}, {"HP_x",
                                      "HP_\xd9\xa1"
                                      "2",
                                      "HP_1"}),
              ElementsAre(Pair("a0_1", "HP_1")));
}

TEST_F(MissingEntries, OfStructuresOverwriteAHardPointThatTheAuthorChose) {
  const OpenModel open({{{"wall0_2", 73}}, {}, {"HP_1", "HP_2"}}, "m");
  Access::moduleMap()["m"]["wall0_2"].effectHP = "HP_1";
  Access::setMissingModules(*open);
  EXPECT_EQ(Access::moduleMap().at("m").at("wall0_2").effectHP, "HP_2");
}

TEST_F(MissingEntries, OfStructuresFilledTwiceAddNothingButAssignEveryHardPointAgain) {
  const OpenModel open({{{"wall0_1", 73}, {"wall0_2", 74}}, {}, {"HP_1", "HP_2"}}, "m");
  open->setAsStructure();
  std::map<std::string, KsDestructibleModuleDesc>& modules = Access::moduleMap().at("m");
  modules["wall0_1"].effectHP = "HP_2";
  modules["wall0_2"].effectHP = "";
  modules["wall0_2"].health = 7;
  Access::setMissingModules(*open);
  EXPECT_THAT(modules, ElementsAre(Key("wall0_1"), Key("wall0_2")));
  EXPECT_EQ(modules["wall0_1"].effectHP, "HP_1");
  EXPECT_EQ(modules["wall0_2"].effectHP, "HP_2");
  EXPECT_EQ(modules["wall0_2"].health, 7);
}

TEST_F(MissingEntries, OfAKnownStructureAreAddedAndItsHardPointsAssignedWhenItIsOpened) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename><modules>
    <module><matName>wall0_2</matName><effectHP>HP_1</effectHP></module></modules></entry></structures></r>)");
  const OpenModel open({{{"wall0_2", 73}, {"wall0_1", 74}}, {}, {"HP_1", "HP_2"}}, "m");
  EXPECT_EQ(Access::moduleMap().at("m").at("wall0_2").effectHP, "HP_2");
  EXPECT_EQ(Access::moduleMap().at("m").at("wall0_1").effectHP, "HP_1");
  EXPECT_EQ(Access::moduleMap().at("m").at("wall0_1").health, 50);
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
}

}  // namespace
}  // namespace Tal
