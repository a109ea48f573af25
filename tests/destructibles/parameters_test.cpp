#include <destructibles/fixture.h>

#include <cmath>
#include <limits>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

/// The accessors of the record of a fragile or a falling atom.
class TheParameters : public DestructiblesTest {
 protected:
  TheParameters() : open_({.nodes = {"HP_1"}}, "m") {
    Access::hasLoaded() = true;
    messages_.clear();
  }

  void makeFragile() {
    Access::type(*open_) = DT_FRAGILE;
    Access::fragileMap()["m"];
  }
  void makeFallingAtom() {
    Access::type(*open_) = DT_FALLING_ATOMS;
    Access::fallingAtomMap()["m"];
  }

  OpenModel open_;
};

// --- Modules ---

TEST_F(TheParameters, OfAModuleAreCopiedOut) {
  KsDestructibleModuleDesc& stored = Access::moduleMap()["m"]["wall"];
  stored.health = 7;
  stored.effectScale = 2.5F;
  stored.effectHP = "HP_1";
  stored.ramEffect = "ram";
  stored.hitEffect = "hit";
  stored.decayEffect = "decay";
  KsDestructibleModuleDesc desc;
  EXPECT_TRUE(open_->getDestructibleModule("wall", desc));
  EXPECT_EQ(desc.health, 7);
  EXPECT_EQ(desc.effectScale, 2.5F);
  EXPECT_EQ(desc.effectHP, "HP_1");
  EXPECT_EQ(desc.ramEffect, "ram");
  EXPECT_EQ(desc.hitEffect, "hit");
  EXPECT_EQ(desc.decayEffect, "decay");
}

TEST_F(TheParameters, OfAMissingModuleLeaveTheRecordUntouched) {
  KsDestructibleModuleDesc desc;
  desc.health = 123;
  EXPECT_FALSE(open_->getDestructibleModule("wall", desc));
  Access::moduleMap()["m"]["roof"].health = 7;
  Access::moduleMap()["other"]["wall"].health = 8;
  EXPECT_FALSE(open_->getDestructibleModule("wall", desc));
  EXPECT_EQ(desc.health, 123);
  EXPECT_FALSE(Access::moduleMap()["m"].count("wall") == 1) << "asking makes no module";
}

TEST_F(TheParameters, OfAModuleAreGivenOutInAnyCategory) {
  Access::moduleMap()["m"]["wall"].health = 7;
  for (const KsDestructibleType type : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE}) {
    Access::type(*open_) = type;
    KsDestructibleModuleDesc desc;
    EXPECT_TRUE(open_->getDestructibleModule("wall", desc));
    EXPECT_EQ(desc.health, 7);
  }
}

TEST_F(TheParameters, OfAModuleOfAFragileModelAreStillThere) {
  Access::moduleMap()["m"]["wall"].health = 7;
  makeFragile();
  KsDestructibleModuleDesc desc;
  EXPECT_TRUE(open_->getDestructibleModule("wall", desc));
  EXPECT_EQ(desc.health, 7);
}

TEST_F(TheParameters, OfTheFirstModuleMakeTheModelsEntry) {
  KsDestructibleModuleDesc desc;
  desc.health = 7;
  EXPECT_TRUE(open_->updateDestructibleModule("wall", desc, false));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").health, 7);
  EXPECT_FALSE(open_->isMissingInDestructiblesXml());
  EXPECT_EQ(open_->destructibleType(), DT_NON_DESTRUCTIBLE);
}

TEST_F(TheParameters, OfANewModuleAreStoredAlsoWhenTheyAreTheDefaults) {
  EXPECT_TRUE(open_->updateDestructibleModule("wall", KsDestructibleModuleDesc(), false));
  EXPECT_THAT(Access::moduleMap().at("m"), ElementsAre(Key("wall")));
}

