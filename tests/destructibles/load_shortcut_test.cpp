// A load of content that the tables were loaded from before restores them instead of reading the document
// again. Nobody can tell: the same operations give the same with and without that.

#include <destructibles/fixture.h>
#include <destructibles/table_text.h>
#include <resources/data_section_cache.h>

#include <array>
#include <cstdint>
#include <random>
#include <sstream>

namespace Tal {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Key;

// Two categories for one model, a model twice, sections of one tag twice, and no entry for "d".
constexpr std::array<const char*, 4> kContents = {
    R"(<root>
	<structures>
		<entry><filename>a</filename><achievementTag>first</achievementTag>
			<modules><module><matName>n_wall_1</matName><health>7</health></module></modules>
			<states><state><name>half</name><destroyedMaterials>d_wall_1 </destroyedMaterials></state></states></entry>
		<entry><filename>z</filename><achievementTag>last</achievementTag></entry>
	</structures>
	<fragiles><entry><filename>b</filename><health>3</health></entry></fragiles>
	<fallingAtoms><entry><filename>c</filename><health>9</health></entry></fallingAtoms>
</root>
)",
    R"(<root>
	<fragiles>
		<entry><filename>a</filename><effect>x</effect></entry>
		<entry><filename>b</filename><effect>first</effect></entry>
		<entry><filename>b</filename><effect>second</effect></entry>
	</fragiles>
	<structures><entry><filename>a</filename><modules/><states/></entry></structures>
	<fallingAtoms><entry><filename>b</filename></entry></fallingAtoms>
	<structures><entry><filename>c</filename><achievementTag>none</achievementTag><states>
		<state><name>s</name><destroyedMaterials>d_wall_2 n_wall_1</destroyedMaterials></state></states></entry></structures>
</root>
)",
    "<root><trees><entry><filename>a</filename></entry></trees></root>", "<root/>"};

const support::ModelParts kParts = {
    {{"n_wall_0", 73}, {"n_wall_1_2", 74}, {"n_wall_2", 75}, {"d_wall_1", 88}},
    {"n_wall_0", "n_wall_1", "n_wall_2"},
    {"HP_0", "HP_1"}};

/// Does one random thing after another with a few helpers, and keeps a record of what could be seen.
class RandomHost {
 public:
  RandomHost(std::uint32_t seed, const support::MountedRoot& folder, bool takesShortcuts)
      : random_(seed), folder_(folder), takesShortcuts_(takesShortcuts) {
    rs().beginFrame();  // no reload has been in this one
    write(kContents[0]);
  }

  ~RandomHost() {
    for (auto& seat : seats_) seat.helper.reset();
  }
  RandomHost(const RandomHost&) = delete;
  RandomHost& operator=(const RandomHost&) = delete;

  /// What was done and seen in each step.
  std::vector<std::string> run(int steps) {
    std::vector<std::string> record;
    for (int step = 0; step < steps; ++step) {
      if (!takesShortcuts_) Access::forgetLastLoad();
      shortcuts_ += Access::knowsLastLoad() ? 1 : 0;
      seen_.str({});
      act();
      describeAll();
      record.push_back(seen_.str());
    }
    return record;
  }

  /// Before how many steps the next load could be spared.
  int shortcuts() const { return shortcuts_; }

