// A load of content that the tables were loaded from before restores them instead of reading the document
// again. Nobody can tell: the same operations give the same with and without that.

#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Key;

class SparedLoads : public DestructiblesTest {};

TEST_F(SparedLoads, RestoreTheModelThatWasEditedAndTellWhoListens) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>4</health></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}, {"nwall"}}, "m");
  KsDestructibleFragileDesc desc;
  desc.health = 9;
  ASSERT_TRUE(open->updateFragileParameters(desc));
  ASSERT_TRUE(open->addDestructibleState("ruined"));
  int told = 0;
  const ks::Connection listening = open->connectLoadedConfigSignal([&] { ++told; });
  ASSERT_TRUE(Access::knowsLastLoad());
  EXPECT_TRUE(open->loadConfig(true));
  EXPECT_EQ(Access::fragiles().at("m").health, 4);
  EXPECT_TRUE(Access::states().empty());
  EXPECT_EQ(told, 1);
}

TEST_F(SparedLoads, DropWhatOtherModelsHadInMemoryOnly) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  const OpenModel known({{{"nwall", 73}}, {"nwall"}}, "m");
  const OpenModel unknown({{{"nwall", 73}}, {"nwall"}}, "new");
  unknown->setAsFragile();
  EXPECT_THAT(Access::fragiles(), Contains(Key("new")));
  ASSERT_TRUE(Access::knowsLastLoad());
  EXPECT_TRUE(known->loadConfig(true));
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
}

TEST_F(SparedLoads, LeaveTheAchievementTagOfTheLastStructureInTheHelperThatLoads) {
  writeDatabase(
      "<r><structures><entry><filename>m</filename><achievementTag>t</achievementTag></entry>"
      "</structures></r>");
  const OpenModel open({{{"nwall", 73}}, {"nwall"}}, "m");
  ASSERT_TRUE(Access::knowsLastLoad());
  KsDestructiblesHelper other;
  EXPECT_TRUE(other.loadConfig(true));
  EXPECT_EQ(Access::structureAchievementTag(other), "t");
}

TEST_F(SparedLoads, KeepTheAchievementTagWhenTheFileHasNoStructure) {
  writeDatabase("<r><fragiles/></r>");
  KsDestructiblesHelper helper;
  ASSERT_TRUE(helper.loadConfig(true));
  Access::structureAchievementTag(helper) = "mine";
  EXPECT_TRUE(helper.loadConfig(true));
  EXPECT_EQ(Access::structureAchievementTag(helper), "mine");
}

TEST_F(SparedLoads, DoNotHappenBehindAnUnsavedEditOfTheDocument) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  KsDestructiblesHelper helper;
  ASSERT_TRUE(helper.loadConfig(true));
  support::openResource(kDatabase)->openSection("fragiles/entry")->writeString("filename", "n");
  EXPECT_TRUE(helper.loadConfig(true));
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("n")));
}

TEST_F(SparedLoads, ReadOnlyTheSavedModelAfterItsSave) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}, {"nwall"}}, "m");
  const OpenModel unsaved({{{"nwall", 73}}, {"nwall"}}, "new");
  unsaved->setAsFragile();
  KsDestructibleFragileDesc desc;
  desc.effect = " fire ";
  ASSERT_TRUE(open->updateFragileParameters(desc));
  ASSERT_TRUE(open->saveConfig());
  EXPECT_TRUE(Access::knowsLastLoad());
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m"))) << "what was not written is lost";
  EXPECT_EQ(Access::fragiles().at("m").effect, "fire") << "as it is read from the file";
}

TEST_F(SparedLoads, DoNotHappenForOtherBytesOfTheSameSizeAndTime) {
  const auto write = [this](const std::string& model) {
    writeDatabase("<r><fragiles><entry><filename>" + model + "</filename></entry></fragiles></r>");
  };
  write("m");
  KsDestructiblesHelper helper;
  ASSERT_TRUE(helper.loadConfig(true));
  const auto time = std::filesystem::last_write_time(root_ / kDatabase);
  write("n");
  std::filesystem::last_write_time(root_ / kDatabase, time);
  EXPECT_TRUE(helper.loadConfig(true));
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("n")));
}

TEST_F(SparedLoads, DoNotHappenWhenTheSaveRemovedASectionWithOtherModels) {
  writeDatabase(
      "<r><fragiles><filename>m</filename><entry><filename>other</filename></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}, {"nwall"}}, "m");
  open->setAsFragile();
  ASSERT_TRUE(open->saveConfig());
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
}

TEST_F(SparedLoads, DoNotHappenWhenASaveWithoutANameRemovedEverySection) {
  writeDatabase("<r><fragiles><entry><filename>other</filename></entry></fragiles></r>");
  KsDestructiblesHelper helper;
  ASSERT_TRUE(helper.loadConfig(true));
  EXPECT_FALSE(helper.saveConfig());
  EXPECT_EQ(readDatabase(), "<r></r>");
  EXPECT_TRUE(helper.loadConfig(true));
  EXPECT_TRUE(Access::fragiles().empty());
}

TEST_F(SparedLoads, DoNotHappenForANameThatIsReadBackAsAnother) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>1</health></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}, {"nwall"}}, " m");
  open->setAsFragile();
  KsDestructibleFragileDesc desc;
  desc.health = 9;
  ASSERT_TRUE(open->updateFragileParameters(desc));
  ASSERT_TRUE(open->saveConfig());
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
  EXPECT_EQ(Access::fragiles().at("m").health, 9) << "the entry that was written stands behind the other";
}

TEST_F(SparedLoads, DoNotHappenBehindALoadThatFailed) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  KsDestructiblesHelper helper;
  ASSERT_TRUE(helper.loadConfig(true));
  std::filesystem::rename(root_ / kDatabase, root_ / "away.xml");
  EXPECT_FALSE(helper.loadConfig(true));
  EXPECT_TRUE(Access::fragiles().empty());
  std::filesystem::rename(root_ / "away.xml", root_ / kDatabase);
  EXPECT_TRUE(helper.loadConfig(true));
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
}

}  // namespace
}  // namespace Tal
