#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

using Dependencies = std::map<unsigned, Kinds>;

class ReplacingAHelper : public DestructiblesTest {};

TEST_F(ReplacingAHelper, ThatIsNullMakesTheFirst) {
  const auto model = support::buildModel({});
  Journal journal;
  RecordingDisabler disabler(model.get(), &journal);
  std::unique_ptr<KsDestructiblesHelper> helper;
  KsDestructiblesHelper::reinit(helper, model.get(), "m", &disabler, true);
  ASSERT_NE(helper, nullptr);
  EXPECT_EQ(helper->modelName(), "m");
  EXPECT_THAT(journal, ElementsAre("setIsDestroyed false")) << "there is no visibility to keep";
}

TEST_F(ReplacingAHelper, TakesTheNewModelNameAndDisabler) {
  OpenModel open({}, "old");
  const auto model = support::buildModel({{{"nwall", 73}}});
  Journal journal;
  RecordingDisabler disabler(model.get(), &journal);
  KsDestructiblesHelper::reinit(open.helper, model.get(), "new", &disabler, false);
  EXPECT_EQ(open->modelName(), "new");
  EXPECT_EQ(open->materialDisabler(), &disabler);
  EXPECT_THAT(open->getMaterialNames(), ElementsAre(Key("nwall")));
}

TEST_F(ReplacingAHelper, WithoutKeepingRestoresNoVisibility) {
  OpenModel open({{{"nwall", 73}, {"dwall", 87}}}, "m");
  open.disabler.setMaterialKindVisible(73, false);
  open.journal.clear();
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, false);
  EXPECT_THAT(open.journal, ElementsAre("detach", "setIsDestroyed false"));
  EXPECT_TRUE(open.disabler.getMaterialKindVisible(73));
}

TEST_F(ReplacingAHelper, WithKeepingHidesAgainWhatWasHidden) {
  OpenModel open({{{"nwall", 73}, {"nroof", 74}, {"dwall", 87}}}, "m");
  open.disabler.setMaterialKindVisible(73, false);
  open.disabler.setMaterialKindVisible(87, true);
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, true);
  EXPECT_FALSE(open.disabler.getMaterialKindVisible(73));
  EXPECT_TRUE(open.disabler.getMaterialKindVisible(74));
  EXPECT_TRUE(open.disabler.getMaterialKindVisible(87));
}

TEST_F(ReplacingAHelper, ReadsTheVisibilitiesDetachesDestroysMakesAndRestoresInAscendingOrder) {
  OpenModel open({{{"other", 5}, {"dwall", 87}, {"nwall", 73}}}, "m");
  open.disabler.setMaterialKindVisible(73, false);
  open.journal.clear();
  {
    const TrackRecorder tracking(&open.journal);
    KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, true);
  }
  EXPECT_THAT(open.journal, ElementsAre("> reinit", "getMaterialKindVisibles",                      //
                                        "> detachSuperModel", "detach", "< detachSuperModel",       //
                                        "> ~KsDestructiblesHelper", "< ~KsDestructiblesHelper",     //
                                        "> KsDestructiblesHelper", "> loadConfig", "< loadConfig",  //
                                        "> setDestructibleState", "> loadConfig", "< loadConfig",   //
                                        "setIsDestroyed false", "< setDestructibleState",           //
                                        "< KsDestructiblesHelper",                                  //
                                        "show 5", "hide 73", "hide 87", "< reinit"));
}

TEST_F(ReplacingAHelper, DetachesTheNewModelFromTheOldDisabler) {
  OpenModel open({{}, {}, {"HP_1"}}, "m");
  const auto model = support::buildModel({});
  open.journal.clear();
  KsDestructiblesHelper::reinit(open.helper, model.get(), "m", &open.disabler, false);
  EXPECT_THAT(open.journal, ElementsAre("detach refused", "setIsDestroyed false"));
}

TEST_F(ReplacingAHelper, CarriesTheVisibilitiesFromTheOldDisablerToTheNew) {
  OpenModel open({{{"nwall", 73}}}, "m");
  open.disabler.setMaterialKindVisible(73, false);
  const auto model = support::buildModel({{{"nwall", 73}}});
  Journal journal;
  RecordingDisabler disabler(model.get(), &journal);
  KsDestructiblesHelper::reinit(open.helper, model.get(), "m", &disabler, true);
  EXPECT_THAT(journal, ElementsAre("setIsDestroyed false", "hide 73"));
}

TEST_F(ReplacingAHelper, WorksWhenTheOldOrTheNewHasNoDisabler) {
  OpenModel open({{{"nwall", 73}}}, "m");
  open.disabler.setMaterialKindVisible(73, false);
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", nullptr, true);
  ASSERT_NE(open.helper, nullptr);
  EXPECT_EQ(open->materialDisabler(), nullptr);
  open.journal.clear();
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, true);
  EXPECT_EQ(open->materialDisabler(), &open.disabler);
  EXPECT_THAT(open.journal, ElementsAre("setIsDestroyed false"));
}

