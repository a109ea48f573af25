// Random walks through everything that callbacks may do to their signal, compared step by step with a plain
// model.

#include <gtest/gtest.h>
#include <ks/signal.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using ks::Connection;
using ks::Signal;

/// What the model knows of one slot that was ever connected.
struct ModelSlot {
  int group = 0;
  std::size_t connectedAt = 0;  // a moment: slots connected earlier have a smaller one
  bool isConnected = true;
  int runningCalls = 0;
  std::weak_ptr<int> callback;  // expired when the callback is destroyed
};

/// One raise that is under way.
struct ModelRaise {
  std::size_t startedAt = 0;
  std::optional<std::size_t> last;  // the slot that was called last
};

class RandomWalk {
 public:
  explicit RandomWalk(std::uint32_t seed) : random_(seed) {}

  void run(int steps) {
    for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) act();
  }

 private:
  static constexpr std::size_t kMaximumDepth = 4;
  static constexpr std::size_t kMaximumConnected = 12;

  int pick(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

  void act() {
    const int choice = pick(100);
    if (choice < 35) return connect();
    if (choice < 65) return disconnectAny();
    if (choice < 97) return raise();
    release();
  }

  void connect() {
    const auto isConnected = [](const ModelSlot& slot) { return slot.isConnected; };
    if (std::count_if(slots_.begin(), slots_.end(), isConnected) >= static_cast<int>(kMaximumConnected))
      return;
    const std::size_t id = slots_.size();
    const auto alive = std::make_shared<int>(0);
    slots_.push_back({pick(3) - 1, ++now_, true, 0, alive});
    handles_.push_back(signal_.connect([this, id, alive] { called(id); }, slots_[id].group));
  }

  void disconnectAny() {
    if (handles_.empty()) return;
    const auto id = static_cast<std::size_t>(pick(static_cast<int>(handles_.size())));
    EXPECT_EQ(handles_[id].connected(), slots_[id].isConnected) << "slot " << id;
    slots_[id].isConnected = false;
    handles_[id].disconnect();
    checkCallback(id);
  }

  void release() {
    for (ModelSlot& slot : slots_) slot.isConnected = false;
    signal_.release();
    // The raises under way stay with the old state: to them everything that comes now is new.
    for (std::size_t id = 0; id < slots_.size(); ++id) checkCallback(id);
  }

  void raise() {
    if (raises_.size() >= kMaximumDepth) return;
    raises_.push_back({++now_, std::nullopt});
    signal_();
    EXPECT_EQ(expectedNext(), std::nullopt) << "a slot was left out";
    raises_.pop_back();
  }

  void called(std::size_t id) {
    const std::optional<std::size_t> expected = expectedNext();
    ASSERT_EQ(expected, std::optional(id)) << "another slot was due";
    raises_.back().last = id;
    ++slots_[id].runningCalls;
    for (int actions = pick(3); actions > 0 && !::testing::Test::HasFailure(); --actions) act();
    EXPECT_FALSE(slots_[id].callback.expired()) << "a callback was destroyed during its call";
    --slots_[id].runningCalls;
  }

  /// Slots run by group, then in the order of connection, which is that of their numbers.
  bool runsBefore(std::size_t a, std::size_t b) const {
    return std::pair(slots_[a].group, a) < std::pair(slots_[b].group, b);
  }

  /// The slot that the innermost raise has to call now.
  std::optional<std::size_t> expectedNext() const {
    const ModelRaise& raise = raises_.back();
    std::optional<std::size_t> next;
    for (std::size_t id = 0; id < slots_.size(); ++id) {
      const bool isDue = slots_[id].isConnected && slots_[id].connectedAt < raise.startedAt &&
                         (!raise.last || runsBefore(*raise.last, id));
      if (isDue && (!next || runsBefore(id, *next))) next = id;
    }
    return next;
  }

  void checkCallback(std::size_t id) const {
    const bool isKept = slots_[id].isConnected || slots_[id].runningCalls > 0;
    EXPECT_EQ(!slots_[id].callback.expired(), isKept) << "slot " << id;
  }

  std::mt19937 random_;
  std::size_t now_ = 0;
  std::vector<ModelSlot> slots_;
  std::vector<Connection> handles_;
  std::vector<ModelRaise> raises_;
  Signal<void()> signal_;
};

TEST(ASignalInRandomUse, CallsExactlyWhatAPlainModelSays) {
  for (std::uint32_t seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomWalk(seed).run(60);
    if (HasFailure()) return;
  }
}

}  // namespace
