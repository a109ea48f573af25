#include <destructibles/fixture.h>

#include <functional>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using TheCallStack = DestructiblesTest;

/// The pushes and pops of the call stack during `work`.
Journal during(const std::function<void()>& work) {
  Journal journal;
  {
    const TrackRecorder recorder(&journal);
    work();
  }
  EXPECT_TRUE(StackTracker::entries().empty());
  return journal;
}

TEST_F(TheCallStack, ShowsAReinit) {
  std::unique_ptr<KsDestructiblesHelper> helper;
  EXPECT_THAT(during([&] { KsDestructiblesHelper::reinit(helper, nullptr, "m", nullptr, true); }),
              ElementsAre("> reinit", "> KsDestructiblesHelper", "< KsDestructiblesHelper", "< reinit"));
}

TEST_F(TheCallStack, ShowsALoadsCallbacksWithinTheLoad) {
  writeDatabase("<r/>");
  KsDestructiblesHelper helper;
  const ks::Connection listening =
      helper.connectLoadedConfigSignal([&] { (void)helper.getDestructibleState(); });
  EXPECT_THAT(
      during([&] { helper.loadConfig(true); }),
      ElementsAre("> loadConfig", "> getDestructibleState", "< getDestructibleState", "< loadConfig"));
}

TEST_F(TheCallStack, ShowsTheConversionToAFragileWithItsCallbacksInside) {
  const OpenModel open({{{"nwall", 73}}}, "m");
  const ks::Connection listening =
      open->connectDestructibleTypeChanged([&] { (void)open->getDestructibleState(); });
  EXPECT_THAT(during([&] { open->setAsFragile(); }),
              ElementsAre("> setAsFragile", "> setMissingFragile",                           //
                          "> calculateDestructibleHealth", "< calculateDestructibleHealth",  //
                          "> isMaterialKindUndamaged", "> isStaticMaterialName", "< isStaticMaterialName",
                          "< isMaterialKindUndamaged", "< setMissingFragile",  //
                          "> getDestructibleState", "< getDestructibleState", "< setAsFragile"));
}

TEST_F(TheCallStack, DoesNotShowPlainAccessorsConnectionsAndQueriesOfTheDisabler) {
  const OpenModel open({{{"wall", 73}}}, "m");
  EXPECT_THAT(during([&] {
                (void)open->isUndamagedMaterialName("n");
                (void)open->getMaterialKind("wall");
                (void)open->getMaterialNames();
                (void)open->getMaterialNames(73);
                open->resetMatKindsByName(open.model.get());
                (void)open->isMaterialKindVisible(73);
                (void)open->bspMaterialNames();
                (void)open->getHardpointNames();
                (void)open->materialDisabler();
                (void)open->modelName();
                (void)open->destructibleType();
                (void)open->isMissingInDestructiblesXml();
                open->createMaterialBindings();
                std::string tag;
                (void)open->getStructureAchievementTag(tag);
                (void)open->updateStructureAchievementTag("x");
                (void)Access::categoryName(*open);
                (void)Access::checkTagForEmpty(*open, "x");
                const ks::Connection type = open->connectDestructibleTypeChanged([] {});
                const ks::Connection loaded = open->connectLoadedConfigSignal([] {});
              }),
              IsEmpty());
}

}  // namespace
}  // namespace Tal
