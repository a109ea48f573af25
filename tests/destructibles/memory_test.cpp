// Whatever allocation fails: what cannot be done is thrown or done all the same, and the next load finds the
// tables as the file has them.

#include <destructibles/fixture.h>
#include <destructibles/table_text.h>
#include <resources/data_section_cache.h>
#include <support/failing_allocation.h>

#include <new>
#include <optional>

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
      bool hasFailed = false;
      const Outcome outcome = run(operation, house, place, hasFailed);
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
  static Outcome run(const Step& operation, OpenModel& house, long place, bool& hasFailed) {
    const support::FailingAllocation failing(place);
    Outcome outcome = Outcome::done;
    try {
      operation(house);
    } catch (const std::bad_alloc&) {
      outcome = Outcome::failed;
    }
    hasFailed = failing.hasFailed();
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
      EXPECT_EQ(textOfTables(), "empty\n");
      EXPECT_FALSE(Access::hasLoaded());
    });
    EXPECT_GT(failures, 2);
  }
}

TEST_F(AFailingAllocation, LeavesTheTablesOfAFirstLoadEmptyOrWhole) {
  const auto forget = [](OpenModel& /*house*/) { Access::clearTables(); };
  const auto first = [](OpenModel& house) { house->loadConfig(true); };
  const int failures = failEach(forget, first, [](OpenModel& /*house*/, Outcome outcome) {
    if (outcome == Outcome::done) return;
    EXPECT_EQ(textOfTables(), "empty\n");
    EXPECT_FALSE(Access::hasLoaded());
    KsDestructiblesHelper next;
    EXPECT_TRUE(next.loadConfig(false)) << "nobody takes them for a load";
    EXPECT_THAT(Access::modules(), Contains(Key(kHouse)));
  });
  EXPECT_GT(failures, 5);
}

TEST_F(AFailingAllocation, LeavesNoEditsOfASaveThatFailsBehindInTheDocument) {
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
