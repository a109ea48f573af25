#include <destructibles/fixture.h>
#include <resources/monitor.h>

#include <algorithm>
#include <cstdlib>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

class AReload : public DestructiblesTest {
 protected:
  AReload() { messages_.clear(); }  // the helper has no disabler and says so

  /// Puts a fragile of the given name into the file, as the only entry.
  void writeFragile(const std::string& name) const {
    writeDatabase("<r><fragiles><entry><filename>" + name + "</filename></entry></fragiles></r>");
  }

  /// Whether a notification of `resource` in a new frame reloads the tables.
  bool isReloadedBy(std::string_view resource) {
    Access::fragileMap()["in memory"].health = 1;
    rs().beginFrame();
    Access::onResourceModified(helper_, resource);
    return Access::fragileMap().count("in memory") == 0;
  }

  KsDestructiblesHelper helper_;
};

// --- When a helper listens ---

/// Hears of every change, so that a test knows that one was delivered.
struct Witness : ResourceModificationListener {
  void onResourceModified(const BasicStringRef& /*basePath*/, const BasicStringRef& /*resourceName*/,
                          Action /*action*/) override {
    hasHeard = true;
  }
  bool hasHeard = false;
};

/// Delivers what waits at the monitor in the middle of the change of the model's look.
class DeliveringDisabler : public RecordingDisabler {
 public:
  DeliveringDisabler(SuperModel* model, Journal* journal, std::function<bool()> deliver)
      : RecordingDisabler(model, journal), deliver_(std::move(deliver)) {}
  void setIsDestroyed(bool isDestroyed) override {
    EXPECT_TRUE(deliver_());
    RecordingDisabler::setIsDestroyed(isDestroyed);
  }

 private:
  std::function<bool()> deliver_;
};

TEST_F(AReload, IsNotDoneByAHelperThatIsStillShowingItsFirstState) {
  writeFragile("m");
  Witness witness;
  FS::fileSystem()->getFilesystemMonitor()->addModificationListener(&witness);
  FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(&helper_);
  const auto model = support::buildModel({});
  Journal journal;
  DeliveringDisabler disabler(model.get(), &journal,
                              [&] { return passFramesUntil([&] { return witness.hasHeard; }); });
  root_.replace(kDatabase, "<r><fragiles><entry><filename>m</filename></entry></fragiles> </r>");
  {
    const TrackRecorder recorder(&journal);
    const KsDestructiblesHelper helper(model.get(), "m", &disabler);
    EXPECT_TRUE(witness.hasHeard);
    EXPECT_THAT(journal, ::testing::Contains("> setDestructibleState"));
    EXPECT_THAT(journal, ::testing::Not(::testing::Contains("> onResourceModified")));
  }
  FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(&witness);
}

/// Delivers what waits at the monitor when an operation is popped from the call stack, once.
class DeliveryAtPop {
 public:
  DeliveryAtPop(std::string function, std::function<bool()> deliver) {
    previous_ = StackTracker::setRecorder([this, function = std::move(function),
                                           deliver = std::move(deliver)](const StackTracker::Event& event) {
      const bool isPush = event.kind == StackTracker::Event::Kind::push;
      if (isPush && isDelivering_) pushed_.emplace_back(event.entry.function);
      if (isPush || isDelivering_ || event.entry.function != function) return;
      isDelivering_ = true;
      EXPECT_TRUE(deliver());
      isDelivering_ = false;
    });
  }
  ~DeliveryAtPop() { StackTracker::setRecorder(std::move(previous_)); }
  DeliveryAtPop(const DeliveryAtPop&) = delete;
  DeliveryAtPop& operator=(const DeliveryAtPop&) = delete;

  /// The operations that the delivery caused.
  const Strings& pushed() const { return pushed_; }

 private:
  bool isDelivering_ = false;
  Strings pushed_;
  StackTracker::Recorder previous_;
};