TEST_F(ReplacingAHelper, WithNoModelLeavesAnEmptyHelper) {
  OpenModel open({{}, {}, {"HP_1"}}, "m");
  KsDestructiblesHelper::reinit(open.helper, nullptr, "", nullptr, true);
  ASSERT_NE(open.helper, nullptr);
  EXPECT_THAT(open->getHardpointNames(), IsEmpty());
}

TEST_F(ReplacingAHelper, MayTakeItsNameFromTheOldHelper) {
  OpenModel open({}, "a model name that is too long to be held in place");
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), open->modelName(), &open.disabler, true);
  EXPECT_EQ(open->modelName(), "a model name that is too long to be held in place");
}

TEST_F(ReplacingAHelper, DropsWhatTheOldOneMadeInMemoryAndReadsTheFileAnew) {
  writeDatabase("<r/>");
  OpenModel open({}, "m");
  open->setAsFragile();
  writeDatabase("<r><fallingAtoms><entry><filename>m</filename></entry></fallingAtoms></r>");
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, false);
  EXPECT_EQ(open->destructibleType(), DT_FALLING_ATOMS);
  EXPECT_THAT(Access::fragileMap(), IsEmpty());
}

// --- The look of the model afterwards ---

/// The identifiers of the materials that are shown, in slot order.
Strings shown(const SuperModel& model) {
  Strings names;
  for (const auto& material : model.materials_)
    if (material->isVisible_) names.push_back(material->identifier());
  return names;
}

const support::ModelParts kHouse = {
    {{"stone", 0}, {"nwall", 73}, {"dwall", 87}, {"nroof", 74}, {"droof", 88}}};

TEST_F(ReplacingAHelper, ShowsTheUndamagedLookOnceTheBindingsAreMade) {
  OpenModel open(kHouse, "m");
  open.disabler.setMaterialKindVisible(74, false);
  KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, false);
  EXPECT_THAT(shown(*open.model), ElementsAre("stone", "nwall", "dwall", "nroof", "droof")) << "it is let go";
  open->createMaterialBindings();
  EXPECT_THAT(shown(*open.model), ElementsAre("stone", "nwall", "nroof"));
  open->setDestructibleState("destroyed");
  EXPECT_THAT(shown(*open.model), ElementsAre("stone", "dwall", "droof"));
}

TEST_F(ReplacingAHelper, ShowsTheKeptVisibilitiesOnceTheBindingsAreMade) {
  OpenModel open(kHouse, "m");
  open.disabler.setMaterialKindVisible(0, false);
  open.disabler.setMaterialKindVisible(73, false);
  open.disabler.setMaterialKindVisible(87, true);
  for (int round = 0; round < 3; ++round) {
    KsDestructiblesHelper::reinit(open.helper, open.model.get(), "m", &open.disabler, true);
    open->createMaterialBindings();
    EXPECT_THAT(shown(*open.model), ElementsAre("dwall", "nroof")) << round;
  }
}

TEST_F(ReplacingAHelper, ShowsAnotherModelOnceTheDisablerIsAttachedToIt) {
  OpenModel open(kHouse, "m");
  const auto next = support::buildModel({{{"stone", 0}, {"ngate", 73}, {"dgate", 87}}});
  KsDestructiblesHelper::reinit(open.helper, next.get(), "next", &open.disabler, false);
  open->createMaterialBindings();
  EXPECT_THAT(shown(*next), ElementsAre("stone", "ngate", "dgate")) << "the old model is still bound";
  open.disabler.attachSuperModel(next.get());
  open->createMaterialBindings();
  EXPECT_THAT(shown(*next), ElementsAre("stone", "ngate"));
  EXPECT_THAT(shown(*open.model), ElementsAre("stone", "nwall", "dwall", "nroof", "droof"));
}

TEST_F(ReplacingAHelper, MayFollowTheEndOfAModelThatWasLetGo) {
  OpenModel open(kHouse, "m");
  ASSERT_TRUE(open->detachSuperModel(open.model.get()));
  open.model.reset();
  KsDestructiblesHelper::reinit(open.helper, nullptr, "", &open.disabler, true);
  open->createMaterialBindings();
  const auto next = support::buildModel(kHouse);
  open.disabler.attachSuperModel(next.get());
  EXPECT_THAT(shown(*next), ElementsAre("stone", "nwall", "nroof"));
}

// --- The dependencies in material names ---

/// The dependency table of a model of the given materials.
Dependencies dependenciesOf(const std::vector<support::MaterialPart>& materials) {
  Access::hasLoaded() = true;
  const OpenModel open({materials}, "m");
  return Access::dependencies(*open);
}

class TheDependencies : public DestructiblesTest {};

TEST_F(TheDependencies, MapNumbersToKindsOnceEachAndUndeclaredNumbersToKind0) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_7_7_9", 80}, {"c_d_7", 81}}),
              ElementsAre(Pair(80U, ElementsAre(81U, 0U))));
}

