#include <destructibles/fixture.h>
#include <files/file_lock.h>
#include <resources/save_patience.h>
#include <support/full_disk.h>

#include <sys/resource.h>
#include <unistd.h>
#include <chrono>
#include <cstring>
#include <optional>

namespace Tal {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;

// The fixture that the cases of these suites in saves/ have.
using TheEntriesOfTheModel = DestructiblesTest;
using TheOutcomeOfASave = DestructiblesTest;

/// The whole entry of a fragile, on one line.
std::string fragileEntry(const std::string& name, int health, const std::string& hardPoint = "") {
  return "<entry><filename>" + name + "</filename><health>" + std::to_string(health) +
         "</health><decayEffect>none</decayEffect><effect>none</effect><effectHP>" + hardPoint +
         "</effectHP><effectScale>1</effectScale><lifetimeEffect>none</lifetimeEffect></entry>";
}

TEST_F(TheEntriesOfTheModel, OfNoCategoryThatAreNotThereLeaveTheFileAsItIs) {
  const std::string text = "<root><!-- odd --><fragiles ><entry/></fragiles></root>";
  writeDatabase(text);
  const OpenModel crate({}, "crate.model");
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), text);
}

TEST_F(TheOutcomeOfASave, WithoutADatabaseReportsFalseAndOnlyClearsTheMissingFlag) {
  const OpenModel crate({}, "crate.model");
  crate->setAsFragile();
  ASSERT_TRUE(crate->isMissingInDestructiblesXml());
  int told = 0;
  const ks::Connection listening = crate->connectLoadedConfigSignal([&] { ++told; });
  messages_.clear();
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_FALSE(crate->isMissingInDestructiblesXml());
  EXPECT_EQ(told, 0);
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("crate.model")));
  EXPECT_THAT(root_.listing(), IsEmpty());
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheOutcomeOfASave, ReloadsTheTablesTellsItsListenersOnceAndLogsNothing) {
  writeDatabase(
      "<root><fragiles><entry><filename>other</filename><health>1</health></entry></fragiles></root>");
  const OpenModel crate({}, "crate");
  crate->setAsFragile();
  Access::fragileMap()["other"].health = 50;
  Access::fallingAtomMap()["only in memory"].health = 2;
  int told = 0;
  const ks::Connection listening = crate->connectLoadedConfigSignal([&] { ++told; });
  messages_.clear();
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(told, 1);
  EXPECT_EQ(Access::fragileMap().at("other").health, 1) << "another model's edit is not saved";
  EXPECT_THAT(Access::fallingAtomMap(), IsEmpty());
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("crate"), Key("other")));
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheOutcomeOfASave, MakesItsEntryOutliveTheHelper) {
  writeDatabase("<root/>");
  {
    const OpenModel crate({}, "crate");
    crate->setAsFragile();
    ASSERT_TRUE(crate->isMissingInDestructiblesXml());
    ASSERT_TRUE(crate->saveConfig());
    EXPECT_FALSE(crate->isMissingInDestructiblesXml());
  }
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("crate")));
  const OpenModel again({}, "crate");
  EXPECT_EQ(again->destructibleType(), DT_FRAGILE);
  EXPECT_FALSE(again->isMissingInDestructiblesXml());
}

TEST_F(TheOutcomeOfASave, TwiceChangesTheFileOnce) {
  writeDatabase("<root>\n  <fragiles>\n  </fragiles>\n</root>\n");
  const OpenModel crate({}, "crate");
  crate->setAsFragile();
  ASSERT_TRUE(crate->saveConfig());
  const std::string once = readDatabase();
  ASSERT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), once);
}

TEST_F(TheOutcomeOfASave, WhoseRecordIsGoneWritesNoKeysAndStillSucceeds) {
  const std::string text = R"(<root>
  <fragiles>
    <entry>
      <filename>other</filename>
    </entry>
  </fragiles>
</root>
)";
  writeDatabase(text);
  for (const auto convert :
       {&KsDestructiblesHelper::setAsFragile, &KsDestructiblesHelper::setAsFallingAtoms}) {
    const OpenModel crate({}, "crate");
    ((*crate).*convert)();
    Access::fragileMap().erase("crate");
    Access::fallingAtomMap().erase("crate");
    EXPECT_TRUE(crate->saveConfig());
    EXPECT_EQ(readDatabase(), text);
    EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("other"))) << "the tables equal the file";
    EXPECT_THAT(Access::fallingAtomMap(), IsEmpty());
  }
}

