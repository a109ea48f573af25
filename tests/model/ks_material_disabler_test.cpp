#include <gtest/gtest.h>
#include <model/ks_material_disabler.h>
#include <support/model_builder.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tal {
namespace {

using Visibles = std::map<unsigned int, bool>;

/// The identifiers of the materials that are shown, in slot order.
std::vector<std::string> shown(const SuperModel& model) {
  std::vector<std::string> names;
  for (const auto& material : model.materials_) {
    if (material->isVisible_) names.push_back(material->identifier());
  }
  return names;
}

using Names = std::vector<std::string>;

std::unique_ptr<SuperModel> twoParts() {
  return support::buildModel(
      {.materials = {{"stone", 0}, {"n_0", 73}, {"d_0", 87}, {"n_13", 86}, {"d_13", 100}, {"glass", 72}}});
}

TEST(AMaterialDisabler, HidesTheDestroyedPartsOfAModelThatItIsMadeFor) {
  const auto model = twoParts();
  const KsMaterialDisabler disabler(model.get());
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "n_13", "glass"}));
}

TEST(AMaterialDisabler, ShowsEveryKindButTheDestroyedPartsWithoutAModel) {
  const KsMaterialDisabler disabler;
  EXPECT_TRUE(disabler.getMaterialKindVisible(0));
  EXPECT_TRUE(disabler.getMaterialKindVisible(86));
  EXPECT_FALSE(disabler.getMaterialKindVisible(87));
  EXPECT_FALSE(disabler.getMaterialKindVisible(100));
  EXPECT_TRUE(disabler.getMaterialKindVisible(101));
}

TEST(AMaterialDisabler, BringsEveryPartToItsDestroyedLook) {
  const auto model = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.setIsDestroyed(true);
  EXPECT_EQ(shown(*model), (Names{"stone", "d_0", "d_13", "glass"}));
  EXPECT_FALSE(disabler.getMaterialKindVisible(80));
  EXPECT_TRUE(disabler.getMaterialKindVisible(94));
}

TEST(AMaterialDisabler, ForgetsWhatWasShownAndHiddenWhenTheLookIsSet) {
  const auto model = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.setMaterialKindVisible(73, false);
  disabler.setMaterialKindVisible(87, true);
  disabler.setMaterialKindVisible(0, false);
  disabler.setIsDestroyed(false);
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "n_13", "glass"}));
  disabler.setMaterialKindVisible(100, false);
  disabler.setIsDestroyed(true);
  EXPECT_EQ(shown(*model), (Names{"stone", "d_0", "d_13", "glass"}));
}

TEST(AMaterialDisabler, ShowsAndHidesEveryMaterialOfAKind) {
  const auto model = support::buildModel({.materials = {{"a", 75}, {"b", 76}, {"c", 75}}});
  KsMaterialDisabler disabler(model.get());
  disabler.setMaterialKindVisible(75, false);
  EXPECT_EQ(shown(*model), (Names{"b"}));
  EXPECT_FALSE(disabler.getMaterialKindVisible(75));
  disabler.setMaterialKindVisible(75, true);
  EXPECT_EQ(shown(*model), (Names{"a", "b", "c"}));
}

TEST(AMaterialDisabler, RemembersTheVisibilityOfAKindThatTheModelHasNot) {
  const auto model = support::buildModel({.materials = {{"a", 73}}});
  KsMaterialDisabler disabler(model.get());
  disabler.setMaterialKindVisible(90, true);
  EXPECT_TRUE(disabler.getMaterialKindVisible(90));
  Visibles visibles;
  disabler.getMaterialKindVisibles(visibles);
  EXPECT_EQ(visibles, (Visibles{{73, true}, {90, true}}));
}

TEST(AMaterialDisabler, AddsTheVisibilitiesToThoseThatAreThere) {
  const auto model = twoParts();
  const KsMaterialDisabler disabler(model.get());
  Visibles visibles{{5, false}, {73, false}};
  disabler.getMaterialKindVisibles(visibles);
  EXPECT_EQ(visibles,
            (Visibles{{0, true}, {5, false}, {72, true}, {73, true}, {86, true}, {87, false}, {100, false}}));
}

TEST(AMaterialDisabler, FollowsReassignedKindsWhenTheBindingsAreMadeAgain) {
  const auto model = support::buildModel({.materials = {{"a", 73}, {"b", 74}}});
  KsMaterialDisabler disabler(model.get());
  disabler.setMaterialKindVisible(73, false);
  (*model->materials_.begin())->materialKind_ = 74;
  (*(model->materials_.begin() + 1))->materialKind_ = 73;
  disabler.createMaterialBindings();
  EXPECT_EQ(shown(*model), (Names{"a"}));
}

TEST(AMaterialDisabler, LeavesTheMaterialsOfAModelAloneUntilItIsReady) {
  const auto model = support::buildModel({.materials = {{"d", 87}}, .isReady = false});
  KsMaterialDisabler disabler(model.get());
  disabler.setIsDestroyed(false);
  EXPECT_EQ(shown(*model), (Names{"d"}));
  model->ready_ = true;
  disabler.createMaterialBindings();
  EXPECT_EQ(shown(*model), Names{});
}