TEST_F(TheParameters, OfAnExistingModuleAreReportedAsDifferentButKeptOnRequest) {
  Access::moduleMap()["m"]["wall"].hitEffect = "old";
  KsDestructibleModuleDesc desc;
  desc.hitEffect = "new";
  EXPECT_TRUE(open_->updateDestructibleModule("wall", desc, true));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").hitEffect, "old");
  EXPECT_TRUE(open_->updateDestructibleModule("roof", desc, true));
  EXPECT_EQ(Access::moduleMap().at("m").at("roof").hitEffect, "new");
  EXPECT_TRUE(open_->updateDestructibleModule("wall", desc, false));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").hitEffect, "new");
}

TEST_F(TheParameters, OfAModuleThatAreItsOwnOrEqualAreNoChange) {
  KsDestructibleModuleDesc& stored = Access::moduleMap()["m"]["wall"];
  stored.effectScale = std::numeric_limits<float>::infinity();
  for (const bool keepExisting : {false, true}) {
    EXPECT_FALSE(open_->updateDestructibleModule("wall", stored, keepExisting));
    EXPECT_FALSE(open_->updateDestructibleModule("wall", KsDestructibleModuleDesc(stored), keepExisting));
  }
}

TEST_F(TheParameters, OfAModuleMayBeTakenFromAnotherModule) {
  Access::moduleMap()["m"]["wall"].health = 7;
  EXPECT_TRUE(open_->updateDestructibleModule("roof", Access::moduleMap()["m"]["wall"], false));
  EXPECT_EQ(Access::moduleMap().at("m").at("roof").health, 7);
}

TEST_F(TheParameters, OfAModuleDifferInEveryField) {
  using Edit = void (*)(KsDestructibleModuleDesc&);
  using Desc = KsDestructibleModuleDesc;
  for (const Edit edit :
       {Edit([](Desc& d) { d.health = 1; }), Edit([](Desc& d) { d.effectHP = "x"; }),
        Edit([](Desc& d) { d.effectScale = 2; }), Edit([](Desc& d) { d.ramEffect = "x"; }),
        Edit([](Desc& d) { d.hitEffect = "x"; }), Edit([](Desc& d) { d.decayEffect = "x"; })}) {
    Access::moduleMap()["m"]["wall"] = Desc();
    Desc desc;
    edit(desc);
    EXPECT_TRUE(open_->updateDestructibleModule("wall", desc, false));
    EXPECT_FALSE(open_->updateDestructibleModule("wall", desc, false)) << "it was stored in full";
  }
}

// --- Fragiles ---

TEST_F(TheParameters, OfAFragileAreCopiedOutAndBack) {
  makeFragile();
  KsDestructibleFragileDesc desc;
  desc.health = 7;
  desc.effectScale = 2.5F;
  desc.effectHP = "HP_1";
  desc.achievementTag = "tag";
  desc.matName = "wood";
  desc.effect = "main";
  desc.hitEffect = "hit";
  desc.decayEffect = "decay";
  desc.lifetimeEffect = "life";
  EXPECT_TRUE(open_->updateFragileParameters(desc));
  KsDestructibleFragileDesc copy;
  EXPECT_TRUE(open_->getFragileParameters(copy));
  EXPECT_EQ(copy.health, 7);
  EXPECT_EQ(copy.effectScale, 2.5F);
  EXPECT_EQ(copy.effectHP, "HP_1");
  EXPECT_EQ(copy.achievementTag, "tag");
  EXPECT_EQ(copy.matName, "wood");
  EXPECT_EQ(copy.effect, "main");
  EXPECT_EQ(copy.hitEffect, "hit");
  EXPECT_EQ(copy.decayEffect, "decay");
  EXPECT_EQ(copy.lifetimeEffect, "life");
}

TEST_F(TheParameters, OfAFragileDifferInEveryField) {
  makeFragile();
  using Edit = void (*)(KsDestructibleFragileDesc&);
  using Desc = KsDestructibleFragileDesc;
  for (const Edit edit :
       {Edit([](Desc& d) { d.health = 1; }), Edit([](Desc& d) { d.effectHP = "x"; }),
        Edit([](Desc& d) { d.effectScale = 2; }), Edit([](Desc& d) { d.effect = "x"; }),
        Edit([](Desc& d) { d.hitEffect = "x"; }), Edit([](Desc& d) { d.decayEffect = "x"; }),
        Edit([](Desc& d) { d.matName = "x"; }), Edit([](Desc& d) { d.lifetimeEffect = "x"; }),
        Edit([](Desc& d) { d.achievementTag = "x"; })}) {
    Access::fragileMap()["m"] = Desc();
    EXPECT_FALSE(open_->updateFragileParameters(Desc()));
    Desc desc;
    edit(desc);
    EXPECT_TRUE(open_->updateFragileParameters(desc));
    EXPECT_FALSE(open_->updateFragileParameters(desc)) << "it was stored in full";
  }
}