TEST_F(AReload, IsDoneByAHelperFromTheEndOfItsConstructionToTheEndOfItsDestruction) {
  const std::string name = "Tal::KsDestructiblesHelper::";
  for (const bool isAtTheEnd : {false, true}) {
    writeFragile("m");
    Witness witness;
    FS::fileSystem()->getFilesystemMonitor()->addModificationListener(&witness);
    FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(&helper_);
    const DeliveryAtPop delivery(name + (isAtTheEnd ? "~" : "") + "KsDestructiblesHelper", [&] {
      witness.hasHeard = false;
      root_.replace(kDatabase, "<r><fragiles><entry><filename>m</filename></entry></fragiles> </r>");
      return passFramesUntil([&] { return witness.hasHeard; });
    });
    { const OpenModel open({}, "m"); }
    if (isAtTheEnd) {
      EXPECT_THAT(delivery.pushed(), IsEmpty()) << "it has left before its destruction is popped";
    } else {
      EXPECT_THAT(delivery.pushed(), ::testing::Contains(name + "onResourceModified"));
    }
    FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(&witness);
  }
}

// --- Which notifications count ---

TEST_F(AReload, FollowsAChangeOfTheDatabaseInAnyFolderAndOfNothingElse) {
  EXPECT_TRUE(isReloadedBy("scripts/destructibles.xml"));
  EXPECT_TRUE(isReloadedBy("content/scripts/destructibles.xml"));
  EXPECT_FALSE(isReloadedBy("scripts/destructibles_effects.xml"));
  EXPECT_FALSE(isReloadedBy("Scripts/Destructibles.xml"));
}

TEST_F(AReload, FollowsEveryNameThatHoldsTheDatabasesName) {
  EXPECT_TRUE(isReloadedBy("xscripts/destructibles.xml"));
  EXPECT_TRUE(isReloadedBy("scripts/destructibles.xml.bak"));
  EXPECT_TRUE(isReloadedBy("scripts/scripts/destructibles.xml~"));
  EXPECT_TRUE(isReloadedBy("scripts/destructibles.xml scripts/destructibles.xml"));
}

TEST_F(AReload, DoesNotFollowOtherNames) {
  EXPECT_FALSE(isReloadedBy(""));
  EXPECT_FALSE(isReloadedBy("scripts/destructibles.xm"));
  EXPECT_FALSE(isReloadedBy("cripts/destructibles.xml"));
  EXPECT_FALSE(isReloadedBy("cripts/destructibles.xmlx"));
  EXPECT_FALSE(isReloadedBy("scripts\\destructibles.xml"));
  EXPECT_FALSE(isReloadedBy("scripts//destructibles.xml"));
  EXPECT_FALSE(isReloadedBy("SCRIPTS/DESTRUCTIBLES.XML and more"));
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(AReload, LooksAtTheGivenCharactersOnly) {
  const std::string longer = "scripts/destructibles.xml";
  EXPECT_FALSE(isReloadedBy(std::string_view(longer).substr(0, 24)));
}

TEST_F(AReload, FollowsCreationChangeAndRemovalAlikeInAnyRoot) {
  for (const Access::Action action :
       {Access::Action::added, Access::Action::modified, Access::Action::removed}) {
    for (const char* root : {"", "/one", "two"}) {
      Access::fragileMap()["in memory"].health = 1;
      rs().beginFrame();
      Access::onResourceModified(helper_, kDatabase, root, action);
      EXPECT_THAT(Access::fragileMap(), IsEmpty()) << root;
    }
  }
}

TEST_F(AReload, ReadsTheFileAlsoWhenItIsLoadedAlready) {
  writeFragile("old");
  ASSERT_TRUE(helper_.loadConfig(false));
  writeFragile("new");
  rs().beginFrame();
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("new")));
}

TEST_F(AReload, OfARemovedFileEmptiesTheTablesAndTellsNobody) {
  writeFragile("old");
  ASSERT_TRUE(helper_.loadConfig(false));
  int told = 0;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] { ++told; });
  std::filesystem::remove(root_ / kDatabase);
  rs().beginFrame();
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_EQ(told, 0);
}

// --- Once per frame ---

TEST_F(AReload, HappensOnceForTwoNotificationsOfAFrame) {
  writeFragile("a");
  int told = 0;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] { ++told; });
  rs().beginFrame();
  Access::onResourceModified(helper_, kDatabase);
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_EQ(told, 1);
  rs().beginFrame();
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_EQ(told, 2);
}