TEST_F(TheOutcomeOfASave, SeesAChangeOfTheFileByAnotherProgram) {
  writeDatabase("<root/>");
  const OpenModel crate({}, "crate");
  crate->setAsFragile();
  root_.replace(kDatabase, R"(<root>
  <fragiles>
    <entry>
      <filename>newcomer</filename>
    </entry>
  </fragiles>
</root>
)");
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("crate"), Key("newcomer")));
}

TEST_F(TheOutcomeOfASave, TreatsOnlyEmptyAndNoneAsATagNotSet) {
  KsDestructiblesHelper helper;
  EXPECT_FALSE(Access::checkTagForEmpty(helper, ""));
  EXPECT_FALSE(Access::checkTagForEmpty(helper, "none"));
  EXPECT_TRUE(Access::checkTagForEmpty(helper, "None"));
  EXPECT_TRUE(Access::checkTagForEmpty(helper, "none "));
  EXPECT_TRUE(Access::checkTagForEmpty(helper, " "));
  EXPECT_TRUE(Access::checkTagForEmpty(helper, "hero"));
}

TEST_F(TheOutcomeOfASave, DeletesDuplicatesFromTheGivenPlaceOn) {
  writeDatabase(R"(<root>
  <list>
    <entry>
      <filename>crate</filename>
    </entry>
    <a>
      <filename>crate</filename>
    </a>
    <b>
      <filename>Crate</filename>
    </b>
    <c>
      <filename>crate</filename>
    </c>
    <d/>
  </list>
</root>
)");
  const OpenModel crate({}, "crate");
  SmartPointer<DataSection> list = FS::Utils::openSection(kDatabase, false, nullptr)->openSection("list");
  Access::deleteDuplicate(*crate, list, 5);
  Access::deleteDuplicate(*crate, list, 4);
  EXPECT_EQ(list->childCount(), 5);
  Access::deleteDuplicate(*crate, list, 1);
  EXPECT_EQ(readDatabase(), R"(<root>
  <list>
    <entry>
      <filename>crate</filename>
    </entry>
    <b>
      <filename>Crate</filename>
    </b>
    <d/>
  </list>
</root>
)");
}

// --- Failing saves ---

TEST_F(TheOutcomeOfASave, OnAFullDiskIsAFailureThatIsReportedOnceAndKeepsFileAndEdits) {
  const auto database = [](int health, const std::string& hardPoint, const std::string& structures) {
    return "<root><fragiles>" + fragileEntry("crate", health, hardPoint) + fragileEntry("other", 2) +
           "</fragiles><structures>" + structures + "</structures></root>";
  };
  const std::string house = "<entry><filename>house</filename></entry>";
  const std::string text = database(1, "HP_old", "<entry><filename>crate</filename></entry>" + house);
  for (const rlim_t room : {0U, 100U}) {
    writeDatabase(text);
    const OpenModel crate({}, "crate");
    KsDestructibleFragileDesc desc;
    desc.health = 77;
    desc.effectHP = "HP_a";
    ASSERT_TRUE(crate->updateFragileParameters(desc));
    Access::fallingAtomMap()["only in memory"].health = 2;
    int told = 0;
    const ks::Connection listening = crate->connectLoadedConfigSignal([&] { ++told; });
    messages_.clear();
    bool saved = true;
    {
      const support::FullDisk disk(room);
      saved = crate->saveConfig();
    }
    EXPECT_FALSE(saved);
    EXPECT_EQ(readDatabase(), text);
    EXPECT_THAT(root_.listing(), ElementsAre("scripts", kDatabase)) << "nothing is left beside the file";
    ASSERT_EQ(messages_.messages().size(), 1U);
    EXPECT_TRUE(messages_.messages()[0].isCritical);
    EXPECT_THAT(messages_.messages()[0].text, HasSubstr(kDatabase));
    EXPECT_THAT(messages_.messages()[0].text, HasSubstr(std::strerror(EFBIG)));
    EXPECT_EQ(Access::fragileMap().at("crate").health, 77) << "the edit stays";
    EXPECT_THAT(Access::fallingAtomMap(), ElementsAre(Key("only in memory")));
    EXPECT_EQ(told, 0);
    EXPECT_FALSE(crate->isMissingInDestructiblesXml()) << "a failed save clears the flag too";

    EXPECT_TRUE(crate->saveConfig()) << "there is room again";
    EXPECT_EQ(told, 1);
    EXPECT_EQ(readDatabase(), database(77, "HP_a", house));
  }
}

