#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ks/signal.h>

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using ks::Connection;
using ks::Signal;
using testing::ElementsAre;

/// A signal, the names of what it called, and connections that live as long as it.
class ARaise : public testing::Test {
 protected:
  /// Connects a slot that notes its name and then runs `action`.
  Connection connect(const std::string& name, std::function<void()> action = nullptr, int group = 0) {
    return signal_.connect(
        [this, name, run = std::move(action)] {
          calls_.push_back(name);
          if (run) run();
        },
        group);
  }

  void keep(Connection connection) { kept_.push_back(std::move(connection)); }

  std::vector<std::string> raise() {
    signal_();
    return std::exchange(calls_, {});
  }

  Signal<void()> signal_;
  std::vector<std::string> calls_;
  std::vector<Connection> kept_;
};

TEST_F(ARaise, DoesNotCallASlotConnectedByACallbackButTheNextOneDoes) {
  bool isFirst = true;
  const Connection a = connect("a", [&] {
    if (std::exchange(isFirst, false)) keep(connect("new"));
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "b"));
  EXPECT_THAT(raise(), ElementsAre("a", "b", "new"));
}

TEST_F(ARaise, DoesNotCallANewSlotOfAnyGroup) {
  bool isFirst = true;
  const Connection a = connect("a", [&] {
    if (!std::exchange(isFirst, false)) return;
    keep(connect("before", nullptr, -1));
    keep(connect("beside"));
    keep(connect("behind", nullptr, 1));
  });
  EXPECT_THAT(raise(), ElementsAre("a"));
  EXPECT_THAT(raise(), ElementsAre("before", "a", "beside", "behind"));
}

TEST_F(ARaise, EndsEvenIfEveryCallConnectsAnother) {
  std::function<void()> connectAnother = [&] { keep(connect("x", connectAnother)); };
  connectAnother();
  EXPECT_EQ(raise().size(), 1U);
  EXPECT_EQ(raise().size(), 2U);
  EXPECT_EQ(raise().size(), 4U);
  EXPECT_EQ(raise().size(), 8U);
}

TEST_F(ARaise, CallsASlotConnectedBetweenTwoRaises) {
  keep(connect("a"));
  EXPECT_THAT(raise(), ElementsAre("a"));
  keep(connect("b"));
  EXPECT_THAT(raise(), ElementsAre("a", "b"));
}

TEST_F(ARaise, DoesNotCallASlotThatAnEarlierCallbackDisconnected) {
  Connection c;
  const Connection a = connect("a", [&c] { c.disconnect(); });
  const Connection b = connect("b");
  c = connect("c");
  const Connection d = connect("d");
  EXPECT_THAT(raise(), ElementsAre("a", "b", "d"));
}

TEST_F(ARaise, DoesNotCallTheNextSlotsWhenTheyAreDisconnected) {
  Connection b;
  Connection c;
  const Connection a = connect("a", [&] {
    b.disconnect();
    c.disconnect();
  });
  b = connect("b");
  c = connect("c");
  const Connection d = connect("d");
  EXPECT_THAT(raise(), ElementsAre("a", "d"));
}

