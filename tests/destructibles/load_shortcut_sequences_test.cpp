// Random sequences of everything that hosts, authors and other programs do, with loads spared where they are
// and with none of them spared. Nobody can tell: all that can be seen is the same.

#include <destructibles/meta_fixture.h>
#include <destructibles/other_programs.h>
#include <destructibles/table_text.h>
#include <resources/data_section_cache.h>
#include <resources/monitor.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

const std::array<support::ModelParts, 3> kParts = {
    {{{{"n_wall_0", 73}, {"n_wall_1_2", 74}, {"n_wall_2", 75}, {"d_wall_1", 88}},
      {"n_wall_0", "n_wall_1", "n_wall_2"},
      {"HP_0", "HP_1"}},
     {{{"nwall_stone", 73}, {"s_base", 74}}, {"nwall_stone"}, {}},
     {{{"n_a_1", 73}, {"n_a_2", 74}, {"d_a_1", 87}, {"x", 0}}, {}, {"HP_2"}, true, false}}};

/// Hears when the monitor has told of the database.
struct Witness : ResourceModificationListener {
  void onResourceModified(const BasicStringRef& /*basePath*/, const BasicStringRef& resourceName,
                          Action /*action*/) override {
    hasHeard = hasHeard || resourceName == kDatabase;
  }
  bool hasHeard = false;
};

/// Sees every load of the database that this thread makes, and takes all shortcuts away if it is to: whatever
/// is about to read a file finds nothing kept of it, neither tables nor documents nor lists of effects.
class LoadWatch {
 public:
  explicit LoadWatch(bool takesShortcuts) : takesShortcuts_(takesShortcuts) {
    previous_ = StackTracker::setRecorder([this](const StackTracker::Event& event) { note(event); });
  }
  ~LoadWatch() { StackTracker::setRecorder(std::move(previous_)); }
  LoadWatch(const LoadWatch&) = delete;
  LoadWatch& operator=(const LoadWatch&) = delete;

  /// The documents with edits that nobody has saved, which nothing but the document holds.
  void setUnsaved(Strings names) { unsaved_ = std::move(names); }
  void noteSignal() { ++signals_; }

  /// Loads that restored the tables, and those that read only the model that was saved.
  int restored() const { return restored_; }
  int readInPart() const { return readInPart_; }

 private:
  void note(const StackTracker::Event& event) {
    const std::string_view operation = event.entry.function;
    const bool isLoad = operation == "Tal::KsDestructiblesHelper::loadConfig";
    if (event.kind == StackTracker::Event::Kind::pop) {
      if (isLoad) noteEnd();
      return;
    }
    if (!takesShortcuts_) forgetFor(operation);
    if (isLoad) begin_ = {Access::loadedStamp(), Access::savedStamp(), Access::hasLoaded(), signals_};
  }

  void forgetFor(std::string_view operation) const {
    if (operation == "getEffectNames") {
      forget(kEffects);
    } else if (operation == "Tal::KsDestructiblesHelper::calculateDestructibleHealth") {
      forget(kVisual);
    } else if (operation == "Tal::KsDestructiblesHelper::loadConfig" ||
               operation == "Tal::KsDestructiblesHelper::saveConfig") {
      Access::forgetLastLoad();
      forget(kDatabase);
    }
  }

  /// Discarded, since the next document of the same bytes may be recognised as one that was purged.
  void forget(const char* name) const {
    const bool isUnsaved = std::find(unsaved_.begin(), unsaved_.end(), name) != unsaved_.end();
    if (!isUnsaved) DataSectionCache::discard(name);
  }

  void noteEnd() {
    const bool isDone = !begin_.hadLoaded || signals_ != begin_.signals;
    const std::uint64_t stamp = Access::loadedStamp();
    if (!isDone || stamp == 0) return;
    if (stamp == begin_.loadedStamp) {
      ++restored_;
    } else if (stamp == begin_.savedStamp) {
      ++readInPart_;
    }
  }

  struct Begin {
    std::uint64_t loadedStamp = 0;
    std::uint64_t savedStamp = 0;
    bool hadLoaded = false;
    int signals = 0;
  };

  bool takesShortcuts_;
  Strings unsaved_;
  Begin begin_;
  int signals_ = 0;
  int restored_ = 0;
  int readInPart_ = 0;
  StackTracker::Recorder previous_;
};

