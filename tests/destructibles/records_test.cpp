#include <destructibles/fixture.h>

#include <type_traits>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using ::testing::SizeIs;

class TheRecords : public DestructiblesTest {};

TEST_F(TheRecords, OfModulesStartWithTheirDefaults) {
  const KsDestructibleModuleDesc desc;
  EXPECT_EQ(desc.health, 80);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.effectHP, "");
  EXPECT_EQ(desc.ramEffect, "none");
  EXPECT_EQ(desc.hitEffect, "");
  EXPECT_EQ(desc.decayEffect, "none");
}

TEST_F(TheRecords, OfFragilesStartWithTheirDefaults) {
  const KsDestructibleFragileDesc desc;
  EXPECT_EQ(desc.health, 5);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.effectHP, "");
  EXPECT_EQ(desc.achievementTag, "");
  EXPECT_EQ(desc.matName, "");
  EXPECT_EQ(desc.effect, "none");
  EXPECT_EQ(desc.hitEffect, "");
  EXPECT_EQ(desc.decayEffect, "none");
  EXPECT_EQ(desc.lifetimeEffect, "none");
}

TEST_F(TheRecords, OfFallingAtomsStartWithTheirDefaults) {
  const KsDestructibleFallingAtomDesc desc;
  EXPECT_EQ(desc.health, 20);
  EXPECT_EQ(desc.effectScale, 1.0F);
  EXPECT_EQ(desc.physicParams, "200 3.2 0.03 150000 10000 0 0.05");
  EXPECT_EQ(desc.achievementTag, "");
  EXPECT_EQ(desc.lifetimeEffect, "none");
  EXPECT_EQ(desc.fractureEffect, "none");
  EXPECT_EQ(desc.touchdownEffect, "none");
  EXPECT_EQ(desc.touchdownBreakEffect, "none");
}

TEST_F(TheRecords, OfFallingAtomsHoldNoneInAllEffectsByDefaultAndOnlyInTheLifetimeEffectWhenLoaded) {
  const KsDestructibleFallingAtomDesc made;
  EXPECT_EQ(made.lifetimeEffect, "none");
  EXPECT_EQ(made.fractureEffect, "none");
  EXPECT_EQ(made.touchdownEffect, "none");
  EXPECT_EQ(made.touchdownBreakEffect, "none");
  EXPECT_EQ(made.physicParams, "200 3.2 0.03 150000 10000 0 0.05");

  writeDatabase("<r><fallingAtoms><entry><filename>lamp.model</filename></entry></fallingAtoms></r>");
  ASSERT_TRUE(KsDestructiblesHelper().loadConfig(true));
  const KsDestructibleFallingAtomDesc& loaded = Access::fallingAtomMap().at("lamp.model");
  EXPECT_EQ(loaded.lifetimeEffect, "none");
  EXPECT_EQ(loaded.fractureEffect, "");
  EXPECT_EQ(loaded.touchdownEffect, "");
  EXPECT_EQ(loaded.touchdownBreakEffect, "");
  EXPECT_EQ(loaded.physicParams, "200 3.2 0.03 150000 10000 0 0.05");
}

TEST_F(TheRecords, HaveADefaultHealthOf5ForFragiles80ForModulesAnd20ForFallingAtoms) {
  EXPECT_EQ(KsDestructibleFragileDesc().health, 5);
  EXPECT_EQ(KsDestructibleModuleDesc().health, 80);
  EXPECT_EQ(KsDestructibleFallingAtomDesc().health, 20);
}

TEST_F(TheRecords, OfModulesCopyEveryField) {
  KsDestructibleModuleDesc desc;
  desc.health = 7;
  desc.effectScale = 2.5F;
  desc.effectHP = "HP_a";
  desc.ramEffect = "ram";
  desc.hitEffect = "hit";
  desc.decayEffect = "decay";
  KsDestructibleModuleDesc assigned;
  assigned = desc;
  for (const KsDestructibleModuleDesc& copy : {KsDestructibleModuleDesc(desc), assigned}) {
    EXPECT_EQ(copy.health, 7);
    EXPECT_EQ(copy.effectScale, 2.5F);
    EXPECT_EQ(copy.effectHP, "HP_a");
    EXPECT_EQ(copy.ramEffect, "ram");
    EXPECT_EQ(copy.hitEffect, "hit");
    EXPECT_EQ(copy.decayEffect, "decay");
  }
}