TEST_F(AReload, HappensOncePerFrameForAllHelpersAndTellsThoseOfTheFirst) {
  writeFragile("a");
  KsDestructiblesHelper second;
  Strings told;
  const ks::Connection onFirst = helper_.connectLoadedConfigSignal([&] { told.emplace_back("first"); });
  const ks::Connection onSecond = second.connectLoadedConfigSignal([&] { told.emplace_back("second"); });
  rs().beginFrame();
  Access::onResourceModified(second, kDatabase);
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_THAT(told, ElementsAre("second"));
}

TEST_F(AReload, IsNotUsedUpByANotificationThatDoesNotCount) {
  rs().beginFrame();
  Access::onResourceModified(helper_, "content/house.model");
  Access::fragileMap()["in memory"].health = 1;
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_THAT(Access::fragileMap(), IsEmpty());
}

TEST_F(AReload, OfAFileThatCannotBeReadUsesUpTheFrame) {
  rs().beginFrame();
  Access::onResourceModified(helper_, kDatabase);
  writeFragile("late");
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_THAT(Access::fragileMap(), IsEmpty());
}

TEST_F(AReload, ByForceDoesNotUseUpTheFrame) {
  writeFragile("a");
  rs().beginFrame();
  ASSERT_TRUE(helper_.loadConfig(true));
  Access::fragileMap()["in memory"].health = 1;
  Access::onResourceModified(helper_, kDatabase);
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("a")));
}

/// 0 when a notification before the first frame is dropped and one in the first frame reloads.
int resultOfNotificationsAroundTheFirstFrame() {
  KsDestructiblesHelper helper;
  Access::fragileMap()["in memory"].health = 1;
  Access::onResourceModified(helper, kDatabase);
  if (Access::fragileMap().empty()) return 1;
  rs().beginFrame();
  Access::onResourceModified(helper, kDatabase);
  return Access::fragileMap().empty() ? 0 : 2;
}

/// Runs in a process of its own, in which no frame was rendered.
TEST(AReloadDeathTest, DoesNotHappenBeforeTheFirstFrame) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(resultOfNotificationsAroundTheFirstFrame()), ::testing::ExitedWithCode(0), "");
}

// --- Real changes of the real file ---

TEST_F(AReload, FollowsTheRealFileWhenItIsReplacedByRename) {
  writeFragile("old");
  const OpenModel open({}, "m");
  ASSERT_THAT(Access::fragileMap(), ElementsAre(Key("old")));
  root_.replace(kDatabase, "<r><fragiles><entry><filename>new</filename></entry></fragiles></r>");
  EXPECT_TRUE(passFramesUntil([] { return Access::fragileMap().count("new") == 1; }));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("new")));
}

TEST_F(AReload, FollowsTheRealFileWhenItIsWrittenInPlace) {
  writeFragile("old");
  const OpenModel open({}, "m");
  int told = 0;
  const ks::Connection listening = open->connectLoadedConfigSignal([&] { ++told; });
  writeFragile("new");
  EXPECT_TRUE(passFramesUntil([] { return Access::fragileMap().count("new") == 1; }));
  EXPECT_GE(told, 1);
}

TEST_F(AReload, FollowsTheRealFileWhenItIsRemovedAndMadeAnew) {
  writeFragile("old");
  const OpenModel open({}, "m");
  std::filesystem::remove(root_ / kDatabase);
  EXPECT_TRUE(passFramesUntil([] { return Access::fragileMap().empty(); }));
  writeFragile("new");
  EXPECT_TRUE(passFramesUntil([] { return Access::fragileMap().count("new") == 1; }));
}

TEST_F(AReload, OfTheRealFileTellsTheHelperThatWasMadeFirst) {
  writeFragile("old");
  const OpenModel first({}, "m");
  const OpenModel second({}, "m");
  Strings told;
  const ks::Connection onFirst = first->connectLoadedConfigSignal([&] { told.emplace_back("first"); });
  const ks::Connection onSecond = second->connectLoadedConfigSignal([&] { told.emplace_back("second"); });
  root_.replace(kDatabase, "<r><fragiles><entry><filename>new</filename></entry></fragiles></r>");
  ASSERT_TRUE(passFramesUntil([&] { return !told.empty(); }));
  EXPECT_EQ(told.front(), "first");
  EXPECT_THAT(told, ::testing::Not(::testing::Contains("second")));
}