 private:
  /// Where one helper sits, with the model and the disabler that it was made for.
  struct Seat {
    std::unique_ptr<SuperModel> model;
    Journal journal;
    std::unique_ptr<RecordingDisabler> disabler;
    std::unique_ptr<KsDestructiblesHelper> helper;
    std::vector<ks::Connection> connections;
  };

  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_()) % bound; }
  bool coin() { return below(2) == 0; }
  std::string name() { return std::string(1, static_cast<char>('a' + below(4))); }
  std::string state() { return std::array<const char*, 4>{"half", "s", "undamaged", "destroyed"}[below(4)]; }
  std::string material() {
    return std::array<const char*, 4>{"n_wall_0", "n_wall_1", "d_wall_1", "gone"}[below(4)];
  }
  int health() { return static_cast<int>(below(3)) + 1; }

  void write(std::string_view text) const { folder_.replace(kDatabase, text); }

  void seat(Seat& seat) {
    seat.model = support::buildModel(kParts);
    seat.disabler = std::make_unique<RecordingDisabler>(seat.model.get(), &seat.journal);
  }

  void listen(Seat& seat) {
    seat.connections.clear();
    seat.connections.push_back(seat.helper->connectLoadedConfigSignal([this, at = &seat - seats_.data()] {
      seen_ << "  loaded by " << at << '\n';
      describeTables(seen_);
    }));
    seat.connections.push_back(seat.helper->connectDestructibleTypeChanged(
        [this, at = &seat - seats_.data()] { seen_ << "  type changed of " << at << '\n'; }));
  }

  void act() {
    Seat& at = seats_[below(static_cast<std::uint32_t>(seats_.size()))];
    seen_ << "seat " << &at - seats_.data() << '\n';
    if (!at.helper || below(8) == 0) {
      if (at.helper && below(3) == 0) return closeSeat(at);
      return reseat(at);
    }
    switch (below(6)) {
      case 0:
        return changeFile();
      case 1:
        return loadOrSave(at);
      case 2:
        return convert(*at.helper);
      case 3:
        return editRecords(*at.helper);
      case 4:
        return editStates(*at.helper);
      default:
        return look(*at.helper);
    }
  }

  void closeSeat(Seat& at) {
    seen_ << "closed\n";
    at.connections.clear();
    at.helper.reset();
  }

  void reseat(Seat& at) {
    seen_ << "reinit\n";
    at.connections.clear();
    // The helper of before holds these until it is gone.
    const auto oldModel = std::exchange(at.model, nullptr);
    const auto oldDisabler = std::exchange(at.disabler, nullptr);
    seat(at);
    KsDestructiblesHelper::reinit(at.helper, at.model.get(), name(), at.disabler.get(), coin());
    listen(at);
  }

  void changeFile() {
    const std::uint32_t what = below(8);
    seen_ << "file " << what << '\n';
    if (what < kContents.size()) return write(kContents[what]);
    if (what == 4) return write(folder_.read(kDatabase));
    if (what == 5) return write("<root><fragiles>");
    if (what == 6) return DataSectionCache::purge(kDatabase, false);
    if (const auto root = support::openResource(kDatabase); root) {
      root->openSection("fragiles", true)->appendChild("entry")->writeString("filename", "unsaved");
      seen_ << root->childCount() << '\n';
    }
  }

  void loadOrSave(Seat& at) {
    switch (below(5)) {
      case 0:
        seen_ << "load " << at.helper->loadConfig(true) << '\n';
        break;
      case 1:
        seen_ << "load if needed " << at.helper->loadConfig(false) << '\n';
        break;
      case 2:
        seen_ << "save " << at.helper->saveConfig() << '\n';
        break;
      case 3:
        rs().beginFrame();
        [[fallthrough]];
      default:
        seen_ << "notified\n";
        Access::onResourceModified(*at.helper, kDatabase);
    }
  }

  void convert(KsDestructiblesHelper& helper) {
    const std::uint32_t what = below(5);
    seen_ << "convert " << what << '\n';
    if (what == 0) helper.setAsStructure();
    if (what == 1) helper.setAsFragile();
    if (what == 2) helper.setAsFallingAtoms();
    if (what == 3) helper.setAsNonDestructible(coin());
    if (what == 4) helper.resetDescriptions();
  }

  void editRecords(KsDestructiblesHelper& helper) {
    KsDestructibleModuleDesc module;
    module.health = health();
    KsDestructibleFragileDesc fragile;
    fragile.health = health();
    KsDestructibleFallingAtomDesc atom;
    atom.health = health();
    const std::uint32_t what = below(4);
    seen_ << "edit " << what << ' ';
    if (what == 0) seen_ << helper.updateDestructibleModule(material(), module, coin());
    if (what == 1) seen_ << helper.updateFragileParameters(fragile);
    if (what == 2) seen_ << helper.updateFallingAtomParameters(atom);
    if (what == 3) seen_ << helper.updateStructureAchievementTag(material());
    seen_ << '\n';
  }

  void editStates(KsDestructiblesHelper& helper) {
    const std::uint32_t what = below(6);
    seen_ << "state " << what << ' ';
    if (what == 0) seen_ << helper.addDestructibleState(state());
    if (what == 1) seen_ << helper.delDestructibleState(state());
    if (what == 2) seen_ << helper.addMaterialToDestrState(state(), material());
    if (what == 3) seen_ << helper.delMaterialFromDestrState(state(), material());
    if (what == 4) seen_ << helper.setDestructibleState(state());
    if (what == 5) helper.setMaterialDestroyed(73 + below(3), coin());
    seen_ << '\n';
  }

  void look(KsDestructiblesHelper& helper) {
    KsDestructibleModuleDesc module;
    KsDestructibleFragileDesc fragile;
    KsDestructibleFallingAtomDesc atom;
    std::string tag;
    seen_ << "look " << helper.getDestructibleModule(material(), module)
          << helper.getFragileParameters(fragile) << helper.getFallingAtomParameters(atom)
          << helper.getStructureAchievementTag(tag) << ' ' << tag << ' '
          << helper.calculateDestructibleHealth() << ' ' << helper.calculateType() << '\n';
    describe(module, seen_);
    describe(fragile, seen_);
    describe(atom, seen_);
    describe(helper.getStateNames(), seen_);
    const std::string wanted = state();
    describe(helper.getMaterialsForState(wanted), seen_);
    for (const unsigned kind : helper.getMatKindsForState(wanted)) seen_ << kind << ' ';
  }

  void describeAll() {
    for (Seat& at : seats_) {
      if (!at.helper) continue;
      seen_ << "  helper of " << at.helper->modelName() << ' ' << at.helper->destructibleType() << ' '
            << at.helper->isMissingInDestructiblesXml() << " [" << at.helper->getDestructibleState() << "] ["
            << Access::structureAchievementTag(*at.helper) << "]";
      describe(at.journal, seen_);
      at.journal.clear();
    }
    describeTables(seen_);
    seen_ << folder_.read(kDatabase);
  }

  std::mt19937 random_;
  const support::MountedRoot& folder_;
  bool takesShortcuts_;
  std::array<Seat, 3> seats_;
  std::ostringstream seen_;
  int shortcuts_ = 0;
};

