// What a helper does with objects of its host, and with references into itself.

#include <destructibles/fixture.h>

#include <limits>
#include <type_traits>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using AHelper = DestructiblesTest;

TEST_F(AHelper, IsAModificationListenerWithAVirtualDestructor) {
  EXPECT_TRUE((std::is_base_of_v<ResourceModificationListener, KsDestructiblesHelper>));
  EXPECT_TRUE(std::has_virtual_destructor_v<KsDestructiblesHelper>);
}

TEST_F(AHelper, WithoutADisablerReportsAnAssertionWithItsSourceAndLine) {
  const KsDestructiblesHelper helper(nullptr, "m", nullptr);
  ASSERT_EQ(messages_.messages().size(), 1U);
  const DebugMessage& message = messages_.messages()[0];
  EXPECT_TRUE(message.isCritical);
  EXPECT_EQ(message.text,
            "ASSERTION FAILED: materialDisabler_\r\nlib/destructibles/ks_destructibles_helper(167)\r\n");
  EXPECT_EQ(message.file, "lib/destructibles/ks_destructibles_helper");
  EXPECT_EQ(message.line, 167U);
  EXPECT_THAT(message.callStack, ::testing::HasSubstr("Tal::KsDestructiblesHelper::KsDestructiblesHelper"));
  EXPECT_EQ(helper.modelName(), "m");
}

TEST_F(AHelper, HoldsItsDisablerAndNoReferenceOnItsTopModel) {
  const auto model = support::buildModel({.bsp = {"nwall"}});
  const SmartPointer<Model> top = model->topModel();
  const auto before = top->refCount();
  KsMaterialDisabler disabler(model.get());
  const KsDestructiblesHelper helper(model.get(), "m", &disabler);
  EXPECT_EQ(top->refCount(), before);
  EXPECT_EQ(helper.materialDisabler(), &disabler);
}

using TheMaterials = DestructiblesTest;

TEST_F(TheMaterials, AreThoseOfTheSlotsThatHoldOne) {
  const auto model = support::buildModel({});
  model->materials_ = ModelMaterials({nullptr, std::make_shared<MaterialInstance>("wall", 73), nullptr});
  KsMaterialDisabler disabler(model.get());
  const KsDestructiblesHelper helper(model.get(), "m", &disabler);
  EXPECT_THAT(helper.getMaterialNames(), ElementsAre(Pair("wall", 73U)));
}

TEST_F(TheMaterials, WithoutDependenciesShareOneEmptyList) {
  const OpenModel open({{{"a_b_5_7", 80}, {"c_d_7", 81}}}, "m");
  const OpenModel other({}, "m");
  EXPECT_THAT(open->getMaterialDependencies(80), ElementsAre(81U));
  const Kinds& none = open->getMaterialDependencies(81);
  EXPECT_THAT(none, IsEmpty());
  EXPECT_EQ(&none, &open->getMaterialDependencies(81));
  EXPECT_EQ(&none, &open->getMaterialDependencies(0));
  EXPECT_EQ(&none, &open->getMaterialDependencies(4294967295U));
  EXPECT_EQ(&none, &other->getMaterialDependencies(80));
}

TEST_F(TheMaterials, WithoutAKindAreFoundByThePatternsOwnFlags) {
  const OpenModel open({{{"Wall", 0}, {"wa.l", 0}}}, "m");
  Strings names;
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("wall", std::regex::icase), &names));
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("wa\\.l", std::regex::extended), &names));
  EXPECT_THAT(names, ElementsAre("Wall", "wa.l"));
}

using TheStates = DestructiblesTest;

TEST_F(TheStates, GiveNoKindForAnUnknownMaterialNorItsDependencies) {
  const OpenModel open({{{"a_b_1_2", 80}, {"plain", 0}}}, "m");
  Access::dependencies(*open)[4294967295U] = {1, 2};
  Access::stateMap()["m"].states["ruined"] = {"unknown", "plain", "a_b_1_2"};
  EXPECT_THAT(open->getMatKindsForState("ruined"), ElementsAre(0U, 80U, 0U));
}

TEST_F(TheStates, MayBeSetToTheCurrentOneByItsOwnName) {
  const OpenModel open({}, "m");
  ASSERT_FALSE(open->setDestructibleState("a state name that is too long to be held in place"));
  EXPECT_FALSE(open->setDestructibleState(open->getDestructibleState()));
  EXPECT_EQ(open->getDestructibleState(), "a state name that is too long to be held in place");
}

using TheParameters = DestructiblesTest;

TEST_F(TheParameters, OfAModuleThatAreItsOwnAreNoChange) {
  const OpenModel open({.nodes = {"HP_1"}}, "m");
  KsDestructibleModuleDesc& stored = Access::moduleMap()["m"]["wall"];
  stored.effectScale = std::numeric_limits<float>::infinity();
  EXPECT_FALSE(open->updateDestructibleModule("wall", stored, false));
  EXPECT_FALSE(open->updateDestructibleModule("wall", stored, true));
}

TEST_F(TheParameters, OfAModuleMayBeTakenFromAnotherModule) {
  const OpenModel open({.nodes = {"HP_1"}}, "m");
  Access::moduleMap()["m"]["wall"].health = 7;
  EXPECT_TRUE(open->updateDestructibleModule("roof", Access::moduleMap()["m"]["wall"], false));
  EXPECT_EQ(Access::moduleMap().at("m").at("roof").health, 7);
}

TEST_F(TheParameters, OfAFragileOrAFallingAtomThatAreTheStoredOnesAreNoChange) {
  const OpenModel open({.nodes = {"HP_1"}}, "m");
  Access::type(*open) = DT_FRAGILE;
  Access::fragileMap()["m"].effectScale = std::numeric_limits<float>::infinity();
  EXPECT_FALSE(open->updateFragileParameters(Access::fragileMap()["m"]));
  Access::type(*open) = DT_FALLING_ATOMS;
  EXPECT_FALSE(open->updateFallingAtomParameters(Access::fallingAtomMap()["m"]));
}

TEST_F(TheParameters, HoldATagThatMayBeReadIntoItself) {
  const OpenModel open({.nodes = {"HP_1"}}, "m");
  Access::type(*open) = DT_STRUCTURE;
  ASSERT_TRUE(open->updateStructureAchievementTag("a tag that is too long to be held in place"));
  std::string& tag = Access::structureAchievementTag(*open);
  EXPECT_TRUE(open->getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "a tag that is too long to be held in place");
  EXPECT_FALSE(open->updateStructureAchievementTag(tag));
}

TEST_F(TheParameters, GiveOutTheHelpersOwnListOfHardPoints) {
  const OpenModel open({.nodes = {"HP_1"}}, "m");
  EXPECT_THAT(open->getHardpointNames(), ElementsAre("HP_1"));
  EXPECT_EQ(&open->getHardpointNames(), &Access::hardpoints(*open));
}

TEST_F(TheParameters, AreComparedWithoutLookingAtListeners) {
  const OpenModel open({.nodes = {"HP_1"}}, "m");
  Access::type(*open) = DT_FRAGILE;
  Access::fragileMap()["m"];
  KsDestructibleFragileDesc desc;
  const ks::Connection listening = desc.hardPointChanged.connect([] {});
  EXPECT_FALSE(open->updateFragileParameters(desc));
}

}  // namespace
}  // namespace Tal