TEST(AMaterialDisabler, LetsGoOnlyOfTheModelThatItIsBoundTo) {
  const auto model = twoParts();
  const auto other = twoParts();
  KsMaterialDisabler disabler(model.get());
  EXPECT_FALSE(disabler.detachSuperModel(nullptr));
  EXPECT_FALSE(disabler.detachSuperModel(other.get()));
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "n_13", "glass"}));
  EXPECT_TRUE(disabler.detachSuperModel(model.get()));
  EXPECT_FALSE(disabler.detachSuperModel(model.get()));
}

TEST(AMaterialDisabler, LetsGoOfNothingWithoutAModel) {
  const auto model = twoParts();
  KsMaterialDisabler disabler;
  EXPECT_FALSE(disabler.detachSuperModel(model.get()));
  EXPECT_FALSE(disabler.detachSuperModel(nullptr));
}

TEST(AMaterialDisabler, ShowsAllMaterialsOfTheModelThatItLetsGo) {
  const auto model = twoParts();
  KsMaterialDisabler disabler(model.get());
  ASSERT_TRUE(disabler.detachSuperModel(model.get()));
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "d_0", "n_13", "d_13", "glass"}));
  disabler.setIsDestroyed(true);
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "d_0", "n_13", "d_13", "glass"}));
}

TEST(AMaterialDisabler, AppliesTheKeptVisibilitiesToTheNextModel) {
  const auto model = twoParts();
  const auto next = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.setIsDestroyed(true);
  disabler.setMaterialKindVisible(0, false);
  disabler.detachSuperModel(model.get());
  disabler.attachSuperModel(next.get());
  EXPECT_EQ(shown(*next), (Names{"d_0", "d_13", "glass"}));
}

TEST(AMaterialDisabler, LetsGoOfTheOldModelWhenAnotherIsAttached) {
  const auto model = twoParts();
  const auto next = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.attachSuperModel(next.get());
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "d_0", "n_13", "d_13", "glass"}));
  EXPECT_EQ(shown(*next), (Names{"stone", "n_0", "n_13", "glass"}));
  disabler.attachSuperModel(nullptr);
  EXPECT_EQ(shown(*next), (Names{"stone", "n_0", "d_0", "n_13", "d_13", "glass"}));
  EXPECT_FALSE(disabler.detachSuperModel(next.get()));
}

TEST(AMaterialDisabler, BindsTheModelThatItLetGoLastWhenTheBindingsAreMade) {
  const auto model = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.detachSuperModel(model.get());
  disabler.setMaterialKindVisible(0, false);
  disabler.createMaterialBindings();
  EXPECT_EQ(shown(*model), (Names{"n_0", "n_13", "glass"}));
  disabler.setIsDestroyed(true);
  EXPECT_EQ(shown(*model), (Names{"stone", "d_0", "d_13", "glass"})) << "it is bound";
  EXPECT_TRUE(disabler.detachSuperModel(model.get()));
}

TEST(AMaterialDisabler, StillBindsTheModelThatItLetGoAfterALetGoThatWasRefused) {
  const auto model = twoParts();
  const auto other = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.detachSuperModel(model.get());
  EXPECT_FALSE(disabler.detachSuperModel(model.get()));
  EXPECT_FALSE(disabler.detachSuperModel(other.get()));
  EXPECT_FALSE(disabler.detachSuperModel(nullptr));
  disabler.createMaterialBindings();
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "n_13", "glass"}));
}

TEST(AMaterialDisabler, BindsNoModelThatItLetGoBeforeAnotherWasAttached) {
  const auto model = twoParts();
  const auto other = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.detachSuperModel(model.get());
  disabler.attachSuperModel(other.get());
  disabler.createMaterialBindings();
  disabler.detachSuperModel(other.get());
  disabler.createMaterialBindings();
  EXPECT_EQ(shown(*other), (Names{"stone", "n_0", "n_13", "glass"})) << "the last one";
  EXPECT_EQ(shown(*model), (Names{"stone", "n_0", "d_0", "n_13", "d_13", "glass"}));
  disabler.attachSuperModel(nullptr);
  disabler.createMaterialBindings();
  EXPECT_EQ(shown(*other), (Names{"stone", "n_0", "d_0", "n_13", "d_13", "glass"}));
}

TEST(AMaterialDisabler, BindsNoModelThatIsGone) {
  auto model = twoParts();
  KsMaterialDisabler disabler(model.get());
  disabler.detachSuperModel(model.get());
  disabler.setMaterialKindVisible(5, true);
  model.reset();
  disabler.createMaterialBindings();
  Visibles visibles;
  disabler.getMaterialKindVisibles(visibles);
  EXPECT_EQ(visibles, (Visibles{{5, true}})) << "of no model";
}

TEST(AMaterialDisabler, SurvivesMaterialsThatWereExchangedForFewer) {
  const auto model = twoParts();
  KsMaterialDisabler disabler(model.get());
  model->materials_ = ModelMaterials({std::make_shared<MaterialInstance>("only", 73), nullptr});
  disabler.setMaterialKindVisible(100, true);
  disabler.setIsDestroyed(true);
  disabler.createMaterialBindings();
  EXPECT_FALSE((*model->materials_.begin())->isVisible_);
  EXPECT_TRUE(disabler.detachSuperModel(model.get()));
  EXPECT_TRUE((*model->materials_.begin())->isVisible_);
}

}  // namespace
}  // namespace Tal
