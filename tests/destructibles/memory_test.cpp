// Whatever allocation fails: what cannot be done is thrown or done all the same, and the next load finds the
// tables as the file has them.

#include <destructibles/fixture.h>
#include <destructibles/table_text.h>
#include <resources/data_section_cache.h>

#include <cstdlib>
#include <new>
#include <optional>

namespace {

// How many allocations of this thread still succeed before one fails; negative: no one fails.
thread_local long allocationsLeft = -1;
thread_local bool isSparing = false;

bool isToFail() noexcept {
  if (allocationsLeft < 0 || isSparing) return false;
  return allocationsLeft-- == 0;
}

void* allocate(std::size_t size) noexcept {
  return isToFail() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* allocate(std::size_t size, std::align_val_t alignment) noexcept {
  const auto unit = static_cast<std::size_t>(alignment);
  return isToFail() ? nullptr : std::aligned_alloc(unit, (size / unit + 1) * unit);
}

void* orThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// clang-format off
void* operator new(std::size_t size) { return orThrow(allocate(size)); }
void* operator new[](std::size_t size) { return orThrow(allocate(size)); }
void* operator new(std::size_t size, std::align_val_t unit) { return orThrow(allocate(size, unit)); }
void* operator new[](std::size_t size, std::align_val_t unit) { return orThrow(allocate(size, unit)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t unit, const std::nothrow_t&) noexcept { return allocate(size, unit); }
void* operator new[](std::size_t size, std::align_val_t unit, const std::nothrow_t&) noexcept { return allocate(size, unit); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
// clang-format on

namespace Tal {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;

constexpr const char* kHouse = "content/buildings/a house with a name that is held apart.model";
constexpr const char* kRuined = "a state with a name that is held apart";
constexpr const char* kWall = "n_wall with a name that is held apart";
constexpr const char* kEffect = "an effect with a name that is held apart";

constexpr const char* kFile = R"(<root>
  <fragiles>
    <entry>
      <filename>content/buildings/a house with a name that is held apart.model</filename>
      <effect>an effect of the file that is held apart</effect>
    </entry>
    <entry>
      <filename>content/props/a crate with a name that is held apart.model</filename>
    </entry>
  </fragiles>
  <structures>
    <entry>
      <filename>content/buildings/a house with a name that is held apart.model</filename>
      <achievementTag>a tag with a name that is held apart</achievementTag>
      <modules>
        <module>
          <matName>n_wall with a name that is held apart</matName>
          <ramEffect>a ram effect with a name that is held apart</ramEffect>
        </module>
      </modules>
      <states>
        <state>
          <name>a state with a name that is held apart</name>
          <destroyedMaterials>n_wall_1 n_wall_with_a_name_that_is_held_apart </destroyedMaterials>
        </state>
      </states>
    </entry>
  </structures>
</root>
)";

enum class Outcome { done, failed };

class AFailingAllocation : public DestructiblesTest {
 protected:
  using Step = std::function<void(OpenModel&)>;

  /// Runs `operation` with its first allocation failing, then with its second, and so on until it needs no
  /// more of them; before each run everything is as new and `prepare` has run, behind it `check` runs with
  /// what came of it. Returns how many runs had an allocation fail.
  int failEach(const Step& prepare, const Step& operation,
               const std::function<void(OpenModel&, Outcome)>& check) {
    for (long place = 0;; ++place) {
      SCOPED_TRACE("allocation " + std::to_string(place));
      DataSectionCache::clear();
      Access::clearTables();
      writeDatabase(kFile);
      OpenModel house({{{kWall, 73}}, {kWall}}, kHouse);
      prepare(house);
      messages_.clear();
      const std::size_t depth = StackTracker::entries().size();
      const Outcome outcome = run(operation, house, place);
      const bool hasFailed = allocationsLeftBehind_ < 0;
      EXPECT_EQ(StackTracker::entries().size(), depth);
      check(house, outcome);
      if (house.helper) expectNextLoadToBeWhole(*house);
      if (HasFailure() || !hasFailed) return static_cast<int>(place);
    }
  }

  /// Loads, so that no edit of the house is remembered: its helper has filled its modules.
  static void load(OpenModel& house) {
    ASSERT_TRUE(house->loadConfig(true));
    ASSERT_TRUE(Access::knowsLastLoad());
  }

  /// Edits records and states of the house, so that a load has something to put back.
  static void edit(OpenModel& house) {
    ASSERT_TRUE(house->addMaterialToDestrState(kRuined, "another material that is held apart"));
    KsDestructibleModuleDesc desc;
    desc.hitEffect = kEffect;
    ASSERT_TRUE(house->updateDestructibleModule(kWall, desc, false));
    ASSERT_TRUE(Access::knowsLastLoad());
  }

 private:
  Outcome run(const Step& operation, OpenModel& house, long place) {
    allocationsLeft = place;
    Outcome outcome = Outcome::done;
    try {
      operation(house);
    } catch (const std::bad_alloc&) {
      outcome = Outcome::failed;
    }
    allocationsLeftBehind_ = std::exchange(allocationsLeft, -1);
    return outcome;
  }

  /// The next load makes the tables what one makes of them that knows nothing of earlier ones.
  static void expectNextLoadToBeWhole(KsDestructiblesHelper& helper) {
    EXPECT_TRUE(helper.loadConfig(true));
    const std::string loaded = textOfTables();
    Access::clearTables();
    DataSectionCache::clear();
    EXPECT_TRUE(helper.loadConfig(true));
    EXPECT_EQ(loaded, textOfTables());
  }

  long allocationsLeftBehind_ = -1;
};

/// Spares what is allocated while a save replaces the file: the standard library's iterator over a folder
/// ends the program when it gets no memory.
class SparedReplacement {
 public:
  SparedReplacement() {
    previous_ = StackTracker::setRecorder([](const StackTracker::Event& event) {
      const bool isPush = event.kind == StackTracker::Event::Kind::push;
      const std::string_view name = event.entry.function;
      if (!isPush && name == "Tal::KsDestructiblesHelper::makeModulesXmlTag") isSparing = true;
      if (isPush && name == "Tal::KsDestructiblesHelper::loadConfig") isSparing = false;
    });
  }
  ~SparedReplacement() {
    isSparing = false;
    StackTracker::setRecorder(std::move(previous_));
  }
  SparedReplacement(const SparedReplacement&) = delete;
  SparedReplacement& operator=(const SparedReplacement&) = delete;

 private:
  StackTracker::Recorder previous_;
};

void expectDone(OpenModel& /*house*/, Outcome outcome) {
  EXPECT_EQ(outcome, Outcome::done);
}

TEST_F(AFailingAllocation, DoesNotKeepAModelFromLosingItsCategory) {
  const auto lose = [](OpenModel& house) { house->setAsNonDestructible(false); };
  const int failures = failEach(load, lose, [](OpenModel& house, Outcome outcome) {
    expectDone(house, outcome);
    EXPECT_EQ(house->destructibleType(), DT_NON_DESTRUCTIBLE);
    EXPECT_THAT(Access::modules(), IsEmpty());
    EXPECT_THAT(Access::states(), IsEmpty());
    EXPECT_THAT(Access::fragiles(), Not(Contains(Key(kHouse))));
  });
  EXPECT_GT(failures, 5) << "so many allocations were made to fail";
}

TEST_F(AFailingAllocation, DoesNotKeepAStateFromBeingDeleted) {
  const std::string state = kRuined;
  const auto remove = [&](OpenModel& house) { house->delDestructibleState(state); };
  const int failures = failEach(load, remove, [](OpenModel& house, Outcome outcome) {
    expectDone(house, outcome);
    EXPECT_THAT(Access::states().at(kHouse).states, IsEmpty());
  });
  EXPECT_GT(failures, 5);
}

TEST_F(AFailingAllocation, DoesNotKeepAMaterialFromBeingTakenOutOfAState) {
  const std::string state = kRuined;
  const std::string material = "n_wall_1";
  const auto remove = [&](OpenModel& house) { house->delMaterialFromDestrState(state, material); };
  const int failures = failEach(load, remove, [](OpenModel& house, Outcome outcome) {
    expectDone(house, outcome);
    EXPECT_EQ(Access::states().at(kHouse).states.at(kRuined).size(), 1U);
  });
  EXPECT_GT(failures, 5);
}

TEST_F(AFailingAllocation, DoesNotKeepAHelperWithEntriesInMemoryFromEnding) {
  const auto mark = [](OpenModel& house) {
    load(house);
    Access::isMissing(*house) = true;
  };
  const auto end = [](OpenModel& house) { house.helper.reset(); };
  const int failures = failEach(mark, end, [](OpenModel& house, Outcome outcome) {
    expectDone(house, outcome);
    EXPECT_THAT(Access::modules(), IsEmpty());
    EXPECT_THAT(Access::states(), IsEmpty());
    EXPECT_THAT(Access::fragiles(), Contains(Key(kHouse)));
    KsDestructiblesHelper next;
    EXPECT_TRUE(next.loadConfig(false));
    EXPECT_THAT(Access::modules(), Contains(Key(kHouse)));
  });
  EXPECT_GT(failures, 5);
}

TEST_F(AFailingAllocation, LeavesTheTablesOfALoadThatRestoresThemEmptyOrWhole) {
  for (const Step& change :
       {Step(edit), Step([](OpenModel& house) { house->setAsNonDestructible(false); })}) {
    const auto restore = [](OpenModel& house) { house->loadConfig(true); };
    const int failures = failEach(change, restore, [](OpenModel& /*house*/, Outcome outcome) {
      if (outcome == Outcome::done) return;
      EXPECT_THAT(textOfTables(), Eq("  loaded 1\n"));
    });
    EXPECT_GT(failures, 2);
  }
}

TEST_F(AFailingAllocation, LeavesNoEditsOfASaveThatFailsBehindInTheDocument) {
  const SparedReplacement spared;
  std::string saved;
  const auto save = [](OpenModel& house) { house->saveConfig(); };
  const auto check = [&](OpenModel& house, Outcome outcome) {
    if (outcome == Outcome::done) saved = readDatabase();
    EXPECT_TRUE(house->loadConfig(true));
    const bool isWritten = Access::modules().at(kHouse).at(kWall).hitEffect == kEffect;
    EXPECT_EQ(readDatabase() == kFile, !isWritten);
    EXPECT_EQ(Access::fragiles().contains(kHouse), !isWritten);
  };
  EXPECT_GT(failEach(edit, save, check), 50);
  EXPECT_THAT(saved, ::testing::HasSubstr(kEffect));
}

}  // namespace
}  // namespace Tal