/// Does one random thing after another with a few helpers, and keeps a record of what could be seen.
class RandomHost {
 public:
  RandomHost(std::uint32_t seed, const support::MountedRoot& folder, bool takesShortcuts)
      : dice_(seed), folder_(folder), others_(folder, dice_), loads_(takesShortcuts) {
    rs().beginFrame();  // no reload has been in this one
    for (const char* name : {kDatabase, kEffects, kVisual}) folder_.write(name, contentsOf(name).front());
    FS::fileSystem()->getFilesystemMonitor()->addModificationListener(&witness_);
    FS::fileSystem()->pump();  // what it cannot watch is reported now
    messages_.clear();
  }

  ~RandomHost() {
    for (auto& seat : seats_) seat.helper.reset();
    FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(&witness_);
  }
  RandomHost(const RandomHost&) = delete;
  RandomHost& operator=(const RandomHost&) = delete;

  /// What was done and seen in each step.
  Strings run(int steps) {
    Strings record;
    for (int step = 0; step < steps; ++step) {
      seen_.str({});
      act();
      forgetSavedEdits();
      describeAll();
      record.push_back(seen_.str());
    }
    return record;
  }

  const LoadWatch& loads() const { return loads_; }

 private:
  /// Where one helper sits, with the model and the disabler that it was made for.
  struct Seat {
    std::unique_ptr<SuperModel> model;
    Journal journal;
    std::unique_ptr<RecordingDisabler> disabler;
    std::unique_ptr<KsDestructiblesHelper> helper;
    std::vector<ks::Connection> connections;
  };

  std::string name() {
    constexpr std::array<const char*, 5> kOdd = {"", " b", "a/lod1/b", "x/gatesandfences/b",
                                                 "x/environment/b"};
    if (dice_.isOneIn(10)) return dice_.oneOf(kOdd);
    return {"abcd"[dice_.below(4)]};
  }
  std::string state() {
    constexpr std::array<const char*, 4> kStates = {"half", "s", "undamaged", "destroyed"};
    return dice_.oneOf(kStates);
  }
  std::string material() {
    constexpr std::array<const char*, 5> kMaterials = {"n_wall_0", "n_wall_1", "d_wall_1", "two words",
                                                       "gone"};
    return dice_.oneOf(kMaterials);
  }
  /// Sometimes one that no file can hold, so that saves of it fail.
  std::string text() {
    constexpr std::array<const char*, 4> kTexts = {"", "none", "hero", " spaced "};
    return dice_.isOneIn(12) ? "\x01" : dice_.oneOf(kTexts);
  }
  int health() { return static_cast<int>(dice_.below(3)) + 1; }
  float scale() {
    constexpr std::array<float, 3> kScales = {1.0F, 0.5F, 1.0001F};
    return dice_.oneOf(kScales);
  }
  std::unique_ptr<SuperModel> model() { return support::buildModel(dice_.oneOf(kParts)); }

  void act() {
    if (dice_.isOneIn(40)) return changeAndPump();
    Seat& at = dice_.oneOf(seats_);
    seen_ << "seat " << &at - seats_.data() << '\n';
    if (!at.helper || dice_.isOneIn(10)) {
      if (at.helper && dice_.isOneIn(3)) return closeSeat(at);
      return reseat(at);
    }
    switch (dice_.below(10)) {
      case 0:
        return changeFile();
      case 1:
        return dice_.coin() ? editByHand() : changeFile();
      case 2:
      case 3:
        return loadOrSave(at);
      case 4:
        return convert(*at.helper);
      case 5:
        return editRecords(*at.helper);
      case 6:
        return editStates(*at.helper);
      case 7:
        return dice_.coin() ? bind(at) : lookAtMaterials(*at.helper);
      case 8:
        return lookAtLists();
      default:
        return look(*at.helper);
    }
  }

  // --- The helpers' lives ---

  void closeSeat(Seat& at) {
    seen_ << "closed\n";
    at.connections.clear();
    at.helper.reset();
  }

  void reseat(Seat& at) {
    const bool isSameModel = at.model && at.disabler && dice_.coin();
    seen_ << "reinit " << isSameModel << '\n';
    at.connections.clear();
    // The helper of before holds these until it is gone.
    std::unique_ptr<SuperModel> oldModel;
    std::unique_ptr<RecordingDisabler> oldDisabler;
    if (!isSameModel) {
      oldModel = std::exchange(at.model, dice_.isOneIn(12) ? nullptr : model());
      oldDisabler = std::exchange(at.disabler, nullptr);
      if (!dice_.isOneIn(12)) at.disabler = std::make_unique<RecordingDisabler>(at.model.get(), &at.journal);
    }
    KsDestructiblesHelper::reinit(at.helper, at.model.get(), name(), at.disabler.get(), dice_.coin());
    if (isSameModel) at.helper->createMaterialBindings();
    listen(at);
  }

