#include <destructibles/fixture.h>

#include <optional>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

class TheSignals : public DestructiblesTest {
 protected:
  TheSignals() { writeDatabase("<r><fragiles><entry><filename>a</filename></entry></fragiles></r>"); }

  KsDestructiblesHelper helper_;
  Strings told_;
};

TEST_F(TheSignals, CallTheirListenersInTheOrderOfConnection) {
  const ks::Connection first = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("1"); });
  const ks::Connection second = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("2"); });
  const ks::Connection third = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("3"); });
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("1", "2", "3"));
}

TEST_F(TheSignals, CanBeConnectedToThroughAConstantHelper) {
  const KsDestructiblesHelper& constant = helper_;
  const ks::Connection loaded = constant.connectLoadedConfigSignal([&] { told_.emplace_back("loaded"); });
  const ks::Connection type = constant.connectDestructibleTypeChanged([&] { told_.emplace_back("type"); });
  helper_.loadConfig(true);
  helper_.setAsNonDestructible(true);
  EXPECT_THAT(told_, ElementsAre("loaded", "type"));
}

TEST_F(TheSignals, AreIndependentOfEachOther) {
  const ks::Connection loaded = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("loaded"); });
  const ks::Connection type = helper_.connectDestructibleTypeChanged([&] { told_.emplace_back("type"); });
  helper_.setAsNonDestructible(true);
  EXPECT_THAT(told_, ElementsAre("type"));
}

TEST_F(TheSignals, CopyTheCallbackThatIsConnected) {
  std::function<void()> callback = [&] { told_.emplace_back("old"); };
  const ks::Connection listening = helper_.connectLoadedConfigSignal(callback);
  callback = [&] { told_.emplace_back("new"); };
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("old"));
}

TEST_F(TheSignals, MayBeRaisedWithNobodyConnected) {
  EXPECT_TRUE(helper_.loadConfig(true));
  helper_.setAsNonDestructible(true);
  {
    const ks::Connection gone = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("gone"); });
  }
  EXPECT_TRUE(helper_.loadConfig(true));
  EXPECT_THAT(told_, IsEmpty());
}

TEST_F(TheSignals, DoNotCallAListenerWhoseHandleWasReleased) {
  std::optional<ks::Connection> listening =
      helper_.connectLoadedConfigSignal([&] { told_.emplace_back("x"); });
  helper_.loadConfig(true);
  listening.reset();
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("x"));
}

TEST_F(TheSignals, CallAListenerConnectedInsideACallbackFromTheNextLoadOn) {
  std::vector<ks::Connection> late;
  const ks::Connection listening = helper_.connectLoadedConfigSignal([&] {
    told_.emplace_back("early");
    if (late.empty()) late.push_back(helper_.connectLoadedConfigSignal([&] { told_.emplace_back("late"); }));
  });
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("early"));
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("early", "early", "late"));
}

TEST_F(TheSignals, DoNotCallAListenerThatAnEarlierOneDisconnected) {
  ks::Connection second;
  const ks::Connection first = helper_.connectLoadedConfigSignal([&] {
    told_.emplace_back("1");
    second.disconnect();
  });
  second = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("2"); });
  const ks::Connection third = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("3"); });
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("1", "3"));
}

TEST_F(TheSignals, LetAListenerDisconnectItself) {
  ks::Connection itself;
  itself = helper_.connectLoadedConfigSignal([&] {
    itself.disconnect();
    told_.emplace_back("once");
  });
  const ks::Connection other = helper_.connectLoadedConfigSignal([&] { told_.emplace_back("always"); });
  helper_.loadConfig(true);
  helper_.loadConfig(true);
  EXPECT_THAT(told_, ElementsAre("once", "always", "always"));
}

TEST_F(TheSignals, ReachEveryListenerAgainWhenOneReloads) {
  int depth = 0;
  const ks::Connection first = helper_.connectLoadedConfigSignal([&] {
    ++depth;
    told_.push_back("1 in load " + std::to_string(depth));
    if (depth == 1) {
      writeDatabase("<r><fragiles><entry><filename>b</filename></entry></fragiles></r>");
      EXPECT_TRUE(helper_.loadConfig(true));
    }
  });
  const ks::Connection second = helper_.connectLoadedConfigSignal(
      [&] { told_.push_back("2 sees " + Access::fragileMap().begin()->first); });
  EXPECT_TRUE(helper_.loadConfig(true));
  EXPECT_THAT(told_, ElementsAre("1 in load 1", "1 in load 2", "2 sees b", "2 sees b"));
}

TEST_F(TheSignals, LetAListenerSave) {
  const OpenModel open({}, "a");
  const ks::Connection listening = open->connectLoadedConfigSignal([&] {
    told_.push_back("health " + std::to_string(Access::fragileMap().at("a").health));
    if (told_.size() > 1) return;
    Access::fragileMap().at("a").health = 9;
    EXPECT_TRUE(open->saveConfig());
  });
  Access::fragileMap().at("a").health = 8;
  EXPECT_TRUE(open->saveConfig());
  EXPECT_THAT(told_, ElementsAre("health 8", "health 9"));
  EXPECT_THAT(readDatabase(), ::testing::HasSubstr("<health>9</health>"));
}