TEST_F(TheRecords, OfFragilesCopyEveryField) {
  KsDestructibleFragileDesc desc;
  desc.health = 7;
  desc.effectScale = 2.5F;
  desc.effectHP = "HP_a";
  desc.achievementTag = "tag";
  desc.matName = "mat";
  desc.effect = "main";
  desc.hitEffect = "hit";
  desc.decayEffect = "decay";
  desc.lifetimeEffect = "life";
  KsDestructibleFragileDesc assigned;
  assigned = desc;
  for (const KsDestructibleFragileDesc& copy : {KsDestructibleFragileDesc(desc), assigned}) {
    EXPECT_EQ(copy.health, 7);
    EXPECT_EQ(copy.effectScale, 2.5F);
    EXPECT_EQ(copy.effectHP, "HP_a");
    EXPECT_EQ(copy.achievementTag, "tag");
    EXPECT_EQ(copy.matName, "mat");
    EXPECT_EQ(copy.effect, "main");
    EXPECT_EQ(copy.hitEffect, "hit");
    EXPECT_EQ(copy.decayEffect, "decay");
    EXPECT_EQ(copy.lifetimeEffect, "life");
  }
}

TEST_F(TheRecords, OfFallingAtomsCopyEveryField) {
  KsDestructibleFallingAtomDesc desc;
  desc.health = 7;
  desc.effectScale = 2.5F;
  desc.physicParams = "1 2 3 4 5 6 7";
  desc.achievementTag = "tag";
  desc.lifetimeEffect = "life";
  desc.fractureEffect = "fracture";
  desc.touchdownEffect = "touchdown";
  desc.touchdownBreakEffect = "break";
  KsDestructibleFallingAtomDesc assigned;
  assigned = desc;
  for (const KsDestructibleFallingAtomDesc& copy : {KsDestructibleFallingAtomDesc(desc), assigned}) {
    EXPECT_EQ(copy.health, 7);
    EXPECT_EQ(copy.effectScale, 2.5F);
    EXPECT_EQ(copy.physicParams, "1 2 3 4 5 6 7");
    EXPECT_EQ(copy.achievementTag, "tag");
    EXPECT_EQ(copy.lifetimeEffect, "life");
    EXPECT_EQ(copy.fractureEffect, "fracture");
    EXPECT_EQ(copy.touchdownEffect, "touchdown");
    EXPECT_EQ(copy.touchdownBreakEffect, "break");
  }
}

TEST_F(TheRecords, KeepTheirOwnListenersWhenTheyAreCopied) {
  KsDestructibleModuleDesc source;
  KsDestructibleModuleDesc target;
  int sourceTold = 0;
  int targetTold = 0;
  const ks::Connection onSource = source.hardPointChanged.connect([&] { ++sourceTold; });
  const ks::Connection onTarget = target.hardPointChanged.connect([&] { ++targetTold; });
  const KsDestructibleModuleDesc copy(source);
  target = source;

  copy.hardPointChanged();
  EXPECT_EQ(sourceTold, 0);
  target.hardPointChanged();
  EXPECT_EQ(targetTold, 1);
  EXPECT_EQ(sourceTold, 0);
  source.hardPointChanged();
  EXPECT_EQ(sourceTold, 1);
  EXPECT_EQ(targetTold, 1);
}

TEST_F(TheRecords, PassTheSetterFlagsToThoseWhoListenForAChange) {
  const KsDestructibleModuleDesc module;
  const KsDestructibleFragileDesc fragile;
  const KsDestructibleFallingAtomDesc fallingAtom;
  int told = 0;
  const auto count = [&](mio::SetterFlags flags) { told += flags == mio::SetterFlags::none ? 1 : 100; };
  const ks::Connection first = module.changed.connect(count);
  const ks::Connection second = fragile.changed.connect(count);
  const ks::Connection third = fallingAtom.changed.connect(count);
  module.changed(mio::SetterFlags::none);
  fragile.changed(mio::SetterFlags::none);
  fallingAtom.changed(mio::SetterFlags::none);
  EXPECT_EQ(told, 3);
}

