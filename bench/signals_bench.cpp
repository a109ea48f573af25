// A signal, against Boost.Signals2 and against the floor, a bare loop over functions.

#include <benchmark/benchmark.h>
#include <ks/signal.h>

#include <boost/signals2.hpp>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/ratios.h"

namespace {

constexpr int kSlotCounts[] = {0, 1, 4, 16};  // NOLINT(modernize-avoid-c-arrays)

class Ours {
 public:
  using Connection = ks::Connection;
  Connection connect(std::function<void()> callback) { return signal_.connect(std::move(callback)); }
  void raise() { signal_(); }

 private:
  ks::Signal<void()> signal_;
};

class Boost {
 public:
  using Connection = boost::signals2::scoped_connection;
  Connection connect(const std::function<void()>& callback) { return {signal_.connect(callback)}; }
  void raise() { signal_(); }

 private:
  boost::signals2::signal<void()> signal_;
};

/// What a list of callbacks costs without order, threads, or changes while it is walked through.
class Functions {
 public:
  /// Takes the newest function off when it is released.
  class Connection {
   public:
    explicit Connection(std::vector<std::function<void()>>& functions) : functions_(&functions) {}
    Connection(Connection&& other) noexcept : functions_(std::exchange(other.functions_, nullptr)) {}
    Connection& operator=(Connection&&) = delete;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
      if (functions_ != nullptr) functions_->pop_back();
    }

   private:
    std::vector<std::function<void()>>* functions_;
  };

  Connection connect(std::function<void()> callback) {
    functions_.push_back(std::move(callback));
    return Connection(functions_);
  }
  void raise() const {
    for (const auto& function : functions_) function();
  }

 private:
  std::vector<std::function<void()>> functions_;
};

/// Connects `count` slots that count their calls.
template <class Peer>
std::vector<typename Peer::Connection> connectSlots(Peer& peer, int count, std::size_t& calls) {
  // Even a signal without slots has had one: it is not the special case that was never used.
  {
    [[maybe_unused]] const auto former = peer.connect([&calls] { ++calls; });
  }
  std::vector<typename Peer::Connection> connections;
  connections.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) connections.push_back(peer.connect([&calls] { ++calls; }));
  return connections;
}

template <class Peer>
void raise(benchmark::State& state, int slots) {
  Peer peer;
  std::size_t calls = 0;
  const auto connections = connectSlots(peer, slots, calls);
  for (auto _ : state) {
    peer.raise();
    benchmark::ClobberMemory();
  }
  if (calls != static_cast<std::size_t>(state.iterations()) * static_cast<std::size_t>(slots))
    state.SkipWithError("not every slot was called by every raise");
}

template <class Peer>
void connectAndDisconnect(benchmark::State& state, int slots) {
  Peer peer;
  std::size_t calls = 0;
  const auto connections = connectSlots(peer, slots, calls);
  for (auto _ : state) {
    auto connection = peer.connect([&calls] { ++calls; });
    benchmark::DoNotOptimize(connection);
  }
}

template <class Peer>
void registerPeer(const std::string& name) {
  for (const int slots : kSlotCounts) {
    const std::string suffix = "/" + std::to_string(slots) + "/" + name;
    benchmark::RegisterBenchmark(("raise" + suffix).c_str(), raise<Peer>, slots);
    benchmark::RegisterBenchmark(("connect" + suffix).c_str(), connectAndDisconnect<Peer>, slots);
  }
}

/// Ours against both peers for every number of slots; what is promised is to be no slower than
/// Boost.Signals2.
std::vector<bench::Ratio> ratiosOf(const std::string& action, const std::string& text) {
  std::vector<bench::Ratio> ratios;
  for (const int slots : kSlotCounts) {
    const std::string prefix = action + "/" + std::to_string(slots) + "/";
    const std::string name =
        text + ", " + std::to_string(slots) + (slots == 1 ? " slot" : " slots") + ": ours / ";
    ratios.push_back({name + "Boost.Signals2", prefix + "ours", prefix + "boost", 1.0});
    ratios.push_back({name + "bare functions", prefix + "ours", prefix + "functions", std::nullopt});
  }
  return ratios;
}

}  // namespace

int main(int argc, char** argv) {
  registerPeer<Ours>("ours");
  registerPeer<Boost>("boost");
  registerPeer<Functions>("functions");
  std::vector<bench::Ratio> ratios = ratiosOf("raise", "raise");
  for (bench::Ratio& ratio : ratiosOf("connect", "connect and disconnect"))
    ratios.push_back(std::move(ratio));
  return bench::run(argc, argv, ratios);
}
