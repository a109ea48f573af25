#include <destructibles/fixture.h>
#include <support/change_scenarios.h>

namespace Tal {
namespace {

using support::Fixture;
using support::Scenario;

/// Opens a model and writes down which version of the database each load leaves in the tables.
class Follower {
 public:
  explicit Follower(Fixture& database) : model_({}, "m") {
    database.frame = [this] {
      support::Host::passFrame();
      // A load that fails tells nobody.
      if (Access::fragileMap().empty() && reads.back() != support::kNothing) note();
    };
    note();
    loaded_ = model_->connectLoadedConfigSignal([this] { note(); });
  }

  std::vector<int> reads;

 private:
  void note() {
    Strings names;
    for (const auto& [name, fragile] : Access::fragileMap()) names.push_back(name);
    reads.push_back(support::versionOfNames(names));
  }

  OpenModel model_;
  ks::Connection loaded_;
};

class FollowedChanges : public ::testing::TestWithParam<Scenario> {
 protected:
  FollowedChanges() {
    Access::clearTables();
    GetParam().prepare(stage_);
  }
  ~FollowedChanges() override { Access::clearTables(); }

  support::MessageRecorder refusals_;  // of what is read half-written
  Fixture stage_;
};

class AChangeOfTheDatabase : public FollowedChanges {};

TEST_P(AChangeOfTheDatabase, LeavesItsLastContentInTheTablesAndNothingTornBefore) {
  const Follower follower(stage_);
  expectToBeFollowed(GetParam(), stage_, follower.reads);
}

INSTANTIATE_TEST_SUITE_P(By, AChangeOfTheDatabase, ::testing::ValuesIn(support::changingScenarios()),
                         support::nameOfScenario<::testing::TestParamInfo<Scenario>>);

class NoChangeOfTheDatabase : public FollowedChanges {};

TEST_P(NoChangeOfTheDatabase, ReloadsTheTables) {
  const Follower follower(stage_);
  expectToGoUnnoticed(GetParam(), stage_, follower.reads);
}

INSTANTIATE_TEST_SUITE_P(By, NoChangeOfTheDatabase, ::testing::ValuesIn(support::otherScenarios()),
                         support::nameOfScenario<::testing::TestParamInfo<Scenario>>);

}  // namespace
}  // namespace Tal