TEST_F(TheRecords, DescribeThemselvesThroughTheReflectionBase) {
  EXPECT_TRUE((std::is_base_of_v<mio::Object, KsDestructibleModuleDesc>));
  EXPECT_TRUE((std::is_base_of_v<mio::Object, KsDestructibleFragileDesc>));
  EXPECT_TRUE((std::is_base_of_v<mio::Object, KsDestructibleFallingAtomDesc>));
}

TEST_F(TheRecords, NumberTheCategoriesFrom0To3In32Bits) {
  EXPECT_EQ(static_cast<int>(DT_STRUCTURE), 0);
  EXPECT_EQ(static_cast<int>(DT_FRAGILE), 1);
  EXPECT_EQ(static_cast<int>(DT_FALLING_ATOMS), 2);
  EXPECT_EQ(static_cast<int>(DT_NON_DESTRUCTIBLE), 3);
  EXPECT_EQ(sizeof(KsDestructibleType), 4U);
}

TEST_F(TheRecords, WriteNoEffectAsNone) {
  EXPECT_EQ(UNDEFINED_EFFECT, "none");
}

TEST_F(TheRecords, OfModelsWhoseNamesDifferInCaseAreTwo) {
  writeDatabase(R"(<r><fragiles>
    <entry><filename>Models/a.model</filename><health>1</health></entry>
    <entry><filename>models/a.model</filename><health>2</health></entry>
  </fragiles></r>)");
  ASSERT_TRUE(KsDestructiblesHelper().loadConfig(true));
  EXPECT_THAT(Access::fragileMap(), SizeIs(2));
  EXPECT_EQ(Access::fragileMap().at("Models/a.model").health, 1);
  EXPECT_EQ(Access::fragileMap().at("models/a.model").health, 2);
}

TEST_F(TheRecords, OfModelsKeepTheNamesAsTheyStandInTheFile) {
  writeDatabase(R"(<r><fragiles>
    <entry><filename>A\b//c.MODEL</filename></entry>
    <entry><filename>./x</filename></entry>
  </fragiles></r>)");
  ASSERT_TRUE(KsDestructiblesHelper().loadConfig(true));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("./x"), Key("A\\b//c.MODEL")));
}

TEST_F(TheRecords, AreOrderedByTheBytesOfTheirKeysShorterPrefixFirst) {
  writeDatabase(R"(<r><fallingAtoms>
    <entry><filename>é</filename></entry><entry><filename>ab</filename></entry>
    <entry><filename>b</filename></entry><entry><filename>a</filename></entry>
    <entry><filename>B</filename></entry><entry><filename>z</filename></entry>
  </fallingAtoms></r>)");
  ASSERT_TRUE(KsDestructiblesHelper().loadConfig(true));
  EXPECT_THAT(Access::fallingAtomMap(),
              ElementsAre(Key("B"), Key("a"), Key("ab"), Key("b"), Key("z"), Key("é")));
}

TEST_F(TheRecords, KeepAStateWithoutMaterials) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename><states>
    <state><name>bare</name><destroyedMaterials></destroyedMaterials></state>
    <state><name>barer</name></state>
  </states></entry></structures></r>)");
  ASSERT_TRUE(KsDestructiblesHelper().loadConfig(true));
  EXPECT_THAT(Access::stateMap().at("m").states,
              ElementsAre(Pair("bare", IsEmpty()), Pair("barer", IsEmpty())));
}

TEST_F(TheRecords, AreSharedByAllHelpers) {
  pretendLoaded();
  const OpenModel first({}, "m");
  const OpenModel second({}, "m");
  ASSERT_TRUE(first->addDestructibleState("ruined"));
  EXPECT_THAT(second->getStateNames(), ElementsAre("undamaged", "ruined", "destroyed"));
}

TEST_F(TheRecords, OutliveEveryHelper) {
  writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>");
  { const OpenModel open({}, "other"); }
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
}

/// Runs in a process of its own, which has loaded nothing yet.
TEST(TheTablesDeathTest, AreEmptyAndNotLoadedBeforeTheFirstLoad) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(Access::tablesAreEmpty() && !Access::hasLoaded() ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Tal