TEST_F(ARaise, GoesOnWhenASlotDisconnectsItself) {
  Connection b;
  const Connection a = connect("a");
  b = connect("b", [&b] { b.disconnect(); });
  const Connection c = connect("c");
  EXPECT_THAT(raise(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(raise(), ElementsAre("a", "c"));
}

TEST_F(ARaise, GoesOnWhenASlotDisconnectsAnEarlierOne) {
  Connection a = connect("a");
  const Connection b = connect("b", [&a] { a.disconnect(); });
  const Connection c = connect("c");
  EXPECT_THAT(raise(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(raise(), ElementsAre("b", "c"));
}

TEST_F(ARaise, GoesOnWhenASlotDisconnectsBothNeighboursAndItself) {
  Connection b;
  Connection c;
  Connection d;
  const Connection a = connect("a");
  b = connect("b");
  c = connect("c", [&] {
    c.disconnect();
    d.disconnect();
    b.disconnect();
  });
  d = connect("d");
  const Connection e = connect("e");
  EXPECT_THAT(raise(), ElementsAre("a", "b", "c", "e"));
  EXPECT_THAT(raise(), ElementsAre("a", "e"));
}

TEST_F(ARaise, EndsWhenEverythingIsDisconnected) {
  const Connection a = connect("a", [this] { kept_.clear(); });
  keep(connect("b"));
  keep(connect("c"));
  EXPECT_THAT(raise(), ElementsAre("a"));
}

TEST_F(ARaise, EndsWhenTheOnlySlotDisconnectsItself) {
  Connection a;
  a = connect("a", [&a] { a.disconnect(); });
  EXPECT_THAT(raise(), ElementsAre("a"));
  EXPECT_THAT(raise(), ElementsAre());
}

TEST_F(ARaise, DoesNotCallASlotThatIsConnectedAgainByACallback) {
  Connection b;
  bool isFirst = true;
  const Connection a = connect("a", [&] {
    if (std::exchange(isFirst, false)) b = connect("b again");
  });
  b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a"));
  EXPECT_THAT(raise(), ElementsAre("a", "b again"));
}

TEST_F(ARaise, WithinARaiseCallsEverySlotBeforeTheOuterGoesOn) {
  bool isOuter = true;
  const Connection a = connect("a", [&] {
    if (std::exchange(isOuter, false)) signal_();
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "a", "b", "b"));
}

TEST_F(ARaise, DoesNotCallASlotConnectedWhileARaiseWithinItRan) {
  int depth = 0;
  const Connection a = connect("a", [&] {
    if (++depth == 1) return signal_();
    if (depth == 2) keep(connect("new"));
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "a", "b", "b")) << "the slot is new to the outer raise as well";
  EXPECT_THAT(raise(), ElementsAre("a", "b", "new"));
}

TEST_F(ARaise, DoesNotCallASlotConnectedAfterARaiseWithinItEnded) {
  bool isOuter = true;
  const Connection a = connect("a", [&] {
    if (!std::exchange(isOuter, false)) return;
    signal_();
    keep(connect("new"));
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "a", "b", "b"));
  EXPECT_THAT(raise(), ElementsAre("a", "b", "new"));
}

TEST_F(ARaise, CallsInARaiseWithinItASlotThatWasConnectedJustBefore) {
  bool isOuter = true;
  const Connection a = connect("a", [&] {
    if (!std::exchange(isOuter, false)) return;
    keep(connect("new"));
    signal_();
  });
  EXPECT_THAT(raise(), ElementsAre("a", "a", "new"));
}

TEST_F(ARaise, SeesWhatARaiseWithinItDisconnected) {
  int depth = 0;
  Connection c;
  const Connection a = connect("a", [&] {
    if (++depth == 1) signal_();
  });
  const Connection b = connect("b", [&c] { c.disconnect(); });
  c = connect("c");
  const Connection d = connect("d");
  EXPECT_THAT(raise(), ElementsAre("a", "a", "b", "d", "b", "d"));
}

TEST_F(ARaise, GoesOnWhenARaiseWithinItDisconnectsTheSlotThatItStandsOn) {
  int depth = 0;
  Connection a;
  a = connect("a", [&] {
    if (++depth == 1) return signal_();
    if (depth == 2) a.disconnect();
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "a", "b", "b"));
  EXPECT_THAT(raise(), ElementsAre("b"));
}

TEST_F(ARaise, WithinACallThatDisconnectedItsOwnSlotDoesNotCallThatSlotAgain) {
  Connection a;
  a = connect("a", [&] {
    a.disconnect();
    signal_();
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "b", "b"));
}

TEST_F(ARaise, MayBeNestedDeeply) {
  int depth = 0;
  const Connection a = connect("a", [&] {
    if (++depth < 1000) signal_();
  });
  const Connection b = connect("b");
  EXPECT_EQ(raise().size(), 2000U);
}

TEST_F(ARaise, EndsWithWhatACallbackThrows) {
  bool isThrowing = true;
  const Connection a = connect("a");
  const Connection b = connect("b", [&isThrowing] {
    if (isThrowing) throw std::runtime_error("b failed");
  });
  const Connection c = connect("c");
  EXPECT_THROW(signal_(), std::runtime_error);
  EXPECT_THAT(std::exchange(calls_, {}), ElementsAre("a", "b"));
  isThrowing = false;
  EXPECT_THAT(raise(), ElementsAre("a", "b", "c")) << "nothing was lost by the failure";
}

TEST_F(ARaise, GoesOnWhenACallbackCatchesWhatARaiseWithinItThrew) {
  int depth = 0;
  const Connection a = connect("a", [&] {
    if (++depth == 1) {
      EXPECT_THROW(signal_(), std::runtime_error);
    }
  });
  const Connection b = connect("b", [&depth] {
    if (depth == 2) {
      ++depth;
      throw std::runtime_error("inner");
    }
  });
  EXPECT_THAT(raise(), ElementsAre("a", "a", "b", "b"));
}

TEST_F(ARaise, MayReleaseItsSignal) {
  Connection b;
  const Connection a = connect("a", [&] {
    signal_.release();
    EXPECT_FALSE(b.connected());
  });
  b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a"));
  EXPECT_FALSE(a.connected());
  EXPECT_THAT(raise(), ElementsAre());
}

TEST_F(ARaise, DoesNotCallWhatIsConnectedToTheReleasedSignal) {
  const Connection a = connect("a", [&] {
    signal_.release();
    keep(connect("new"));
    signal_();
  });
  const Connection b = connect("b");
  EXPECT_THAT(raise(), ElementsAre("a", "new")) << "called once, by the inner raise of the new state";
  EXPECT_THAT(raise(), ElementsAre("new"));
}

TEST(ARaiseOfASignal, ThatIsDestroyedByACallbackEndsWithThatCallback) {
  std::optional<Signal<void()>> signal(std::in_place);
  std::vector<std::string> calls;
  const Connection a = signal->connect([&calls] { calls.emplace_back("a"); });
  const Connection b = signal->connect([&] {
    calls.emplace_back("b");
    signal.reset();
    calls.emplace_back("still b");
  });
  const Connection c = signal->connect([&calls] { calls.emplace_back("c"); });
  (*signal)();
  EXPECT_THAT(calls, ElementsAre("a", "b", "still b"));
  EXPECT_FALSE(a.connected() || b.connected() || c.connected());
}

TEST(ARaiseOfASignal, MayBeDestroyedFromARaiseWithinARaise) {
  std::optional<Signal<void()>> signal(std::in_place);
  int calls = 0;
  const Connection a = signal->connect([&] {
    if (++calls == 1) {
      (*signal)();
    } else {
      signal.reset();
    }
  });
  const Connection b = signal->connect([&calls] { calls += 100; });
  (*signal)();
  EXPECT_EQ(calls, 2);
}

TEST(ARaiseOfASignal, ThatIsDestroyedByACallbackThatThenThrowsPassesTheExceptionOn) {
  std::optional<Signal<void()>> signal(std::in_place);
  const Connection a = signal->connect([&signal] {
    signal.reset();
    throw std::runtime_error("after the end");
  });
  EXPECT_THROW((*signal)(), std::runtime_error);
  EXPECT_FALSE(a.connected());
}

}  // namespace
