// When, and how often, a callback and what it captured are destroyed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ks/signal.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "when_destroyed.h"

namespace {

using ks::Connection;
using ks::Signal;
using ks::testing::whenDestroyed;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// A signal and a record of what was called and destroyed.
class ACallback : public testing::Test {
 protected:
  /// Something that notes "~NAME" when it is destroyed and then runs `action`.
  std::shared_ptr<void> token(const std::string& name, std::function<void()> action = nullptr) {
    return whenDestroyed([this, name, run = std::move(action)] {
      events_.push_back("~" + name);
      if (run) run();
    });
  }

  /// Connects a slot that notes its name; see token for what happens at its destruction.
  Connection connect(const std::string& name, std::function<void()> atDestruction = nullptr) {
    return signal_->connect(
        [this, name, held = token(name, std::move(atDestruction))] { events_.push_back(name); });
  }

  std::vector<std::string> take() { return std::exchange(events_, {}); }

  std::vector<std::string> events_;
  std::optional<Signal<void()>> signal_{std::in_place};
};

TEST_F(ACallback, IsDestroyedByItsDisconnection) {
  Connection a = connect("a");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("a"));
  a.disconnect();
  EXPECT_THAT(take(), ElementsAre("~a"));
  a.disconnect();
  signal_.reset();
  EXPECT_THAT(take(), ElementsAre());
}

TEST_F(ACallback, IsDestroyedWithTheHandle) {
  { const Connection a = connect("a"); }
  EXPECT_THAT(take(), ElementsAre("~a"));
}

TEST_F(ACallback, IsDestroyedWithTheSignal) {
  const Connection a = connect("a");
  const Connection b = connect("b");
  signal_.reset();
  EXPECT_THAT(take(), UnorderedElementsAre("~a", "~b"));
}

TEST_F(ACallback, IsDestroyedByARelease) {
  const Connection a = connect("a");
  signal_->release();
  EXPECT_THAT(take(), ElementsAre("~a"));
}

TEST_F(ACallback, ThatDisconnectsItselfIsDestroyedAtTheEndOfItsCallAndBeforeTheNextOne) {
  Connection a;
  a = signal_->connect([this, &a, held = token("a")] {
    a.disconnect();
    EXPECT_FALSE(a.connected());
    events_.emplace_back("a goes on");
    EXPECT_EQ(held.use_count(), 1);
  });
  const Connection b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("a goes on", "~a", "b"));
}

TEST_F(ACallback, ThatIsLastAndDisconnectsItselfIsDestroyedBeforeTheRaiseReturns) {
  Connection a;
  a = signal_->connect([this, &a, held = token("a")] {
    a.disconnect();
    events_.emplace_back("a goes on");
  });
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("a goes on", "~a"));
}

TEST_F(ACallback, DisconnectedByARaiseWithinItsCallIsDestroyedWhenItsOutermostCallEnds) {
  int depth = 0;
  Connection a;
  a = signal_->connect([this, &a, &depth, held = token("a")] {
    if (++depth == 1) {
      (*signal_)();
      events_.emplace_back("outer call goes on");
    } else {
      a.disconnect();
      events_.emplace_back("inner call goes on");
    }
  });
  const Connection b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("inner call goes on", "b", "outer call goes on", "~a", "b"));
}

TEST_F(ACallback, ThatDisconnectsItselfAndThrowsIsDestroyedBeforeTheExceptionArrives) {
  Connection a;
  a = signal_->connect([&a, held = token("a")] {
    a.disconnect();
    throw std::runtime_error("failed");
  });
  try {
    (*signal_)();
    FAIL() << "the exception must arrive";
  } catch (const std::runtime_error&) {
    EXPECT_THAT(take(), ElementsAre("~a"));
  }
}

TEST_F(ACallback, ThatThrowsStaysConnected) {
  const Connection a = signal_->connect([held = token("a")] { throw std::runtime_error("failed"); });
  EXPECT_THROW((*signal_)(), std::runtime_error);
  EXPECT_THROW((*signal_)(), std::runtime_error);
  EXPECT_TRUE(a.connected());
  EXPECT_THAT(take(), ElementsAre());
}

TEST_F(ACallback, ThatDestroysItsSignalIsItselfDestroyedAtTheEndOfItsCall) {
  const Connection a = signal_->connect([this, held = token("a")] {
    signal_.reset();
    events_.emplace_back("a goes on");
  });
  const Connection b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~b", "a goes on", "~a"));
}

TEST_F(ACallback, OfAnotherSlotIsDestroyedAtOnceWhenACallbackDisconnectsIt) {
  Connection b;
  const Connection a = signal_->connect([this, &b] {
    b.disconnect();
    events_.emplace_back("a goes on");
  });
  b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~b", "a goes on"));
}

TEST_F(ACallback, MayRaiseTheSignalWhenItIsDestroyed) {
  Connection a = connect("a", [this] { (*signal_)(); });
  const Connection b = connect("b");
  a.disconnect();
  EXPECT_THAT(take(), ElementsAre("~a", "b"));
}

TEST_F(ACallback, MayConnectToTheSignalWhenItIsDestroyed) {
  Connection late;
  Connection a = connect("a", [this, &late] { late = connect("late"); });
  a.disconnect();
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "late"));
}