  /// Some listeners edit what they are told of.
  void listen(Seat& at) {
    const auto tell = [this, &at, edits = dice_.isOneIn(4)] {
      loads_.noteSignal();
      seen_ << "  loaded by " << &at - seats_.data() << '\n';
      seen_ << textOfTables() << "loaded " << Access::hasLoaded() << '\n';
      if (edits) seen_ << at.helper->addDestructibleState("told") << '\n';
    };
    at.connections.clear();
    at.connections.push_back(at.helper->connectLoadedConfigSignal(tell));
    at.connections.push_back(at.helper->connectDestructibleTypeChanged(
        [this, &at] { seen_ << "  type changed of " << &at - seats_.data() << '\n'; }));
  }

  void bind(Seat& at) {
    const std::uint32_t what = dice_.below(3);
    seen_ << "bind " << what << '\n';
    if (what == 0) seen_ << at.helper->detachSuperModel(at.model.get()) << '\n';
    if (what == 1 && at.helper->materialDisabler() != nullptr) at.helper->createMaterialBindings();
    if (what == 2) at.helper->resetMatKindsByName(model().get());
  }

  // --- The files ---

  const char* fileName() {
    constexpr std::array<const char*, 6> kFiles = {kDatabase, kDatabase, kDatabase,
                                                   kDatabase, kEffects,  kVisual};
    return dice_.oneOf(kFiles);
  }

  void changeFile() {
    const std::string name = fileName();
    if (dice_.isOneIn(3)) DataSectionCache::purge(name, false);
    others_.change(name, seen_);
  }

