#include <gtest/gtest.h>
#include <ks/signal.h>

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "when_destroyed.h"

namespace {

using ks::Connection;
using ks::Signal;
using ks::testing::whenDestroyed;

TEST(AConnection, OfNothingIsNotConnected) {
  Connection connection;
  EXPECT_FALSE(connection.connected());
  connection.disconnect();
  connection.detach();
  EXPECT_FALSE(connection.connected());
}

TEST(AConnection, HasOneOwner) {
  EXPECT_FALSE(std::is_copy_constructible_v<Connection>);
  EXPECT_FALSE(std::is_copy_assignable_v<Connection>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<Connection>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<Connection>);
}

TEST(AConnection, DisconnectsOnceAndForAll) {
  Signal<void()> signal;
  int calls = 0;
  Connection connection = signal.connect([&calls] { ++calls; });
  EXPECT_TRUE(connection.connected());
  connection.disconnect();
  EXPECT_FALSE(connection.connected());
  connection.disconnect();
  signal();
  EXPECT_EQ(calls, 0);
}

TEST(AConnection, DisconnectsWhenItIsReleased) {
  Signal<void()> signal;
  int calls = 0;
  {
    const Connection connection = signal.connect([&calls] { ++calls; });
    signal();
  }
  signal();
  EXPECT_EQ(calls, 1);
}

TEST(AConnection, ThatNobodyKeepsDisconnectsAtOnce) {
  Signal<void()> signal;
  int calls = 0;
  static_cast<void>(signal.connect([&calls] { ++calls; }));
  signal();
  EXPECT_EQ(calls, 0);
}

TEST(AConnection, MovesWithItsSlot) {
  Signal<void()> signal;
  int calls = 0;
  Connection from = signal.connect([&calls] { ++calls; });
  const Connection to = std::move(from);
  // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): a handle of nothing is the promise
  EXPECT_FALSE(from.connected());
  EXPECT_TRUE(to.connected());
  from.disconnect();
  signal();
  EXPECT_EQ(calls, 1);
}

TEST(AConnection, DisconnectsWhatItHeldWhenAnotherIsMovedIntoIt) {
  Signal<void()> signal;
  int oldCalls = 0;
  int newCalls = 0;
  Connection connection = signal.connect([&oldCalls] { ++oldCalls; });
  connection = signal.connect([&newCalls] { ++newCalls; });
  EXPECT_TRUE(connection.connected());
  signal();
  EXPECT_EQ(oldCalls, 0);
  EXPECT_EQ(newCalls, 1);
  connection = Connection();
  signal();
  EXPECT_EQ(newCalls, 1);
}

TEST(AConnection, SurvivesBeingMovedIntoItself) {
  Signal<void()> signal;
  int calls = 0;
  Connection connection = signal.connect([&calls] { ++calls; });
  Connection& same = connection;
  connection = std::move(same);
  EXPECT_TRUE(connection.connected());
  signal();
  EXPECT_EQ(calls, 1);
}

TEST(AConnection, IsSafelyReplacedByOneThatItsOwnCallbackOwns) {
  Signal<void()> signal;
  int calls = 0;
  auto owned = std::make_shared<Connection>(signal.connect([&calls] { ++calls; }));
  Connection& inside = *owned;
  Connection connection = signal.connect([owned] {});
  const std::weak_ptr<Connection> watch = owned;
  owned.reset();  // now only the callback keeps it
  connection = std::move(inside);
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(connection.connected());
  signal();
  EXPECT_EQ(calls, 1);
}

TEST(AConnection, KeepsTheSlotThatADestroyedCallbackPutsIntoIt) {
  Signal<void()> signal;
  int replaced = 0;
  int late = 0;
  Connection connection;
  connection =
      signal.connect([token = whenDestroyed([&] { connection = signal.connect([&late] { ++late; }); })] {});
  connection = signal.connect([&replaced] { ++replaced; });
  signal();
  EXPECT_EQ(late + replaced, 1) << "one handle owns one slot";
  connection.disconnect();
  signal();
  EXPECT_EQ(late + replaced, 1) << "no slot is left without an owner";
}

TEST(AConnection, ThatIsDetachedLeavesItsSlotConnected) {
  Signal<void()> signal;
  int calls = 0;
  {
    Connection connection = signal.connect([&calls] { ++calls; });
    connection.detach();
    EXPECT_FALSE(connection.connected());
    connection.disconnect();
  }
  signal();
  EXPECT_EQ(calls, 1);
}

TEST(AConnection, ThatIsDetachedEndsWithTheSignal) {
  bool isDestroyed = false;
  std::optional<Signal<void()>> signal(std::in_place);
  signal->connect([token = whenDestroyed([&isDestroyed] { isDestroyed = true; })] {}).detach();
  EXPECT_FALSE(isDestroyed);
  signal.reset();
  EXPECT_TRUE(isDestroyed);
}

TEST(AConnection, ThatOutlivesItsSignalIsNotConnected) {
  std::optional<Signal<void()>> signal(std::in_place);
  Connection connection = signal->connect([] {});
  Connection second = signal->connect([] {});
  Connection third = signal->connect([] {});
  signal.reset();
  EXPECT_FALSE(connection.connected());
  connection.disconnect();
  EXPECT_FALSE(connection.connected());
  second.detach();
  const Connection moved = std::move(third);
  EXPECT_FALSE(moved.connected());
}

TEST(AConnection, ThatOutlivesItsSignalNoLongerHoldsTheCallback) {
  bool isDestroyed = false;
  std::optional<Signal<void()>> signal(std::in_place);
  const Connection connection =
      signal->connect([token = whenDestroyed([&isDestroyed] { isDestroyed = true; })] {});
  signal.reset();
  EXPECT_TRUE(isDestroyed);
}

TEST(AConnection, BelongsToItsSignalAlone) {
  Signal<void()> first;
  Signal<void()> second;
  int calls = 0;
  Connection a = first.connect([&calls] { calls += 1; });
  const Connection b = second.connect([&calls] { calls += 10; });
  a.disconnect();
  first();
  second();
  EXPECT_EQ(calls, 10);
}

TEST(AConnection, MayBeOwnedByItsOwnCallback) {
  // A panel that owns its connection and is itself kept alive by the callback.
  struct Panel {
    Connection connection_;
  };
  Signal<void()> signal;
  auto panel = std::make_shared<Panel>();
  const std::weak_ptr<Panel> watch = panel;
  panel->connection_ = signal.connect([panel] {});
  Panel& kept = *panel;
  panel.reset();
  EXPECT_FALSE(watch.expired());
  kept.connection_.disconnect();
  EXPECT_TRUE(watch.expired());
}

TEST(AConnection, OwnedByItsOwnCallbackEndsWithTheSignal) {
  struct Panel {
    Connection connection_;
  };
  auto panel = std::make_shared<Panel>();
  const std::weak_ptr<Panel> watch = panel;
  {
    Signal<void()> signal;
    panel->connection_ = signal.connect([panel] {});
    panel.reset();
    EXPECT_FALSE(watch.expired());
  }
  EXPECT_TRUE(watch.expired());
}

}  // namespace
