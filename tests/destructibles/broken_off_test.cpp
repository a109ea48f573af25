// Operations that are broken off: by a listener, a message sink or a disabler that throws.

#include <destructibles/fixture.h>
#include <destructibles/table_text.h>
#include <resources/monitor.h>

#include <stdexcept>

namespace Tal {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;

/// What a host throws.
struct Refusal : std::runtime_error {
  Refusal() : std::runtime_error("refused") {}
};

/// Throws when the next message is logged, and only then.
class ThrowingSink {
 public:
  ThrowingSink() {
    previous_ = DebugMessageHelper::setSink([this](const DebugMessage& message) {
      if (!std::exchange(hasThrown_, true)) throw Refusal();
      if (previous_) previous_(message);
    });
  }
  ~ThrowingSink() { DebugMessageHelper::setSink(std::move(previous_)); }
  ThrowingSink(const ThrowingSink&) = delete;
  ThrowingSink& operator=(const ThrowingSink&) = delete;

 private:
  bool hasThrown_ = false;
  DebugMessageHelper::Sink previous_;
};

class AnOperationThatIsBrokenOff : public DestructiblesTest {
 protected:
  /// Runs what must throw what a host threw, and leaves no tracked operation behind.
  static void expectBrokenOff(const std::function<void()>& operation) {
    EXPECT_THROW(operation(), Refusal);
    EXPECT_TRUE(StackTracker::entries().empty()) << StackTracker::text();
  }
};

// --- Saves ---

constexpr const char* kTwice = R"(<root>
  <fragiles>
    <entry>
      <filename>crate</filename>
      <health>1</health>
    </entry>
    <entry>
      <filename>other</filename>
      <health>2</health>
      <decayEffect>none</decayEffect>
      <effect>none</effect>
      <effectHP></effectHP>
      <effectScale>1</effectScale>
      <lifetimeEffect>none</lifetimeEffect>
    </entry>
  </fragiles>
  <structures>
    <entry>
      <filename>crate</filename>
    </entry>
  </structures>
</root>
)";

/// A save of the crate that a sink breaks off while the entry is written, behind the removal of the other.
class ASaveThatIsBrokenOff : public AnOperationThatIsBrokenOff {
 protected:
  ASaveThatIsBrokenOff() {
    writeDatabase(kTwice);
    crate_ = std::make_unique<OpenModel>(support::ModelParts{}, "crate");
    KsDestructibleFragileDesc desc;
    desc.health = 77;
    desc.effect = "bad\x01";
    EXPECT_TRUE((*crate_)->updateFragileParameters(desc));
    const ThrowingSink sink;
    expectBrokenOff([this] { (*crate_)->saveConfig(); });
  }

  std::unique_ptr<OpenModel> crate_;
};

TEST_F(ASaveThatIsBrokenOff, LeavesTheFileAndTheEditsAsTheyAre) {
  EXPECT_EQ(readDatabase(), kTwice);
  EXPECT_EQ(Access::fragiles().at("crate").health, 77);
  EXPECT_FALSE((*crate_)->isMissingInDestructiblesXml());
}

TEST_F(ASaveThatIsBrokenOff, LetsALoadReadTheFileAsItIs) {
  EXPECT_TRUE((*crate_)->loadConfig(true));
  EXPECT_EQ(Access::fragiles().at("crate").health, 1);
  const auto root = support::openResource(kDatabase);
  EXPECT_EQ(root->openSection("structures")->childCount(), 1);
}

TEST_F(ASaveThatIsBrokenOff, GivesNothingOfItsModelToTheSaveOfAnother) {
  const OpenModel other({}, "other");
  EXPECT_TRUE(other->saveConfig());
  EXPECT_EQ(readDatabase(), kTwice);
}