TEST_F(TheOutcomeOfASave, ThatFailsLetsANewEntryGoWithItsHelper) {
  for (const bool isDatabaseThere : {false, true}) {
    if (isDatabaseThere) writeDatabase("<root>\n  <fragiles>\n  </fragiles>\n</root>\n");
    const OpenModel other({}, "other");
    {
      const OpenModel crate({}, "crate");
      crate->setAsFragile();
      const support::FullDisk disk(0);
      EXPECT_FALSE(crate->saveConfig());
      EXPECT_FALSE(crate->saveConfig()) << "trying again fails again";
      EXPECT_THAT(Access::fragiles(), ElementsAre(Key("crate")));
    }
    EXPECT_THAT(Access::fragiles(), IsEmpty()) << "no save has brought it to the file";
  }
}

TEST_F(TheOutcomeOfASave, ThatFailsLeavesAnEntryOfTheFileInTheTables) {
  writeDatabase("<root><fragiles><entry><filename>crate</filename></entry></fragiles></root>");
  const OpenModel other({}, "other");
  {
    const OpenModel crate({}, "crate");
    KsDestructibleFragileDesc desc;
    desc.health = 77;
    ASSERT_TRUE(crate->updateFragileParameters(desc));
    const support::FullDisk disk(0);
    EXPECT_FALSE(crate->saveConfig());
  }
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("crate")));
}

TEST_F(TheOutcomeOfASave, ThatFailsLetsGoOnlyOfWhatItWasToBringToTheFile) {
  writeDatabase(
      "<root><fragiles><entry><filename>crate</filename><health>7</health></entry></fragiles></root>");
  const OpenModel other({}, "other");
  {
    const OpenModel crate({}, "crate");
    crate->setAsFallingAtoms();
    {
      const support::FullDisk disk(0);
      EXPECT_FALSE(crate->saveConfig());
    }
    crate->setAsFragile();  // which the file has
    EXPECT_FALSE(crate->isMissingInDestructiblesXml());
  }
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("crate")));
  EXPECT_THAT(Access::fallingAtoms(), IsEmpty());
}

TEST_F(TheOutcomeOfASave, ThatSucceedsAfterAFailureKeepsTheEntry) {
  writeDatabase("<root/>");
  const OpenModel other({}, "other");
  {
    const OpenModel crate({}, "crate");
    crate->setAsFragile();
    {
      const support::FullDisk disk(0);
      EXPECT_FALSE(crate->saveConfig());
    }
    EXPECT_TRUE(crate->saveConfig());
  }
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("crate")));
}

TEST_F(TheOutcomeOfASave, OfANewStructureThatFailsKeepsItsModulesStatesAndTagForTheNext) {
  const std::string text = "<root>\n  <structures>\n  </structures>\n</root>\n";
  writeDatabase(text);
  const OpenModel house({{{"nwall", 73}}, {"nwall"}}, "house");
  house->setAsStructure();
  ASSERT_TRUE(house->addDestructibleState("ruined"));
  ASSERT_TRUE(house->addMaterialToDestrState("ruined", "nwall"));
  ASSERT_TRUE(house->updateStructureAchievementTag("hero"));
  {
    const support::FullDisk disk(0);
    EXPECT_FALSE(house->saveConfig());
    EXPECT_FALSE(house->saveConfig()) << "trying again fails again";
  }
  EXPECT_EQ(readDatabase(), text);
  EXPECT_EQ(messages_.criticalCount(), 2) << "one for each try";
  EXPECT_TRUE(house->saveConfig());
  EXPECT_THAT(Access::moduleMap().at("house"), ElementsAre(Key("nwall")));
  EXPECT_THAT(house->getMaterialsForState("ruined"), ElementsAre("nwall"));
  std::string tag;
  EXPECT_TRUE(house->getStructureAchievementTag(tag));
  EXPECT_EQ(tag, "hero");
}

TEST_F(TheOutcomeOfASave, ThatCannotRemoveTheEntriesOfAModelOfNoCategoryLeavesThemInTheFile) {
  const std::string other = fragileEntry("other", 2) + "</fragiles></root>";
  const std::string text = "<root><fragiles>" + fragileEntry("crate", 1) + other;
  writeDatabase(text);
  const OpenModel crate({}, "crate");
  crate->setAsNonDestructible(true);
  {
    const support::FullDisk disk(0);
    EXPECT_FALSE(crate->saveConfig());
  }
  EXPECT_EQ(readDatabase(), text);
  EXPECT_EQ(messages_.criticalCount(), 1);
  EXPECT_FALSE(crate->saveConfig()) << "a model of no category has nothing to save";
  EXPECT_EQ(readDatabase(), "<root><fragiles>" + other);
}