TEST_F(TheParameters, OfAFragileThatDifferInTheScaleByLessThan4TenThousandthsAreNoChange) {
  makeFragile();
  KsDestructibleFragileDesc& stored = Access::fragileMap()["m"];
  KsDestructibleFragileDesc desc;
  desc.effectScale = 1.0003F;
  EXPECT_FALSE(open_->updateFragileParameters(desc));
  EXPECT_EQ(stored.effectScale, 1.0F);
  desc.effectScale = 0.9997F;
  EXPECT_FALSE(open_->updateFragileParameters(desc));
  EXPECT_EQ(stored.effectScale, 1.0F);

  desc.effectScale = 1.0005F;
  EXPECT_TRUE(open_->updateFragileParameters(desc));
  EXPECT_EQ(stored.effectScale, 1.0005F);
}

TEST_F(TheParameters, OfAFragileThatDifferInTheScaleByExactly4TenThousandthsAreAChange) {
  makeFragile();
  Access::fragileMap()["m"].effectScale = 0;
  KsDestructibleFragileDesc desc;
  desc.effectScale = std::nextafterf(0.0004F, 0.0F);
  EXPECT_FALSE(open_->updateFragileParameters(desc));
  desc.effectScale = 0.0004F;
  EXPECT_TRUE(open_->updateFragileParameters(desc));
  EXPECT_EQ(Access::fragileMap()["m"].effectScale, 0.0004F);
}

TEST_F(TheParameters, WithAScaleThatIsNoNumberAreNoChange) {
  makeFragile();
  KsDestructibleFragileDesc desc;
  desc.effectScale = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(open_->updateFragileParameters(desc));
  Access::fragileMap()["m"].effectScale = std::numeric_limits<float>::quiet_NaN();
  desc.effectScale = 5;
  EXPECT_FALSE(open_->updateFragileParameters(desc));
  Access::fragileMap()["m"].effectScale = 1;
  desc.effectScale = std::numeric_limits<float>::infinity();
  EXPECT_TRUE(open_->updateFragileParameters(desc));
  EXPECT_FALSE(open_->updateFragileParameters(desc)) << "infinity less infinity is no number";
}

TEST_F(TheParameters, OfAFragileAreNotGivenOutByAStructure) {
  Access::fragileMap()["m"].health = 7;
  KsDestructibleFragileDesc desc;
  desc.health = 123;
  for (const KsDestructibleType type : {DT_STRUCTURE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE}) {
    Access::type(*open_) = type;
    EXPECT_FALSE(open_->getFragileParameters(desc));
    EXPECT_EQ(desc.health, 123);
    EXPECT_FALSE(open_->updateFragileParameters(desc));
    EXPECT_EQ(Access::fragileMap().at("m").health, 7);
  }
}

TEST_F(TheParameters, OfAFragileWithoutAnEntryAreNeitherReadNorMade) {
  Access::type(*open_) = DT_FRAGILE;
  KsDestructibleFragileDesc desc;
  desc.health = 123;
  EXPECT_FALSE(open_->getFragileParameters(desc));
  EXPECT_EQ(desc.health, 123);
  EXPECT_FALSE(open_->updateFragileParameters(desc));
  EXPECT_THAT(Access::fragileMap(), IsEmpty());
}

TEST_F(TheParameters, OfAFragileThatAreTheStoredOnesAreNoChange) {
  makeFragile();
  Access::fragileMap()["m"].effectScale = std::numeric_limits<float>::infinity();
  EXPECT_FALSE(open_->updateFragileParameters(Access::fragileMap()["m"]));
}

// --- Falling atoms ---

