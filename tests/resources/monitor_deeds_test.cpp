#include "reading_listener.h"

#include <support/database_deeds.h>
#include <support/message_recorder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using support::Stage;

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