TEST_F(TheOutcomeOfASave, AgainstALockThatStaysIsAFailureThatNamesItsHolderAndKeepsFileAndEdits) {
  const std::string text =
      "<root><fragiles><entry><filename>crate</filename><health>1</health></entry></fragiles></root>";
  writeDatabase(text);
  const OpenModel crate({}, "crate");
  Access::fragileMap()["crate"].health = 77;
  Access::fallingAtomMap()["only in memory"].health = 2;
  int told = 0;
  const ks::Connection listening = crate->connectLoadedConfigSignal([&] { ++told; });
  messages_.clear();
  {
    // Locks are between open files, so that this process can be the other one too.
    const auto lock = files::FileLock::acquire(root_ / kDatabase, std::chrono::milliseconds(0));
    ASSERT_TRUE(lock);
    constexpr std::chrono::milliseconds kPatience{50};
    const SavePatience patience(kPatience);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(crate->saveConfig());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, kPatience);
  }
  EXPECT_EQ(readDatabase(), text);
  EXPECT_EQ(messages_.criticalCount(), 1);
  const std::string name = "process " + std::to_string(::getpid()) + " (";
  EXPECT_THAT(messages_.texts(), ElementsAre(AllOf(HasSubstr(kDatabase), HasSubstr(name),
                                                   HasSubstr(") is saving it and does not come to an end"),
                                                   HasSubstr("wait until it has ended and save again"))));
  EXPECT_EQ(Access::fragiles().at("crate").health, 77) << "the edit stays";
  EXPECT_THAT(Access::fallingAtoms(), ElementsAre(Key("only in memory")));
  EXPECT_EQ(told, 0);

  EXPECT_TRUE(crate->saveConfig()) << "the lock is gone";
  EXPECT_EQ(told, 1);
  EXPECT_THAT(readDatabase(), HasSubstr("<health>77</health>"));
  EXPECT_EQ(Access::fragiles().at("crate").health, 77);
  EXPECT_EQ(messages_.criticalCount(), 1) << "nothing more to say";
}

/// Two models of one file; the save of the crate has failed, with its health at 77 in memory.
class AfterAFailedSave : public DestructiblesTest {
 protected:
  AfterAFailedSave() {
    writeDatabase(text(1, 2));
    crate_.emplace(support::ModelParts{}, "crate");
    other_.emplace(support::ModelParts{}, "other");
    setHealth(*crate_, 77);
    const support::FullDisk disk(0);
    EXPECT_FALSE((*crate_)->saveConfig());
  }

  static std::string text(int crateHealth, int otherHealth) {
    return "<root><fragiles>" + fragileEntry("crate", crateHealth) + fragileEntry("other", otherHealth) +
           "</fragiles></root>";
  }

  static void setHealth(const OpenModel& model, int health) {
    KsDestructibleFragileDesc desc;
    ASSERT_TRUE(model->getFragileParameters(desc));
    desc.health = health;
    ASSERT_TRUE(model->updateFragileParameters(desc));
  }

  std::optional<OpenModel> crate_;
  std::optional<OpenModel> other_;
};

TEST_F(AfterAFailedSave, AReloadReadsTheFile) {
  EXPECT_EQ(Access::fragileMap().at("crate").health, 77);
  root_.replace(kDatabase, text(1, 9));
  EXPECT_TRUE((*other_)->loadConfig(true));
  EXPECT_EQ(Access::fragileMap().at("crate").health, 1);
  EXPECT_EQ(Access::fragileMap().at("other").health, 9);
}

TEST_F(AfterAFailedSave, TheSaveOfAnotherModelDoesNotWriteTheEntry) {
  setHealth(*other_, 55);
  EXPECT_TRUE((*other_)->saveConfig());
  EXPECT_EQ(readDatabase(), text(1, 55));
}

TEST_F(AfterAFailedSave, TheNextTryKeepsWhatAnotherProgramWroteMeanwhile) {
  root_.replace(kDatabase, text(1, 9));
  EXPECT_TRUE((*crate_)->saveConfig());
  EXPECT_EQ(readDatabase(), text(77, 9));
}

}  // namespace
}  // namespace Tal
