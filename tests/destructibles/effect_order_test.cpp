// What is tracked, loaded, shown and hidden by one operation, as one sequence.

#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;

class TheOrderOfEffects : public DestructiblesTest {
 protected:
  /// What `work` does, tracked operations and calls of the disabler in one journal.
  static Journal effectsOf(OpenModel& open, const std::function<void()>& work) {
    open.journal.clear();
    const TrackRecorder recorder(&open.journal);
    work();
    return open.journal;
  }
};

TEST_F(TheOrderOfEffects, OfTheDestroyedStateIsLoadThenResetThenHideThenShowThenDependencies) {
  writeDatabase("<r/>");
  OpenModel open({{{"a_roof_2", 74}, {"a_wall_1_2", 73}}}, "m");
  EXPECT_THAT(effectsOf(open, [&] { open->setDestructibleState("destroyed"); }),
              ElementsAre("> setDestructibleState", "> loadConfig", "< loadConfig", "setIsDestroyed false",
                          "hide 74", "hide 73", "show 88", "show 87", "> getMaterialDependencies",
                          "< getMaterialDependencies", "> getMaterialDependencies",
                          "< getMaterialDependencies", "hide 74", "hide 88", "< setDestructibleState"));
}

TEST_F(TheOrderOfEffects, OfANamedStateIsTheSame) {
  writeDatabase("<r/>");
  OpenModel open({{{"a_roof_2", 74}, {"a_wall_1_2", 73}}}, "m");
  ASSERT_TRUE(open->addDestructibleState("hit"));
  ASSERT_TRUE(open->addMaterialToDestrState("hit", "a_wall_1_2"));
  EXPECT_THAT(effectsOf(open, [&] { open->setDestructibleState("hit"); }),
              ElementsAre("> setDestructibleState", "> loadConfig", "< loadConfig", "setIsDestroyed false",
                          "hide 73", "show 87", "> getMaterialDependencies", "< getMaterialDependencies",
                          "hide 74", "hide 88", "< setDestructibleState"));
}

TEST_F(TheOrderOfEffects, OfDestroyingOneKindIsLoadThenLookThenHideThenShowThenDependencies) {
  writeDatabase("<r/>");
  OpenModel open({{{"a_roof_2", 74}, {"a_wall_1_2", 73}}}, "m");
  EXPECT_THAT(effectsOf(open, [&] { open->setMaterialDestroyed(73, true); }),
              ElementsAre("> setMaterialDestroyed", "> loadConfig", "< loadConfig", "isVisible 73", "hide 73",
                          "show 87", "> getMaterialDependencies", "< getMaterialDependencies", "hide 74",
                          "hide 88", "< setMaterialDestroyed"));
}

TEST_F(TheOrderOfEffects, OfAConversionIsFillerThenMessageThenSignal) {
  writeDatabase("<r/>");
  writeVisual("m.visual", "1 1 1");
  OpenModel open({}, "m");
  const ks::Connection connection = open->connectDestructibleTypeChanged([&] {
    open.journal.push_back("signal after " + std::to_string(messages_.messages().size()) + " message");
  });
  EXPECT_THAT(effectsOf(open, [&] { open->setAsStructure(); }),
              ElementsAre("> setAsStructure", "> setMissingModules", "> calculateDestructibleHealth",
                          "< calculateDestructibleHealth", "< setMissingModules", "signal after 1 message",
                          "< setAsStructure"));
}

TEST_F(TheOrderOfEffects, OfTheEndOfACategoryIsTrackedAroundItsSignal) {
  writeDatabase("<r/>");
  OpenModel open({}, "m");
  const ks::Connection connection =
      open->connectDestructibleTypeChanged([&] { open.journal.emplace_back("signal"); });
  EXPECT_THAT(effectsOf(open, [&] { open->setAsNonDestructible(true); }),
              ElementsAre("> setAsNonDestructible", "signal", "< setAsNonDestructible"));
}

TEST_F(TheOrderOfEffects, WithoutADisablerStillAsksForVisibility) {
  const auto model = support::buildModel({{{"n_wall_0", 73}}});
  const KsDestructiblesHelper helper(model.get(), "m", nullptr);
  EXPECT_TRUE(helper.isMaterialKindVisible(73));
  EXPECT_FALSE(helper.isMaterialKindVisible(87));
}

}  // namespace
}  // namespace Tal
