#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

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

}  // namespace
}  // namespace Tal
