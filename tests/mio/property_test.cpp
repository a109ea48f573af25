#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mio/lamp.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using mio::BoundProperty;
using mio::SetterFlags;
using testing::ElementsAre;
using testing::IsEmpty;
using tyk::Variant;

class ABoundProperty : public ::testing::Test {
 protected:
  mio::Registration registration_{describeLamp()};
  Lamp lamp_;
};

TEST_F(ABoundProperty, ReadsAndWritesTheField) {
  const BoundProperty health = lamp_.property("Health");
  ASSERT_TRUE(health.isValid());
  EXPECT_EQ(health.object(), &lamp_);
  EXPECT_EQ(health.property()->name(), "Health");
  EXPECT_EQ(health.get(), Variant(20));
  health.set("35");
  EXPECT_EQ(lamp_.health, 35);
  lamp_.property("Scale").set(0.1);
  EXPECT_EQ(lamp_.scale, 0.1F);
  lamp_.property("Lit").set(1);
  EXPECT_TRUE(lamp_.isLit);
}

TEST_F(ABoundProperty, IsToldOnceToTheClassAndThenToThePropertysOwnMethod) {
  lamp_.property("Effect").set("fire", SetterFlags::interactive);
  EXPECT_THAT(lamp_.told, ElementsAre("changed 1", "effect changed to fire"));
  lamp_.told.clear();
  lamp_.property("Health").set(1);
  EXPECT_THAT(lamp_.told, ElementsAre("changed 0"));
}

TEST_F(ABoundProperty, IsToldAlsoWhenTheValueIsTheSame) {
  lamp_.property("Health").set(20);
  EXPECT_THAT(lamp_.told, ElementsAre("changed 0"));
}

TEST_F(ABoundProperty, KeepsItsValueAndTellsNobodyWhenAWriteIsRefused) {
  const BoundProperty health = lamp_.property("Health");
  EXPECT_THROW(health.set("a lot"), tyk::BadCast);
  EXPECT_THROW(health.set(3.5), tyk::BadCast);
  EXPECT_THROW(health.set(99999999999), tyk::BadCast);
  EXPECT_THROW(health.set(Variant()), tyk::BadCast);
  EXPECT_EQ(lamp_.health, 20);
  EXPECT_THAT(lamp_.told, IsEmpty());
}

TEST_F(ABoundProperty, OffersTheOptionsOfItsComboBox) {
  EXPECT_THAT(lamp_.property("Effect").options(),
              ElementsAre(Variant(""), Variant("none"), Variant("Effect")));
  EXPECT_THAT(lamp_.property("Health").options(), IsEmpty());
}

TEST_F(ABoundProperty, ThatIsNotValidReadsAsNothingAndIgnoresWrites) {
  const BoundProperty none = lamp_.property("No such property");
  EXPECT_FALSE(none.isValid());
  EXPECT_EQ(none.object(), nullptr);
  EXPECT_EQ(none.get(), Variant());
  none.set(1);
  EXPECT_THAT(none.options(), IsEmpty());
  EXPECT_THAT(lamp_.told, IsEmpty());
}

TEST_F(ABoundProperty, RefusesAnObjectOfAnotherClass) {
  const mio::Registration crates(describeCrate());
  Crate crate;
  const BoundProperty wrong(crate, *registration_.metaObject().property("Health"));
  EXPECT_THROW(wrong.get(), tyk::BadCast);
  EXPECT_THROW(wrong.set(1), tyk::BadCast);
  EXPECT_EQ(crate.health, 5);
}

TEST_F(ABoundProperty, LetsASlotDestroyItsObject) {
  auto lamp = std::make_unique<Lamp>();
  int calls = 0;
  const ks::Connection first = lamp->changed.connect([&](SetterFlags) {
    ++calls;
    lamp.reset();
  });
  const ks::Connection second = lamp->changed.connect([&](SetterFlags) { ++calls; });
  lamp->property("Effect").set("fire");
  EXPECT_EQ(lamp, nullptr);
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(second.connected());
}

TEST_F(ABoundProperty, LetsASlotDestroyTheHandleThatIsSet) {
  std::vector<BoundProperty> rows = lamp_.properties();
  const ks::Connection connection = lamp_.changed.connect([&](SetterFlags) {
    rows.clear();
    rows.shrink_to_fit();
  });
  rows.back().set("fire");
  EXPECT_THAT(rows, IsEmpty());
  EXPECT_THAT(lamp_.told, ElementsAre("changed 0", "effect changed to fire"));
}

TEST_F(ABoundProperty, LetsAMethodDestroyItsObject) {
  auto lamp = std::make_unique<Lamp>();
  const ks::Connection connection = lamp->changed.connect([&](SetterFlags) { lamp.reset(); });
  registration_.metaObject().method("_notify")->invoke(*lamp, {});
  EXPECT_EQ(lamp, nullptr);
}

TEST_F(ABoundProperty, LetsASlotSetAnotherProperty) {
  const ks::Connection connection = lamp_.changed.connect([this](SetterFlags) {
    if (!lamp_.isLit) lamp_.property("Lit").set(true);
  });
  lamp_.property("Health").set(7);
  EXPECT_TRUE(lamp_.isLit);
  EXPECT_EQ(lamp_.health, 7);
  EXPECT_THAT(lamp_.told, ElementsAre("changed 0", "changed 0"));
}

TEST_F(ABoundProperty, PassesOnWhatASlotThrowsWithTheValueSet) {
  const ks::Connection connection =
      lamp_.changed.connect([](SetterFlags) { throw std::runtime_error("slot"); });
  EXPECT_THROW(lamp_.property("Health").set(7), std::runtime_error);
  EXPECT_EQ(lamp_.health, 7);
}

}  // namespace
