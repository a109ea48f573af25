#include <gtest/gtest.h>
#include <ks/signal.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "when_destroyed.h"

namespace {

using ks::Connection;
using ks::Signal;
using ks::testing::whenDestroyed;

constexpr int kThreads = 4;
constexpr int kRounds = 500;
constexpr std::chrono::seconds kDeadline{60};

/// Runs `work` on several threads that start together; each gets its number.
void runTogether(const std::function<void(int)>& work) {
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&start, &work, number] {
      start.arrive_and_wait();
      work(number);
    });
  }
  for (auto& thread : threads) thread.join();
}

/// Whether another thread gets through `work` while this one waits for it.
bool isDoneByAnotherThread(const std::function<void()>& work) {
  std::promise<void> done;
  const std::future<void> future = done.get_future();
  std::thread thread([&] {
    work();
    done.set_value();
  });
  const bool isDone = future.wait_for(kDeadline) == std::future_status::ready;
  thread.join();
  return isDone;
}

TEST(ASignalUnderThreads, CallsEverySlotForEveryRaise) {
  Signal<void()> signal;
  std::atomic<int> first = 0;
  std::atomic<int> second = 0;
  const Connection a = signal.connect([&first] { ++first; });
  const Connection b = signal.connect([&second] { ++second; });
  runTogether([&signal](int) {
    for (int round = 0; round < kRounds; ++round) signal();
  });
  EXPECT_EQ(first, kThreads * kRounds);
  EXPECT_EQ(second, kThreads * kRounds);
}

TEST(ASignalUnderThreads, LosesNoneOfItsFirstConnections) {
  for (int round = 0; round < 100; ++round) {
    Signal<void()> signal;
    std::atomic<int> calls = 0;
    std::vector<Connection> connections(kThreads);
    runTogether([&](int number) {
      connections[static_cast<std::size_t>(number)] = signal.connect([&calls] { ++calls; });
    });
    signal();
    ASSERT_EQ(calls, kThreads);
  }
}

TEST(ASignalUnderThreads, TakesConnectionsDisconnectionsAndRaisesAtOnce) {
  Signal<void()> signal;
  std::atomic<int> destroyed = 0;
  std::atomic<int> steadyCalls = 0;
  const Connection steady = signal.connect([&steadyCalls] { ++steadyCalls; });
  runTogether([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const auto token = whenDestroyed([&destroyed] { ++destroyed; });
      // The counter is shared, since a call on another thread may outlast the disconnection.
      const auto counter = std::make_shared<std::atomic<int>>(0);
      Connection connection = signal.connect([counter, token] { ++*counter; }, number - 2);
      signal();
      EXPECT_GE(*counter, 1) << "this thread's own raise calls it";
      EXPECT_TRUE(connection.connected());
      connection.disconnect();
      EXPECT_FALSE(connection.connected());
    }
  });
  EXPECT_EQ(steadyCalls, kThreads * kRounds);
  EXPECT_EQ(destroyed, kThreads * kRounds);
}

TEST(ASignalUnderThreads, TakesCallbacksThatConnectDisconnectAndRaise) {
  Signal<void(int)> signal;
  std::atomic<int> calls = 0;
  const Connection a = signal.connect([&](int depth) {
    ++calls;
    const Connection inner = signal.connect([&calls](int) { ++calls; });
    if (depth > 0) signal(depth - 1);
  });
  runTogether([&signal](int) {
    for (int round = 0; round < kRounds / 5; ++round) signal(2);
  });
  EXPECT_GE(calls, kThreads * (kRounds / 5) * 3);
}

TEST(ASignalUnderThreads, DisconnectsASlotForAllTheThreadsThatTryTogether) {
  for (int round = 0; round < 100; ++round) {
    Signal<void()> signal;
    std::atomic<int> destroyed = 0;
    std::vector<Connection> connections;
    connections.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      connections.push_back(signal.connect([token = whenDestroyed([&destroyed] { ++destroyed; })] {}));
    }
    runTogether([&](int number) {
      signal();
      connections[static_cast<std::size_t>(number)].disconnect();
      signal();
    });
    ASSERT_EQ(destroyed, kThreads);
  }
}

TEST(ASignalUnderThreads, DoesNotWaitForACallThatRunsWhenItIsDisconnected) {
  Signal<void()> signal;
  std::promise<void> isInside;
  std::promise<void> mayLeave;
  std::atomic<bool> isDestroyed = false;
  Connection connection = signal.connect([&isInside, leave = mayLeave.get_future().share(),
                                          token = whenDestroyed([&isDestroyed] { isDestroyed = true; })] {
    isInside.set_value();
    leave.wait();
  });
  std::thread raising([&signal] { signal(); });
  isInside.get_future().wait();
  connection.disconnect();  // would never return if it waited
  EXPECT_FALSE(connection.connected());
  EXPECT_FALSE(isDestroyed) << "the callback is kept until its call ends";
  mayLeave.set_value();
  raising.join();
  EXPECT_TRUE(isDestroyed);
}

TEST(ASignalUnderThreads, IsNotLockedWhileACallbackRuns) {
  Signal<void()> signal;
  bool isDone = false;
  int calls = 0;
  Connection other = signal.connect([] {}, 1);
  const Connection connection = signal.connect([&] {
    if (++calls > 1) return;
    isDone = isDoneByAnotherThread([&] {
      const Connection inner = signal.connect([] {});
      EXPECT_TRUE(inner.connected());
      other.disconnect();
      signal();
    });
  });
  signal();
  EXPECT_TRUE(isDone);
  EXPECT_EQ(calls, 2);
}

TEST(ASignalUnderThreads, IsNotLockedWhileACallbackIsDestroyed) {
  Signal<void()> signal;
  int destructions = 0;
  const auto useFromAnotherThread = [&] {
    ++destructions;
    EXPECT_TRUE(isDoneByAnotherThread([&signal] {
      const Connection inner = signal.connect([] {});
      EXPECT_TRUE(inner.connected());
      signal();
    }));
  };
  Connection byHandle = signal.connect([token = whenDestroyed(useFromAnotherThread)] {});
  byHandle.disconnect();
  EXPECT_EQ(destructions, 1);

  Connection byItself;
  byItself = signal.connect([&, token = whenDestroyed(useFromAnotherThread)] { byItself.disconnect(); });
  signal();
  EXPECT_EQ(destructions, 2);
}

TEST(ASignalUnderThreads, MayEndWhileItsHandlesAreUsed) {
  constexpr int kConnections = kThreads * 8;
  for (int round = 0; round < 100; ++round) {
    std::optional<Signal<void()>> signal(std::in_place);
    std::atomic<int> destroyed = 0;
    std::vector<Connection> connections;
    connections.reserve(kConnections);
    for (int i = 0; i < kConnections; ++i) {
      connections.push_back(signal->connect([token = whenDestroyed([&destroyed] { ++destroyed; })] {}));
    }
    runTogether([&](int number) {
      if (number == 0) return signal.reset();
      for (auto i = static_cast<std::size_t>(number); i < connections.size(); i += kThreads) {
        static_cast<void>(connections[i].connected());
        connections[i].disconnect();
      }
    });
    ASSERT_EQ(destroyed, kConnections);
    for (const Connection& connection : connections) ASSERT_FALSE(connection.connected());
  }
}

}  // namespace
