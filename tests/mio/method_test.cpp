#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mio/lamp.h>

#include <string>
#include <vector>

namespace {

using mio::SetterFlags;
using testing::ElementsAre;
using testing::IsEmpty;
using tyk::Variant;

class AMethod : public ::testing::Test {
 protected:
  Variant call(const std::string& name, const std::vector<Variant>& arguments,
               SetterFlags flags = SetterFlags::none) {
    return registration_.metaObject().method(name)->invoke(lamp_, arguments, flags);
  }

  /// What a call with the wrong number of arguments says; "" when it is not refused.
  std::string refusal(const std::string& name, const std::vector<Variant>& arguments) {
    try {
      call(name, arguments);
    } catch (const mio::GenericFunctionError& error) {
      return error.what();
    }
    return "";
  }

  mio::Registration registration_{describeLamp()};
  Lamp lamp_;
};

TEST_F(AMethod, TakesItsArgumentsFromVariantsAndGivesItsResult) {
  EXPECT_EQ(call("damage", {"7", "a test"}), Variant(13));
  EXPECT_EQ(lamp_.health, 13);
  EXPECT_THAT(lamp_.told, ElementsAre("damaged by a test"));
}

TEST_F(AMethod, ReceivesTheSetterFlagsBesideItsArguments) {
  EXPECT_EQ(registration_.metaObject().method("_notify")->argumentCount(), 0U);
  EXPECT_EQ(registration_.metaObject().method("damage")->argumentCount(), 2U);
  EXPECT_EQ(call("_notify", {}, SetterFlags::interactive), Variant());
  EXPECT_THAT(lamp_.told, ElementsAre("changed 1"));
}

TEST_F(AMethod, RefusesAnotherNumberOfArguments) {
  EXPECT_EQ(refusal("_notify", {1}), "function accepts 0 args, but 1 were passed");
  EXPECT_EQ(refusal("_notify", {1, 2, 3}), "function accepts 0 args, but 3 were passed");
  EXPECT_EQ(refusal("damage", {}), "function accepts 2 args, but 0 were passed");
  EXPECT_EQ(refusal("damage", {1}), "function accepts 2 args, but 1 were passed");
  EXPECT_THAT(lamp_.told, IsEmpty());
  EXPECT_EQ(lamp_.health, 20);
}

TEST_F(AMethod, RefusesAnArgumentOfTheWrongTypeBeforeItRuns) {
  EXPECT_THROW(call("damage", {"seven", "a test"}), tyk::BadCast);
  EXPECT_THROW(call("damage", {7, Variant()}), tyk::BadCast);
  EXPECT_EQ(lamp_.health, 20);
}

TEST_F(AMethod, RefusesAnObjectThatIsNotOfItsClass) {
  const mio::Registration crates(describeCrate());
  Crate crate;
  try {
    registration_.metaObject().method("_notify")->invoke(crate, {});
    FAIL() << "it ran";
  } catch (const tyk::BadCast& error) {
    EXPECT_STREQ(error.what(), "cannot convert the Test::Crate to Test::Lamp");
  }
}

TEST_F(AMethod, RefusesAnObjectOfAClassThatNobodyDescribed) {
  Crate crate;
  EXPECT_THROW(registration_.metaObject().method("_notify")->invoke(crate, {}), tyk::BadCast);
}

TEST_F(AMethod, ChecksTheNumberOfArgumentsFirst) {
  Crate crate;
  const std::vector<Variant> one{1};
  EXPECT_THROW(registration_.metaObject().method("_notify")->invoke(crate, one), mio::GenericFunctionError);
}

}  // namespace