TEST_F(TheDependencies, AreTakenFromUndamagedKindsOnly) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_7", 72}, {"a_b_6_7", 87}, {"a_b_7_5", 0}, {"a_b_8_5", 100}}),
              IsEmpty());
  EXPECT_THAT(dependenciesOf({{"a_b_5_7", 73}, {"a_b_6_5", 86}}),
              ElementsAre(Pair(73U, ElementsAre(0U)), Pair(86U, ElementsAre(73U))));
}

TEST_F(TheDependencies, DoNotSeeANumberThatADestroyedPartDeclares) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_7", 73}, {"c_d_7", 87}}), ElementsAre(Pair(73U, ElementsAre(0U))));
}

TEST_F(TheDependencies, NeedAThirdTokenAndAFourth) {
  EXPECT_THAT(dependenciesOf({{"a", 73}, {"a_b", 74}, {"a_b_5", 75}, {"", 76}, {"___", 77}}), IsEmpty());
}

TEST_F(TheDependencies, CountRunsOfUnderscoresAsOne) {
  EXPECT_THAT(dependenciesOf({{"__a___b__5__6__", 80}, {"_c_d_6_", 81}}),
              ElementsAre(Pair(80U, ElementsAre(81U))));
}

TEST_F(TheDependencies, IgnoreTheFirstTwoTokensWhateverTheyAre) {
  EXPECT_THAT(dependenciesOf({{"1_2_5_6", 80}, {"3_4_6", 81}}), ElementsAre(Pair(80U, ElementsAre(81U))));
}

TEST_F(TheDependencies, ReadTheNumberThatATokenBeginsWith) {
  EXPECT_THAT(dependenciesOf({{"a_b_5x_6y", 80}, {"c_d_6z", 81}}), ElementsAre(Pair(80U, ElementsAre(81U))));
  EXPECT_THAT(dependenciesOf({{"a_b_005_06", 80}, {"c_d_6", 81}}), ElementsAre(Pair(80U, ElementsAre(81U))));
}

TEST_F(TheDependencies, EndAtATokenThatIsNoNumberAndKeepWhatCameBefore) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_6_x_7", 80}, {"c_d_6", 81}, {"e_f_7", 82}}),
              ElementsAre(Pair(80U, ElementsAre(81U))));
  EXPECT_THAT(dependenciesOf({{"a_b_x_6", 80}, {"c_d_6", 81}}), IsEmpty());
}

TEST_F(TheDependencies, EndAtANumberWithASign) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_6_+5_6_7", 80}, {"c_d_6", 81}, {"e_f_7", 82}}),
              ElementsAre(Pair(80U, ElementsAre(81U))));
  EXPECT_THAT(dependenciesOf({{"a_b_5_6_-5_6_7", 80}, {"c_d_6", 81}, {"e_f_7", 82}}),
              ElementsAre(Pair(80U, ElementsAre(81U))));
  EXPECT_THAT(dependenciesOf({{"a_b_+5_6", 80}, {"a_b_-5_6", 82}, {"c_d_6", 81}}), IsEmpty());
}

TEST_F(TheDependencies, SurviveANumberThatIsTooLong) {
  const Dependencies found = dependenciesOf(
      {{"a_b_99999999999999999999999_1", 80}, {"c_d_2_3_99999999999999999999999", 81}, {"e_f_3", 82}});
  ASSERT_EQ(found.count(81), 1U);
  EXPECT_EQ(found.at(81).front(), 82U);
}

TEST_F(TheDependencies, KeepTheOrderInWhichANameListsThem) {
  EXPECT_THAT(dependenciesOf({{"a_b_1_9_3_9_2", 80}, {"c_d_2", 82}, {"c_d_3", 83}, {"c_d_9", 79}}),
              ElementsAre(Pair(80U, ElementsAre(79U, 83U, 82U))));
}

TEST_F(TheDependencies, LetTheLaterNameOfANumberGiveItsKindAndJoinTheirLists) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_7", 80}, {"c_d_5_8_7", 81}, {"e_f_7", 77}, {"e_f_8", 78}}),
              ElementsAre(Pair(81U, ElementsAre(77U, 78U))));
}

TEST_F(TheDependencies, OfTwoNumbersOfOneKindAreThoseOfTheGreaterNumber) {
  EXPECT_THAT(dependenciesOf({{"a_b_10_1", 80}, {"b_b_9_2", 80}, {"c_c_1", 81}, {"d_d_2", 82}}),
              ElementsAre(Pair(80U, ElementsAre(81U))));
}

TEST_F(TheDependencies, MayNameTheMaterialItself) {
  EXPECT_THAT(dependenciesOf({{"a_b_5_5", 80}}), ElementsAre(Pair(80U, ElementsAre(80U))));
}

TEST_F(TheDependencies, AreRebuiltByANewHelperOnly) {
  const OpenModel open({{{"a_b_5_7", 80}, {"c_d_7", 81}}}, "m");
  const auto other = support::buildModel({{{"x", 90}}});
  open->resetMatKindsByName(other.get());
  EXPECT_THAT(Access::dependencies(*open), ElementsAre(Pair(80U, ElementsAre(81U))));
}

}  // namespace
}  // namespace Tal
