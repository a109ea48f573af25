#include "reading_listener.h"

#include <support/change_scenarios.h>
#include <support/message_recorder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <string>

namespace {

using support::Fixture;
using testing::ElementsAre;

class AChange : public testing::TestWithParam<support::Scenario> {};

TEST_P(AChange, IsFollowedToItsEndByAListenerThatReads) {
  const support::MessageRecorder refusals;  // of what is read half-written
  Fixture database;
  GetParam().prepare(database);
  const ReadingListener listener(database);
  expectToBeFollowed(GetParam(), database, listener.reads);
}

INSTANTIATE_TEST_SUITE_P(By, AChange, testing::ValuesIn(support::changingScenarios()),
                         support::nameOfScenario<testing::TestParamInfo<support::Scenario>>);

TEST(AFileThatIsBeingWritten, IsReadOnlyWhenItsWriterIsDone) {
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  const std::string text = support::databaseOfVersion(2);
  std::ofstream stream(database.database(), std::ios::binary);
  for (const std::size_t half : {std::size_t{0}, text.size() / 2}) {
    stream << text.substr(half, text.size() / 2) << std::flush;
    database.pause(600);  // for two polls, and shorter than a writer may pause
    EXPECT_THAT(listener.reads, ElementsAre(1));
  }
  stream << text.substr(text.size() / 2 * 2);
  stream.close();
  EXPECT_TRUE(database.framesUntil([&] { return listener.reads.size() > 1; }));
  EXPECT_THAT(listener.reads, ElementsAre(1, 2));
}

class NoChange : public testing::TestWithParam<support::Scenario> {};

TEST_P(NoChange, MakesAListenerReadAgain) {
  Fixture database;
  GetParam().prepare(database);
  const ReadingListener listener(database);
  expectToGoUnnoticed(GetParam(), database, listener.reads);
}

INSTANTIATE_TEST_SUITE_P(By, NoChange, testing::ValuesIn(support::otherScenarios()),
                         support::nameOfScenario<testing::TestParamInfo<support::Scenario>>);

}  // namespace