class SparedLoads : public DestructiblesTest {
 protected:
  static std::vector<std::string> record(std::uint32_t seed, bool takesShortcuts) {
    DataSectionCache::clear();
    Access::clearTables();
    const support::MountedRoot folder;
    RandomHost host(seed, folder, takesShortcuts);
    std::vector<std::string> record = host.run(300);
    EXPECT_EQ(host.shortcuts() > 30, takesShortcuts) << host.shortcuts();
    return record;
  }
};

TEST_F(SparedLoads, CannotBeToldFromFullOnesInRandomSequencesOfEveryOperation) {
  const std::uint32_t first = std::random_device()();
  for (std::uint32_t seed = first; seed != first + 20; ++seed) {
    const std::vector<std::string> spared = record(seed, true);
    const std::vector<std::string> full = record(seed, false);
    for (std::size_t step = 0; step < full.size(); ++step)
      ASSERT_EQ(spared[step], full[step]) << "seed " << seed << ", step " << step;
  }
}

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
  std::filesystem::rename(folder_ / kDatabase, folder_ / "away.xml");
  EXPECT_FALSE(helper.loadConfig(true));
  EXPECT_TRUE(Access::fragiles().empty());
  std::filesystem::rename(folder_ / "away.xml", folder_ / kDatabase);
  EXPECT_TRUE(helper.loadConfig(true));
  EXPECT_THAT(Access::fragiles(), ElementsAre(Key("m")));
}

}  // namespace
}  // namespace Tal
