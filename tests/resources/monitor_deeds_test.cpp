#include "reading_listener.h"

#include <support/database_deeds.h>
#include <support/message_recorder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <string>

namespace {

using support::Stage;
using testing::ElementsAre;

class AChange : public testing::TestWithParam<support::Deed> {};

TEST_P(AChange, IsFollowedToItsEndByAListenerThatReads) {
  const support::MessageRecorder refusals;  // of what is read half-written
  Stage stage;
  GetParam().prepare(stage);
  const ReadingListener listener(stage);
  expectToBeFollowed(GetParam(), stage, listener.reads);
}

INSTANTIATE_TEST_SUITE_P(By, AChange, testing::ValuesIn(support::changingDeeds()),
                         support::nameOfDeed<testing::TestParamInfo<support::Deed>>);

TEST(AFileThatIsBeingWritten, IsReadOnlyWhenItsWriterIsDone) {
  Stage stage;
  stage.write(1);
  const ReadingListener listener(stage);
  const std::string text = support::databaseOfVersion(2);
  std::ofstream stream(stage.database(), std::ios::binary);
  for (const std::size_t half : {std::size_t{0}, text.size() / 2}) {
    stream << text.substr(half, text.size() / 2) << std::flush;
    stage.pause(600);  // for two looks, and shorter than a writer may pause
    EXPECT_THAT(listener.reads, ElementsAre(1));
  }
  stream << text.substr(text.size() / 2 * 2);
  stream.close();
  EXPECT_TRUE(stage.framesUntil([&] { return listener.reads.size() > 1; }));
  EXPECT_THAT(listener.reads, ElementsAre(1, 2));
}

class NoChange : public testing::TestWithParam<support::Deed> {};

TEST_P(NoChange, MakesAListenerReadAgain) {
  Stage stage;
  GetParam().prepare(stage);
  const ReadingListener listener(stage);
  expectToGoUnnoticed(GetParam(), stage, listener.reads);
}

INSTANTIATE_TEST_SUITE_P(By, NoChange, testing::ValuesIn(support::otherDeeds()),
                         support::nameOfDeed<testing::TestParamInfo<support::Deed>>);

}  // namespace