TEST_F(ASaveThatIsBrokenOff, SucceedsWhenItIsTriedAgainWithTheValueMended) {
  KsDestructibleFragileDesc desc;
  desc.health = 77;
  desc.effect = "good";
  ASSERT_TRUE((*crate_)->updateFragileParameters(desc));
  EXPECT_TRUE((*crate_)->saveConfig());
  EXPECT_THAT(readDatabase(), HasSubstr("<health>77</health>"));
  EXPECT_EQ(Access::fragiles().at("crate").effect, "good");
}

TEST_F(AnOperationThatIsBrokenOff, ByTheMessageOfAMalformedFileIsASaveThatChangesNothing) {
  const OpenModel crate({}, "crate");
  crate->setAsFragile();
  writeDatabase("<root><fragiles>");
  {
    const ThrowingSink sink;
    expectBrokenOff([&] { crate->saveConfig(); });
  }
  EXPECT_EQ(readDatabase(), "<root><fragiles>");
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("crate")));
}

// --- Constructions ---

/// Hears of every change, so that a test knows that one was delivered.
struct Witness : ResourceModificationListener {
  void onResourceModified(const BasicStringRef& /*basePath*/, const BasicStringRef& /*resourceName*/,
                          Action /*action*/) override {
    hasHeard = true;
  }
  bool hasHeard = false;
};

struct RefusingDisabler : KsMaterialDisabler {
  using KsMaterialDisabler::KsMaterialDisabler;
  void setIsDestroyed(bool /*isDestroyed*/) override { throw Refusal(); }
};

TEST_F(AnOperationThatIsBrokenOff, WhenItIsAConstructionLeavesNoListenerBehind) {
  writeDatabase("<r/>");
  const auto model = support::buildModel({{{"nwall", 73}}, {"nwall"}, {"HP_1"}});
  RefusingDisabler disabler(model.get());
  expectBrokenOff([&] { const KsDestructiblesHelper helper(model.get(), "m", &disabler); });
  Witness witness;
  FS::fileSystem()->getFilesystemMonitor()->addModificationListener(&witness);
  Journal journal;
  {
    const TrackRecorder recorder(&journal);
    root_.replace(kDatabase, "<r><fragiles/></r>");
    EXPECT_TRUE(passFramesUntil([&] { return witness.hasHeard; }));
  }
  EXPECT_THAT(journal, IsEmpty()) << "nobody else is told";
  FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(&witness);
}

TEST_F(AnOperationThatIsBrokenOff, WhenItIsAConstructionMayBeTriedAgain) {
  writeDatabase("<r><fragiles><entry><filename>a/gatesandfences/b</filename></entry></fragiles></r>");
  {
    const auto model = support::buildModel({});
    const ThrowingSink sink;
    expectBrokenOff([&] { const KsDestructiblesHelper helper(model.get(), "m", nullptr); });
  }
  const OpenModel open({}, "a/gatesandfences/b");
  EXPECT_EQ(open->destructibleType(), DT_FRAGILE);
}

// --- Listeners that throw ---

TEST_F(AnOperationThatIsBrokenOff, WhenItIsAConversionHasMadeItsEntry) {
  const OpenModel open({}, "m");
  const ks::Connection refusing = open->connectDestructibleTypeChanged([] { throw Refusal(); });
  expectBrokenOff([&] { open->setAsFragile(); });
  EXPECT_EQ(open->destructibleType(), DT_FRAGILE);
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
  expectBrokenOff([&] { open->setAsNonDestructible(false); });
  EXPECT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_THAT(Access::fragiles(), IsEmpty());
  expectBrokenOff([&] { open->setAsFallingAtoms(); });
  expectBrokenOff([&] { open->setAsStructure(); });
  expectBrokenOff([&] { open->resetDescriptions(); });
  EXPECT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE) << "the first of its two signals was the last";
}