TEST_F(AReload, FollowsASaveOfOnesOwnOnceMoreAndDropsWhatOthersHaveNotSaved) {
  writeDatabase(
      "<r><fragiles><entry><filename>a</filename></entry><entry><filename>b</filename></entry></fragiles></"
      "r>");
  const OpenModel a({}, "a");
  const OpenModel b({}, "b");
  int loads = 0;
  const ks::Connection onA = a->connectLoadedConfigSignal([&] { ++loads; });
  KsDestructibleFragileDesc edited;
  edited.health = 77;
  ASSERT_TRUE(a->updateFragileParameters(edited));
  ASSERT_TRUE(a->saveConfig());
  EXPECT_EQ(loads, 1);
  ASSERT_TRUE(b->updateFragileParameters(edited));
  ASSERT_TRUE(passFramesUntil([&] { return loads == 2; }));
  EXPECT_EQ(Access::fragileMap().at("a").health, 77);
  EXPECT_EQ(Access::fragileMap().at("b").health, 5) << "as in the file";
}

TEST_F(AReload, OfTheRealFileDoesNotReachADestroyedHelper) {
  writeFragile("old");
  auto first = std::make_unique<OpenModel>(support::ModelParts{}, "m");
  const OpenModel second({}, "m");
  Strings told;
  const ks::Connection onFirst = (*first)->connectLoadedConfigSignal([&] { told.emplace_back("first"); });
  const ks::Connection onSecond = second->connectLoadedConfigSignal([&] { told.emplace_back("second"); });
  first.reset();
  root_.replace(kDatabase, "<r><fragiles><entry><filename>new</filename></entry></fragiles></r>");
  ASSERT_TRUE(passFramesUntil([&] { return !told.empty(); }));
  EXPECT_THAT(told, ::testing::Each("second"));
}

TEST_F(AReload, OfTheRealFileMayDestroyTheHelperThatIsTold) {
  writeFragile("old");
  auto first = std::make_unique<OpenModel>(support::ModelParts{}, "m");
  const OpenModel second({}, "m");
  bool wasTold = false;
  ks::Connection onFirst = (*first)->connectLoadedConfigSignal([&] {
    wasTold = true;
    first.reset();
  });
  root_.replace(kDatabase, "<r><fragiles><entry><filename>new</filename></entry></fragiles></r>");
  EXPECT_TRUE(passFramesUntil([&] { return wasTold; }));
  EXPECT_EQ(first, nullptr);
  EXPECT_FALSE(onFirst.connected());
}

/// Remembers what a monitor tells it.
class Probe : public ResourceModificationListener {
 public:
  explicit Probe(FS::MonitorThreadBase* monitor) : monitor_(monitor) {
    monitor_->addModificationListener(this);
  }
  ~Probe() override { monitor_->removeModificationListener(this); }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  bool wasToldOf(const std::string& name) const {
    return std::find(names_.begin(), names_.end(), name) != names_.end();
  }

 private:
  void onResourceModified(const BasicStringRef&, const BasicStringRef& resourceName, Action) override {
    names_.emplace_back(resourceName);
  }

  FS::MonitorThreadBase* monitor_;
  Strings names_;
};

TEST_F(AReload, IsNotCausedByARealChangeOfAnotherFile) {
  writeFragile("old");
  root_.write("scripts/destructibles_effects.xml", "<a/>");
  const OpenModel open({}, "m");
  const Probe probe(FS::fileSystem()->getFilesystemMonitor());
  Access::fragileMap()["in memory"].health = 1;
  root_.replace("scripts/destructibles_effects.xml", "<b/>");
  ASSERT_TRUE(passFramesUntil([&] { return probe.wasToldOf("scripts/destructibles_effects.xml"); }));
  EXPECT_EQ(Access::fragileMap().count("in memory"), 1U);
}

TEST_F(AReload, IsNotHeardOfByAHelperWithoutAModel) {
  writeFragile("old");
  ASSERT_TRUE(helper_.loadConfig(false));
  const Probe probe(FS::fileSystem()->getFilesystemMonitor());
  root_.replace(kDatabase, "<r><fragiles><entry><filename>new</filename></entry></fragiles></r>");
  ASSERT_TRUE(passFramesUntil([&] { return probe.wasToldOf(kDatabase); }));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("old")));
}

}  // namespace
}  // namespace Tal