TEST_F(TheSignals, LetAHandleOutliveItsHelper) {
  ks::Connection loaded;
  ks::Connection type;
  {
    const KsDestructiblesHelper shortLived;
    loaded = shortLived.connectLoadedConfigSignal([&] { told_.emplace_back("loaded"); });
    type = shortLived.connectDestructibleTypeChanged([&] { told_.emplace_back("type"); });
    EXPECT_TRUE(loaded.connected());
  }
  EXPECT_FALSE(loaded.connected());
  EXPECT_FALSE(type.connected());
  loaded.disconnect();
}

TEST_F(TheSignals, DestroyTheirCallbacksWithTheHelper) {
  const auto held = std::make_shared<int>(0);
  ks::Connection loaded;
  {
    const KsDestructiblesHelper shortLived;
    loaded = shortLived.connectLoadedConfigSignal([held] {});
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(TheSignals, AreReleasedTheLoadedSignalFirstAfterTheDestructionWasPopped) {
  const auto noteAtEnd = [this](const char* name) {
    return std::shared_ptr<void>(nullptr, [this, name](void*) {
      told_.push_back(name + std::string(StackTracker::entries().empty() ? "" : " while tracked"));
    });
  };
  ks::Connection type;
  ks::Connection loaded;
  {
    const KsDestructiblesHelper shortLived;
    type = shortLived.connectDestructibleTypeChanged([note = noteAtEnd("type")] {});
    loaded = shortLived.connectLoadedConfigSignal([note = noteAtEnd("loaded")] {});
  }
  EXPECT_THAT(told_, ElementsAre("loaded", "type"));
}

// --- The helper goes away inside its own callback ---

TEST_F(TheSignals, SurviveThatACallbackOfALoadDestroysTheHelper) {
  auto helper = std::make_unique<KsDestructiblesHelper>();
  const ks::Connection first = helper->connectLoadedConfigSignal([&] {
    helper.reset();
    told_.emplace_back("destroyed");
  });
  const ks::Connection second = helper->connectLoadedConfigSignal([&] { told_.emplace_back("too late"); });
  EXPECT_TRUE(helper->loadConfig(true));
  EXPECT_THAT(told_, ElementsAre("destroyed"));
}

TEST_F(TheSignals, SurviveThatACallbackOfASaveDestroysTheHelper) {
  OpenModel open({}, "a");
  ASSERT_EQ(open->destructibleType(), DT_FRAGILE);
  const ks::Connection listening = open->connectLoadedConfigSignal([&] { open.helper.reset(); });
  EXPECT_TRUE(open->saveConfig());
  EXPECT_EQ(open.helper, nullptr);
}

TEST_F(TheSignals, SurviveThatACallbackOfAFileChangeDestroysTheHelper) {
  auto helper = std::make_unique<KsDestructiblesHelper>();
  const ks::Connection listening = helper->connectLoadedConfigSignal([&] { helper.reset(); });
  rs().beginFrame();
  Access::onResourceModified(*helper, kDatabase);
  EXPECT_EQ(helper, nullptr);
}

TEST_F(TheSignals, SurviveThatACallbackOfAConversionDestroysTheHelper) {
  using Convert = void (*)(KsDestructiblesHelper&);
  for (const Convert convert :
       {Convert([](KsDestructiblesHelper& helper) { helper.setAsStructure(); }),
        Convert([](KsDestructiblesHelper& helper) { helper.setAsFragile(); }),
        Convert([](KsDestructiblesHelper& helper) { helper.setAsFallingAtoms(); }),
        Convert([](KsDestructiblesHelper& helper) { helper.setAsNonDestructible(true); })}) {
    OpenModel open({}, "m");
    const ks::Connection listening = open->connectDestructibleTypeChanged([&] { open.helper.reset(); });
    convert(*open);
    EXPECT_EQ(open.helper, nullptr);
    EXPECT_TRUE(StackTracker::entries().empty());
  }
}

TEST_F(TheSignals, SurviveThatACallbackReplacesTheHelper) {
  OpenModel open({}, "a");
  const ks::Connection onLoad = open->connectLoadedConfigSignal([&] {
    told_.emplace_back("loaded");
    KsDestructiblesHelper::reinit(open.helper, open.model.get(), "b", &open.disabler, true);
  });
  EXPECT_TRUE(open->loadConfig(true));
  EXPECT_EQ(open->modelName(), "b");
  const ks::Connection onType = open->connectDestructibleTypeChanged([&] {
    told_.emplace_back("type");
    KsDestructiblesHelper::reinit(open.helper, open.model.get(), "c", &open.disabler, false);
  });
  open->setAsFallingAtoms();
  EXPECT_EQ(open->modelName(), "c");
  EXPECT_THAT(told_, ElementsAre("loaded", "type"));
  EXPECT_FALSE(onLoad.connected());
}

TEST_F(TheSignals, LetACallbackReadTheNewCategoryAndItsRecord) {
  const OpenModel open({}, "m");
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] {
    KsDestructibleFragileDesc desc;
    told_.push_back(std::to_string(open->destructibleType()) +
                    (open->getFragileParameters(desc) ? " with a record" : " without a record"));
  });
  open->setAsFragile();
  EXPECT_THAT(told_, ElementsAre("1 with a record"));
}

}  // namespace
}  // namespace Tal