TEST_F(AnOperationThatIsBrokenOff, WhenItIsALoadHasFilledTheTablesAndTheNextOneRestoresThem) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>4</health></entry></fragiles></r>");
  const OpenModel open({}, "m");
  KsDestructibleFragileDesc desc;
  desc.health = 9;
  for (const bool isRestored : {false, true}) {
    if (!isRestored) Access::forgetLastLoad();
    ASSERT_TRUE(open->updateFragileParameters(desc));
    ASSERT_EQ(Access::knowsLastLoad(), isRestored);
    {
      const ks::Connection refusing = open->connectLoadedConfigSignal([] { throw Refusal(); });
      expectBrokenOff([&] { open->loadConfig(true); });
    }
    EXPECT_EQ(Access::fragiles().at("m").health, 4);
  }
  const std::string restored = textOfTables();
  Access::forgetLastLoad();
  EXPECT_TRUE(open->loadConfig(true));
  EXPECT_EQ(textOfTables(), restored);
}

TEST_F(AnOperationThatIsBrokenOff, WhenItIsTheLoadOfASaveHasSaved) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>4</health></entry></fragiles></r>");
  const OpenModel open({}, "m");
  KsDestructibleFragileDesc desc;
  desc.health = 9;
  ASSERT_TRUE(open->updateFragileParameters(desc));
  const ks::Connection refusing = open->connectLoadedConfigSignal([] { throw Refusal(); });
  expectBrokenOff([&] { open->saveConfig(); });
  EXPECT_THAT(readDatabase(), HasSubstr("<health>9</health>"));
  EXPECT_EQ(Access::fragiles().at("m").health, 9);
  EXPECT_TRUE(Access::knowsLastLoad());
}

TEST_F(AnOperationThatIsBrokenOff, WhenItIsAReloadHasUsedUpItsFrame) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  const OpenModel open({}, "m");
  Access::fragileMap()["in memory"];
  rs().beginFrame();
  {
    const ks::Connection refusing = open->connectLoadedConfigSignal([] { throw Refusal(); });
    expectBrokenOff([&] { Access::onResourceModified(*open, kDatabase); });
  }
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
  Access::fragileMap()["in memory"];
  Access::onResourceModified(*open, kDatabase);
  EXPECT_THAT(Access::fragiles(), Contains(Key("in memory")));
}

// --- Disablers that come back ---

/// Makes its helper show another state in the middle of showing one, once.
class ReturningDisabler : public RecordingDisabler {
 public:
  using RecordingDisabler::RecordingDisabler;
  void setIsDestroyed(bool isDestroyed) override {
    RecordingDisabler::setIsDestroyed(isDestroyed);
    if (const auto comeBack = std::exchange(comeBack_, nullptr)) comeBack();
  }
  std::function<void()> comeBack_;
};

TEST_F(AnOperationThatIsBrokenOff, NeverIsTheShowingOfAStateByAnotherWithinIt) {
  const auto model = support::buildModel({{{"nwall", 73}, {"nroof", 74}}});
  Journal journal;
  ReturningDisabler disabler(model.get(), &journal);
  KsDestructiblesHelper helper(model.get(), "m", &disabler);
  ASSERT_TRUE(helper.addDestructibleState("ruined"));
  ASSERT_TRUE(helper.addMaterialToDestrState("ruined", "nroof"));
  journal.clear();
  disabler.comeBack_ = [&] { EXPECT_TRUE(helper.setDestructibleState("undamaged")); };
  EXPECT_TRUE(helper.setDestructibleState("ruined"));
  EXPECT_THAT(journal, ElementsAre("setIsDestroyed false", "setIsDestroyed false", "hide 74", "show 88"));
  journal.clear();
  disabler.comeBack_ = [&] { EXPECT_TRUE(helper.setDestructibleState("ruined")); };
  EXPECT_TRUE(helper.setDestructibleState(helper.getDestructibleState()));
  EXPECT_THAT(journal, ElementsAre("setIsDestroyed false", "setIsDestroyed false", "hide 74", "show 88"));
}

}  // namespace
}  // namespace Tal