TEST_F(TheParameters, OfAFallingAtomAreCopiedOutAndBack) {
  makeFallingAtom();
  KsDestructibleFallingAtomDesc desc;
  desc.health = 7;
  desc.effectScale = 2.5F;
  desc.physicParams = "1 2 3 4 5 6 7";
  desc.achievementTag = "tag";
  desc.lifetimeEffect = "life";
  desc.fractureEffect = "fracture";
  desc.touchdownEffect = "touchdown";
  desc.touchdownBreakEffect = "break";
  EXPECT_TRUE(open_->updateFallingAtomParameters(desc));
  KsDestructibleFallingAtomDesc copy;
  EXPECT_TRUE(open_->getFallingAtomParameters(copy));
  EXPECT_EQ(copy.health, 7);
  EXPECT_EQ(copy.effectScale, 2.5F);
  EXPECT_EQ(copy.physicParams, "1 2 3 4 5 6 7");
  EXPECT_EQ(copy.achievementTag, "tag");
  EXPECT_EQ(copy.lifetimeEffect, "life");
  EXPECT_EQ(copy.fractureEffect, "fracture");
  EXPECT_EQ(copy.touchdownEffect, "touchdown");
  EXPECT_EQ(copy.touchdownBreakEffect, "break");
}

TEST_F(TheParameters, OfAFallingAtomDifferInEveryField) {
  makeFallingAtom();
  using Edit = void (*)(KsDestructibleFallingAtomDesc&);
  using Desc = KsDestructibleFallingAtomDesc;
  for (const Edit edit :
       {Edit([](Desc& d) { d.health = 1; }), Edit([](Desc& d) { d.physicParams = "x"; }),
        Edit([](Desc& d) { d.lifetimeEffect = "x"; }), Edit([](Desc& d) { d.fractureEffect = "x"; }),
        Edit([](Desc& d) { d.touchdownEffect = "x"; }), Edit([](Desc& d) { d.touchdownBreakEffect = "x"; }),
        Edit([](Desc& d) { d.effectScale = 2; }), Edit([](Desc& d) { d.achievementTag = "x"; })}) {
    Access::fallingAtomMap()["m"] = Desc();
    EXPECT_FALSE(open_->updateFallingAtomParameters(Desc()));
    Desc desc;
    edit(desc);
    EXPECT_TRUE(open_->updateFallingAtomParameters(desc));
    EXPECT_FALSE(open_->updateFallingAtomParameters(desc)) << "it was stored in full";
  }
}

TEST_F(TheParameters, OfAFallingAtomWhoseEntryAnotherHelperErasedAreNotUpdated) {
  const OpenModel other({}, "m");
  makeFallingAtom();
  KsDestructibleFallingAtomDesc desc;
  desc.health = 7;
  other->setAsNonDestructible(true);
  EXPECT_FALSE(open_->updateFallingAtomParameters(desc));
  EXPECT_FALSE(open_->getFallingAtomParameters(desc));
  EXPECT_EQ(desc.health, 7);
  EXPECT_THAT(Access::fallingAtomMap(), IsEmpty());
}

TEST_F(TheParameters, OfAFallingAtomNeedItsCategory) {
  Access::fallingAtomMap()["m"].health = 7;
  KsDestructibleFallingAtomDesc desc;
  desc.health = 123;
  for (const KsDestructibleType type : {DT_STRUCTURE, DT_FRAGILE, DT_NON_DESTRUCTIBLE}) {
    Access::type(*open_) = type;
    EXPECT_FALSE(open_->getFallingAtomParameters(desc));
    EXPECT_EQ(desc.health, 123);
    EXPECT_FALSE(open_->updateFallingAtomParameters(desc));
    EXPECT_EQ(Access::fallingAtomMap().at("m").health, 7);
  }
}

TEST_F(TheParameters, OfAFallingAtomThatAreTheStoredOnesAreNoChange) {
  makeFallingAtom();
  EXPECT_FALSE(open_->updateFallingAtomParameters(Access::fallingAtomMap()["m"]));
}

// --- The tag of a structure and the hard points ---

