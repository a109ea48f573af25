#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ks/signal.h>

#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using ks::Connection;
using ks::Signal;
using testing::ElementsAre;
using testing::IsEmpty;

/// Callbacks that note their name when they are called.
class Calls {
 public:
  std::function<void()> noting(std::string name) {
    return [this, name = std::move(name)] { names_.push_back(name); };
  }

  /// What was called since the last look.
  std::vector<std::string> take() { return std::exchange(names_, {}); }

 private:
  std::vector<std::string> names_;
};

TEST(ASignal, CostsOnePointerUntilSomethingConnects) {
  EXPECT_EQ(sizeof(Signal<void()>), sizeof(void*));
}

TEST(ASignal, CanNeitherBeCopiedNorMoved) {
  EXPECT_FALSE(std::is_copy_constructible_v<Signal<void()>>);
  EXPECT_FALSE(std::is_copy_assignable_v<Signal<void()>>);
  EXPECT_FALSE(std::is_move_constructible_v<Signal<void()>>);
}

TEST(ASignal, RaisedWithoutSlotsDoesNothing) {
  const Signal<void()> neverConnected;
  neverConnected();

  Signal<void()> disconnected;
  Calls calls;
  { const Connection connection = disconnected.connect(calls.noting("a")); }
  disconnected();
  EXPECT_THAT(calls.take(), IsEmpty());
}

TEST(ASignal, CallsASlotOnceForEveryRaise) {
  Signal<void()> signal;
  Calls calls;
  const Connection connection = signal.connect(calls.noting("a"));
  EXPECT_THAT(calls.take(), IsEmpty()) << "connecting alone calls nothing";
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("a"));
  signal();
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("a", "a"));
}

TEST(ASignal, CallsSlotsInTheOrderOfTheirConnection) {
  Signal<void()> signal;
  Calls calls;
  const Connection a = signal.connect(calls.noting("a"));
  const Connection b = signal.connect(calls.noting("b"));
  const Connection c = signal.connect(calls.noting("c"));
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("a", "b", "c"));
}

TEST(ASignal, CallsGroupsInAscendingOrderAndWithinAGroupInOrderOfConnection) {
  Signal<void()> signal;
  Calls calls;
  const Connection a = signal.connect(calls.noting("2a"), 2);
  const Connection b = signal.connect(calls.noting("0a"));
  const Connection c = signal.connect(calls.noting("-1a"), -1);
  const Connection d = signal.connect(calls.noting("2b"), 2);
  const Connection e = signal.connect(calls.noting("0b"), 0);
  const Connection f = signal.connect(calls.noting("1a"), 1);
  const Connection g = signal.connect(calls.noting("-1b"), -1);
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("-1a", "-1b", "0a", "0b", "1a", "2a", "2b"));
}

TEST(ASignal, TakesTheWholeRangeOfGroupNumbers) {
  Signal<void()> signal;
  Calls calls;
  const Connection last = signal.connect(calls.noting("last"), std::numeric_limits<int>::max());
  const Connection middle = signal.connect(calls.noting("middle"));
  const Connection first = signal.connect(calls.noting("first"), std::numeric_limits<int>::min());
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("first", "middle", "last"));
}

TEST(ASignal, KeepsTheOrderOfTheOthersWhenOneIsDisconnected) {
  Signal<void()> signal;
  Calls calls;
  Connection a = signal.connect(calls.noting("a"));
  Connection b = signal.connect(calls.noting("b"));
  Connection c = signal.connect(calls.noting("c"));
  const Connection d = signal.connect(calls.noting("d"));
  b.disconnect();
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("a", "c", "d"));
  a.disconnect();
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("c", "d"));
  c.disconnect();
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("d"));
  const Connection again = signal.connect(calls.noting("a"));
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("d", "a")) << "a slot connected again comes last";
}

TEST(ASignal, PassesItsArgumentsToEverySlot) {
  Signal<void(int, const std::string&)> signal;
  std::vector<std::string> seen;
  const auto note = [&seen](int number, const std::string& text) {
    seen.push_back(text + std::to_string(number));
  };
  const Connection a = signal.connect(note);
  const Connection b = signal.connect(note);
  signal(7, "health");
  EXPECT_THAT(seen, ElementsAre("health7", "health7"));
}

TEST(ASignal, PassesAReferenceAsTheObjectItself) {
  Signal<void(int&)> signal;
  const Connection a = signal.connect([](int& value) { value += 1; });
  const Connection b = signal.connect([](int& value) { value *= 10; });
  int value = 1;
  signal(value);
  EXPECT_EQ(value, 20);
}

TEST(ASignal, GivesEverySlotTheValueAsItWasRaised) {
  Signal<void(std::string)> signal;
  std::vector<std::string> seen;
  const auto take = [&seen](std::string text) { seen.push_back(std::move(text)); };
  const Connection a = signal.connect(take);
  const Connection b = signal.connect(take);
  signal("a text that is too long for any small buffer");
  EXPECT_THAT(seen, ElementsAre("a text that is too long for any small buffer",
                                "a text that is too long for any small buffer"));
}

TEST(ASignal, KeepsAnEmptyFunctionAndNeverCallsIt) {
  Signal<void()> signal;
  Calls calls;
  const Connection empty = signal.connect({});
  const Connection null = signal.connect(static_cast<void (*)()>(nullptr));
  const Connection a = signal.connect(calls.noting("a"));
  EXPECT_TRUE(empty.connected());
  EXPECT_TRUE(null.connected());
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("a"));
}

TEST(ASignal, HoldsManySlots) {
  Signal<void()> signal;
  int calls = 0;
  std::vector<Connection> connections;
  connections.reserve(100'000);
  for (int i = 0; i < 100'000; ++i) connections.push_back(signal.connect([&calls] { ++calls; }));
  signal();
  EXPECT_EQ(calls, 100'000);
  for (std::size_t i = 0; i < connections.size(); i += 2) connections[i].disconnect();
  signal();
  EXPECT_EQ(calls, 150'000);
}

TEST(ASignalThatWasReleased, HasNoSlotsAndIsAsNew) {
  Signal<void()> signal;
  Calls calls;
  const Connection before = signal.connect(calls.noting("before"));
  signal.release();
  EXPECT_FALSE(before.connected());
  signal();
  EXPECT_THAT(calls.take(), IsEmpty());
  const Connection after = signal.connect(calls.noting("after"));
  signal();
  EXPECT_THAT(calls.take(), ElementsAre("after"));
}

TEST(ASignalThatWasReleased, MayBeReleasedAgain) {
  Signal<void()> signal;
  signal.release();
  const Connection connection = signal.connect([] {});
  signal.release();
  signal.release();
  EXPECT_FALSE(connection.connected());
}

}  // namespace