TEST_F(ACallback, MayDisconnectOthersWhenItIsDestroyed) {
  Connection b;
  Connection a = connect("a", [&b] { b.disconnect(); });
  b = connect("b");
  const Connection c = connect("c");
  a.disconnect();
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "~b", "c"));
}

TEST_F(ACallback, ThatIsDestroyedDuringARaiseMayRaiseAgain) {
  Connection a;
  a = signal_->connect([&a, held = token("a", [this] { (*signal_)(); })] { a.disconnect(); });
  const Connection b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "b", "b"));
}

TEST_F(ACallback, ThatIsDestroyedDuringARaiseMayConnect) {
  Connection late;
  Connection a;
  a = signal_->connect(
      [&a, held = token("a", [this, &late] { late = connect("late"); })] { a.disconnect(); });
  const Connection b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "b"));
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("b", "late"));
}

TEST_F(ACallback, ThatIsDestroyedDuringARaiseMayDisconnectTheSlotThatComesNext) {
  Connection b;
  Connection a;
  a = signal_->connect([&a, held = token("a", [&b] { b.disconnect(); })] { a.disconnect(); });
  b = connect("b");
  const Connection c = connect("c");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "~b", "c")) << "b was disconnected before its turn came";
}

TEST_F(ACallback, ThatIsDestroyedDuringARaiseMayStartAChainOfDisconnections) {
  Connection d;
  Connection c;
  Connection b;
  Connection a;
  a = signal_->connect([&a, held = token("a", [&b] { b.disconnect(); })] { a.disconnect(); });
  b = connect("b", [&c] { c.disconnect(); });
  c = connect("c", [&d] { d.disconnect(); });
  d = connect("d");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "~b", "~c", "~d"));
}

TEST_F(ACallback, ThatIsDestroyedDuringARaiseMayDestroyTheSignal) {
  Connection a;
  a = signal_->connect([&a, held = token("a", [this] { signal_.reset(); })] { a.disconnect(); });
  const Connection b = connect("b");
  (*signal_)();
  EXPECT_THAT(take(), ElementsAre("~a", "~b"));
  EXPECT_FALSE(b.connected());
}

TEST_F(ACallback, ThatIsDestroyedWithTheSignalSeesAllSlotsDisconnected) {
  Connection a;
  Connection b;
  const auto look = [&] { EXPECT_FALSE(a.connected() || b.connected()); };
  a = connect("a", look);
  b = connect("b", look);
  signal_->release();
  EXPECT_THAT(take(), UnorderedElementsAre("~a", "~b"));
}

TEST_F(ACallback, ThatIsDestroyedWithTheSignalMayDisconnectOthers) {
  Connection a;
  Connection b;
  a = connect("a", [&b] { b.disconnect(); });
  b = connect("b", [&a] { a.disconnect(); });
  signal_.reset();
  EXPECT_THAT(take(), UnorderedElementsAre("~a", "~b"));
}

TEST_F(ACallback, ThatIsDestroyedWithTheSignalRaisesNothing) {
  Signal<void()>* const signal = &*signal_;
  const Connection a = connect("a", [signal] { (*signal)(); });
  const Connection b = connect("b", [signal] { (*signal)(); });
  signal->release();
  EXPECT_THAT(take(), UnorderedElementsAre("~a", "~b"));
}

TEST(ACallbackThatIsDestroyedWithItsSignal, MayConnectToItForTheLastTime) {
  bool isDestroyed = false;
  {
    Signal<void()> signal;
    const auto last = whenDestroyed([&isDestroyed] { isDestroyed = true; });
    const auto connectLast = whenDestroyed([&signal, last] { signal.connect([last] {}).detach(); });
    signal.connect([connectLast] {}).detach();
  }
  EXPECT_TRUE(isDestroyed) << "what is connected during the destruction must not be lost in memory";
}

TEST(ACallbackThatIsDestroyedWithItsSignal, MayOwnTheSignal) {
  struct Owner {
    Signal<void()> signal_;
    Connection connection_;
  };
  auto owner = std::make_shared<Owner>();
  const std::weak_ptr<Owner> watch = owner;
  owner->connection_ = owner->signal_.connect([owner] {});
  Owner& kept = *owner;
  owner.reset();
  kept.signal_.release();
  EXPECT_TRUE(watch.expired());
}

TEST(ACallbackOfASlot, IsNeverCopiedOnceItIsConnected) {
  // Copies can be made on the way into connect; from then on one object is called and destroyed.
  Signal<void()> signal;
  const auto shared = std::make_shared<int>(0);
  const Connection connection = signal.connect([shared] { ++*shared; });
  const auto uses = shared.use_count();
  signal();
  signal();
  EXPECT_EQ(shared.use_count(), uses);
  EXPECT_EQ(uses, 2);
  EXPECT_EQ(*shared, 2);
}

TEST(ACallbackOfASlot, KeepsItsStateFromCallToCall) {
  Signal<void(std::vector<int>&)> signal;
  const Connection connection =
      signal.connect([count = 0](std::vector<int>& counts) mutable { counts.push_back(++count); });
  std::vector<int> counts;
  signal(counts);
  signal(counts);
  EXPECT_THAT(counts, ElementsAre(1, 2));
}

}  // namespace