TEST_F(TheParameters, OfAStructureHoldATagThatIsReadAndUpdated) {
  Access::type(*open_) = DT_STRUCTURE;
  EXPECT_TRUE(open_->updateStructureAchievementTag("hero"));
  std::string tag = "untouched";
  EXPECT_TRUE(open_->getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "hero");
  EXPECT_TRUE(open_->updateStructureAchievementTag("Hero")) << "tags are compared exactly";
  EXPECT_TRUE(open_->updateStructureAchievementTag(""));
  EXPECT_TRUE(open_->getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "");
}

TEST_F(TheParameters, HoldNoNewTagWhenItIsTheCurrentOneOrTheModelIsNoStructure) {
  Access::type(*open_) = DT_STRUCTURE;
  ASSERT_TRUE(open_->updateStructureAchievementTag("hero"));
  EXPECT_FALSE(open_->updateStructureAchievementTag("hero"));
  for (const KsDestructibleType type : {DT_FRAGILE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE}) {
    Access::type(*open_) = type;
    EXPECT_FALSE(open_->updateStructureAchievementTag("new"));
    std::string tag = "untouched";
    EXPECT_FALSE(open_->getStructureAchievementTag(tag));
    EXPECT_EQ(tag, "untouched");
  }
  EXPECT_EQ(Access::structureAchievementTag(*open_), "hero");
}

TEST_F(TheParameters, HoldATagThatMayBeReadIntoItself) {
  Access::type(*open_) = DT_STRUCTURE;
  ASSERT_TRUE(open_->updateStructureAchievementTag("a tag that is too long to be held in place"));
  std::string& tag = Access::structureAchievementTag(*open_);
  EXPECT_TRUE(open_->getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "a tag that is too long to be held in place");
  EXPECT_FALSE(open_->updateStructureAchievementTag(tag));
}

TEST_F(TheParameters, GiveOutTheHelpersOwnListOfHardPoints) {
  EXPECT_THAT(open_->getHardpointNames(), ElementsAre("HP_1"));
  EXPECT_EQ(&open_->getHardpointNames(), &Access::hardpoints(*open_));
}

// --- What they never do ---

TEST_F(TheParameters, AreUpdatedWithoutMessagesSignalsVisibilitiesFlagsOrAFile) {
  int told = 0;
  const ks::Connection onType = open_->connectDestructibleTypeChanged([&] { ++told; });
  const ks::Connection onLoad = open_->connectLoadedConfigSignal([&] { ++told; });
  open_.journal.clear();
  KsDestructibleModuleDesc module;
  EXPECT_TRUE(open_->updateDestructibleModule("wall", module, false));
  makeFragile();
  KsDestructibleFragileDesc fragile;
  fragile.health = 7;
  EXPECT_TRUE(open_->updateFragileParameters(fragile));
  makeFallingAtom();
  KsDestructibleFallingAtomDesc fallingAtom;
  fallingAtom.health = 7;
  EXPECT_TRUE(open_->updateFallingAtomParameters(fallingAtom));
  EXPECT_EQ(told, 0);
  EXPECT_THAT(open_.journal, IsEmpty());
  EXPECT_FALSE(open_->isMissingInDestructiblesXml());
  EXPECT_THAT(messages_.messages(), IsEmpty());
  EXPECT_THAT(root_.listing(), IsEmpty());
}

TEST_F(TheParameters, AreSeenByEveryHelperOfTheModelAtOnce) {
  const OpenModel other({}, "m");
  KsDestructibleModuleDesc desc;
  desc.health = 7;
  ASSERT_TRUE(open_->updateDestructibleModule("wall", desc, false));
  KsDestructibleModuleDesc seen;
  EXPECT_TRUE(other->getDestructibleModule("wall", seen));
  EXPECT_EQ(seen.health, 7);
}

TEST_F(TheParameters, AreComparedWithoutLookingAtListeners) {
  makeFragile();
  KsDestructibleFragileDesc desc;
  const ks::Connection listening = desc.hardPointChanged.connect([] {});
  EXPECT_FALSE(open_->updateFragileParameters(desc));
}

}  // namespace
}  // namespace Tal