  /// Changes the database and lets the monitor tell of it, all within one frame: in that there is one reload,
  /// however many of the earlier changes are told of first.
  void changeAndPump() {
    seen_ << "change and pump\n";
    others_.changeWithNews(kDatabase);
    rs().beginFrame();
    witness_.hasHeard = false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (FS::fileSystem()->pump(); !witness_.hasHeard; FS::fileSystem()->pump()) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the change was not told of";
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  /// What a host does to a document behind the helpers' backs: purges, saves, edits, or edits and saves it.
  void editByHand() {
    const std::string name = dice_.isOneIn(4) ? kEffects : kDatabase;
    const std::uint32_t what = dice_.below(6);
    seen_ << "by hand " << what << ' ' << name << '\n';
    if (what == 0) return DataSectionCache::purge(name, false);
    const SmartPointer<DataSection> root = FS::Utils::openSection(name, dice_.coin(), nullptr);
    if (!root) return;
    if (what != 1) edit(name, *root);
    if (what <= 2) seen_ << root->save() << '\n';
  }

  void edit(const std::string& file, DataSection& root) {
    const std::string mark = "edit_" + std::to_string(++edits_) + '_';
    root.openSection("fragiles", true)->appendChild(mark)->writeString("filename", name());
    unsaved_[file] = mark;
    tellUnsaved();
  }

  void forgetSavedEdits() {
    std::erase_if(unsaved_, [this](const auto& edit) { return !isUnsaved(edit.first, edit.second); });
    tellUnsaved();
  }

  void tellUnsaved() {
    Strings names;
    for (const auto& [file, mark] : unsaved_) names.push_back(file);
    loads_.setUnsaved(std::move(names));
  }

  /// Whether the document has the mark and the file does not.
  bool isUnsaved(const std::string& file, const std::string& mark) const {
    const SmartPointer<DataSection> root = support::openResource(file);
    if (!root || !root->openSection("fragiles/" + mark)) return false;
    std::string bytes = others_.bytesOf(file).value_or("");
    std::erase(bytes, '\0');  // of two-byte characters
    return bytes.find(mark) == std::string::npos;
  }

  void loadOrSave(Seat& at) {
    const std::uint32_t what = dice_.below(8);
    if (what <= 2) {
      seen_ << "load " << at.helper->loadConfig(true) << '\n';
    } else if (what == 3) {
      seen_ << "load if needed " << at.helper->loadConfig(false) << '\n';
    } else if (what <= 5) {
      dice_.isOneIn(3) ? saveProtected(*at.helper) : save(*at.helper);
    } else {
      if (what == 6) rs().beginFrame();
      seen_ << "notified\n";
      Access::onResourceModified(*at.helper, kDatabase);
    }
  }

  void save(KsDestructiblesHelper& helper) {
    if (dice_.coin()) {
      seen_ << "load " << helper.loadConfig(true) << '\n';
      editRecords(helper);
      editStates(helper);
    }
    seen_ << "save " << helper.saveConfig() << '\n';
  }

  /// Fails but when there is nothing to write.
  void saveProtected(KsDestructiblesHelper& helper) {
    constexpr fs::perms kRead = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
    const bool isThere = fs::exists(folder_ / kDatabase);
    seen_ << "protected\n";
    if (isThere) fs::permissions(folder_ / kDatabase, kRead);
    save(helper);
    if (isThere) fs::permissions(folder_ / kDatabase, kRead | fs::perms::owner_write);
  }

  // --- Edits ---

  void convert(KsDestructiblesHelper& helper) {
    const std::uint32_t what = dice_.below(5);
    seen_ << "convert " << what << '\n';
    if (what == 0) helper.setAsStructure();
    if (what == 1) helper.setAsFragile();
    if (what == 2) helper.setAsFallingAtoms();
    if (what == 3) helper.setAsNonDestructible(dice_.coin());
    if (what == 4) helper.resetDescriptions();
  }

  void editRecords(KsDestructiblesHelper& helper) {
    KsDestructibleModuleDesc module;
    module.health = health();
    module.effectScale = scale();
    module.ramEffect = text();
    KsDestructibleFragileDesc fragile;
    fragile.health = health();
    fragile.hitEffect = text();
    fragile.achievementTag = text();
    KsDestructibleFallingAtomDesc atom;
    atom.effectScale = scale();
    atom.achievementTag = text();
    const std::uint32_t what = dice_.below(4);
    seen_ << "edit " << what << ' ';
    if (what == 0) seen_ << helper.updateDestructibleModule(material(), module, dice_.coin());
    if (what == 1) seen_ << helper.updateFragileParameters(fragile);
    if (what == 2) seen_ << helper.updateFallingAtomParameters(atom);
    if (what == 3) seen_ << helper.updateStructureAchievementTag(text());
    seen_ << '\n';
  }

  void editStates(KsDestructiblesHelper& helper) {
    const std::uint32_t what = dice_.below(6);
    seen_ << "state " << what << ' ';
    if (what == 0) seen_ << helper.addDestructibleState(state());
    if (what == 1) seen_ << helper.delDestructibleState(state());
    if (what == 2) seen_ << helper.addMaterialToDestrState(state(), material());
    if (what == 3) seen_ << helper.delMaterialFromDestrState(state(), material());
    if (what == 4) seen_ << helper.setDestructibleState(state());
    if (what == 5) helper.setMaterialDestroyed(73 + dice_.below(3), dice_.coin());
    seen_ << '\n';
  }

  // --- What can be seen ---

  void look(KsDestructiblesHelper& helper) {
    KsDestructibleModuleDesc module;
    KsDestructibleFragileDesc fragile;
    KsDestructibleFallingAtomDesc atom;
    std::string tag;
    seen_ << "look " << helper.getDestructibleModule(material(), module)
          << helper.getFragileParameters(fragile) << helper.getFallingAtomParameters(atom)
          << helper.getStructureAchievementTag(tag) << ' ' << tag << ' '
          << helper.calculateDestructibleHealth() << ' ' << helper.calculateType() << '\n';
    seen_ << wordsOf(module) << '\n';
    seen_ << wordsOf(fragile) << '\n';
    seen_ << wordsOf(atom) << '\n';
    seen_ << ' ' << textOf(helper.getStateNames()) << '\n';
    const std::string wanted = state();
    seen_ << ' ' << textOf(helper.getMaterialsForState(wanted)) << '\n';
    for (const unsigned kind : helper.getMatKindsForState(wanted)) seen_ << kind << ' ';
  }

  void lookAtMaterials(KsDestructiblesHelper& helper) {
    static const std::regex anyUndamaged("n.*");
    seen_ << "look at materials\n";
    for (const auto& [name, kind] : helper.getMaterialNames()) {
      seen_ << name << ' ' << kind << ' ' << helper.getMaterialKind(name) << ' '
            << helper.getMaterialNumericID(name) << ' ' << helper.isStaticMaterialName(name)
            << helper.isDestroyedMaterialName(name) << helper.isUndamagedMaterialName(name)
            << helper.isMaterialKindDestroyed(name) << helper.isMaterialKindUndamaged(name)
            << helper.isMaterialKindVisible(kind);
      for (const unsigned other : helper.getMaterialDependencies(kind)) seen_ << ' ' << other;
      seen_ << ' ' << textOf(helper.getMaterialNames(kind)) << '\n';
    }
    Strings names(helper.bspMaterialNames().begin(), helper.bspMaterialNames().end());
    seen_ << helper.hasDefaultMaterialKinds(anyUndamaged, &names)
          << helper.hasDisorderedMaterialKinds(&names);
    seen_ << ' ' << textOf(names) << '\n';
    seen_ << ' ' << textOf(helper.getHardpointNames()) << '\n';
  }

  void lookAtLists() {
    const auto category = static_cast<int>(dice_.below(4));
    const std::uint32_t kind = dice_.below(3);
    seen_ << "lists " << kind << " of " << category << '\n';
    if (kind == 0) describeLists<KsDestructibleModuleDesc>(category);
    if (kind == 1) describeLists<KsDestructibleFragileDesc>(category);
    if (kind == 2) describeLists<KsDestructibleFallingAtomDesc>(category);
  }

  template <class Record>
  void describeLists(int category) {
    EditedRecord<Record> edited(category, {"HP_0"});
    for (const mio::BoundProperty& property : edited.record.properties())
      seen_ << property.property()->name() << ' ' << tyk::Variant(property.options()).text() << '\n';
  }

  void describeAll() {
    for (Seat& at : seats_) {
      if (!at.helper) continue;
      seen_ << "  helper of " << at.helper->modelName() << ' ' << at.helper->destructibleType() << ' '
            << at.helper->isMissingInDestructiblesXml() << " [" << at.helper->getDestructibleState() << "] ["
            << Access::structureAchievementTag(*at.helper) << "]";
      seen_ << ' ' << textOf(at.journal) << '\n';
      at.journal.clear();
    }
    seen_ << textOfTables() << "loaded " << Access::hasLoaded() << '\n';
    describeMessages();
    for (const char* file : {kDatabase, kEffects}) seen_ << others_.bytesOf(file).value_or("no file") << '\n';
  }

  /// But for those of malformed files: each version is reported once, which is no shortcut, and two within a
  /// tick of the file system's clock may count as one.
  void describeMessages() {
    const std::string root = folder_.path().string();
    for (std::string message : messages_.texts()) {
      if (message.find("the file was not loaded") != std::string::npos) continue;
      for (auto at = message.find(root); at != std::string::npos; at = message.find(root))
        message.replace(at, root.size(), "ROOT");
      seen_ << "  message " << message << '\n';
    }
    messages_.clear();
  }

  Dice dice_;
  const support::MountedRoot& folder_;
  OtherPrograms others_;
  support::MessageRecorder messages_;
  LoadWatch loads_;
  Witness witness_;
  std::array<Seat, 3> seats_;
  std::ostringstream seen_;
  std::map<std::string, std::string> unsaved_;  ///< by file: what marks the last edit of its document
  int edits_ = 0;
};

class SparedLoadsAtRandom : public DestructiblesTest {
 protected:
  Strings record(std::uint32_t seed, bool takesShortcuts) {
    DataSectionCache::clear();
    Access::clearTables();
    const support::MountedRoot folder;
    RandomHost host(seed, folder, takesShortcuts);
    Strings steps = host.run(300);
    (takesShortcuts ? restored_ : restoredWithout_) += host.loads().restored();
    (takesShortcuts ? readInPart_ : readInPartWithout_) += host.loads().readInPart();
    return steps;
  }

  int restored_ = 0;
  int readInPart_ = 0;
  int restoredWithout_ = 0;
  int readInPartWithout_ = 0;
};

TEST_F(SparedLoadsAtRandom, CannotBeToldFromFullOnesInSequencesOfEveryOperation) {
  const std::uint32_t first = std::random_device()();
  for (std::uint32_t seed = first; seed != first + 20; ++seed) {
    const Strings spared = record(seed, true);
    const Strings full = record(seed, false);
    for (std::size_t step = 0; step < full.size(); ++step)
      ASSERT_EQ(spared[step], full[step]) << "seed " << seed << ", step " << step;
  }
  EXPECT_GT(restored_, 100);
  EXPECT_GT(readInPart_, 5);
  EXPECT_EQ(restoredWithout_, 0);
  EXPECT_EQ(readInPartWithout_, 0);
}

}  // namespace
}  // namespace Tal
