#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <watch/watch_thread.h>

#include <sys/eventfd.h>

#include <poll.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

namespace Tal::watch {
namespace {

std::vector<std::string> nativePaths(const std::vector<std::filesystem::path>& roots) {
  std::vector<std::string> paths;
  paths.reserve(roots.size());
  for (const std::filesystem::path& root : roots) paths.push_back(root.native());
  return paths;
}

using Milliseconds = std::chrono::milliseconds;

constexpr std::chrono::steady_clock::duration kPollPause = Milliseconds(250);
/// The pause after a poll is so many times as long as the poll, which leaves a twentieth of the time to
/// polls.
constexpr int kPauseForEachPoll = 19;
/// The pause is no longer than this, however long the poll: what only polls notice must not come too late.
constexpr std::chrono::steady_clock::duration kLongestPollPause = std::chrono::seconds(5);

/// When to poll next, after a poll that began then and ends now.
std::chrono::steady_clock::time_point nextPollAfter(std::chrono::steady_clock::time_point begin) {
  const auto end = std::chrono::steady_clock::now();
  return end + std::clamp((end - begin) * kPauseForEachPoll, kPollPause, kLongestPollPause);
}

/// How late the thread learns that it is to end, when nothing can wake it.
constexpr std::chrono::steady_clock::duration kStopPause = Milliseconds(50);

/// Signals are the host's: its handlers must not run on a thread that it does not know.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all{};
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

WatchThread::WatchThread(const std::vector<std::filesystem::path>& roots)
    : collector_(nativePaths(roots)),
      watcher_(roots, collector_),
      stop_(files::system().eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  start();
}

void WatchThread::start() {
  nextPoll_ = Clock::now() + kPollPause;
  const BlockedSignals blocked;
  try {
    thread_ = files::system().startThread([this] { run(); });
  } catch (const std::system_error& error) {
    collector_.noteProblem("the system gives no thread to watch the resource roots (" +
                           error.code().message() +
                           "); files are polled once a frame instead: raise the limit on processes "
                           "(\"ulimit -u\"), or end some, and start anew");
  }
}

WatchThread::~WatchThread() {
  isStopping_ = true;
  const std::uint64_t one = 1;
  // Wakes the thread. One that has nothing to be woken by wakes by itself; see kStopPause.
  if (stop_) files::retryOnEintr([&] { return files::system().write(stop_.get(), &one, sizeof(one)); });
  if (thread_.joinable()) thread_.join();
}

void WatchThread::run() noexcept {
  while (!isStopping_) {
    // A source that the system did not provide has the descriptor -1, which poll passes over. A queue that
    // cannot be emptied yet would end every wait at once.
    const int queue = isBackingOff_ ? -1 : watcher_.descriptor();
    std::array<pollfd, 2> sources = {{{queue, POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
    const Clock::duration pause = std::max(nextPoll_ - Clock::now(), Clock::duration::zero());
    const auto wait = std::chrono::ceil<Milliseconds>(stop_ ? pause : std::min(pause, kStopPause));
    const int count = files::system().poll(sources.data(), sources.size(), static_cast<int>(wait.count()));
    if (count < 0 && errno != EINTR) std::this_thread::sleep_for(wait);
    collect(count > 0 && sources[0].revents != 0);
  }
}

void WatchThread::collect(bool isQueueReadable) noexcept {
  const Clock::time_point begin = Clock::now();
  try {
    if (isQueueReadable && !isBackingOff_) watcher_.collect();
    pollWhenDue();
  } catch (...) {
    // The next try lists everything anew. It has to wait: it takes long, and may fail as well.
    isBackingOff_ = true;
    hasBackedOff_ = true;
    nextPoll_ = nextPollAfter(begin);
  }
}

void WatchThread::pollWhenDue() {
  const Clock::time_point begin = Clock::now();
  if (begin < nextPoll_) return;
  watcher_.collect();
  watcher_.poll();
  isBackingOff_ = false;
  nextPoll_ = nextPollAfter(begin);
}

std::vector<ResourceChange> WatchThread::take() {
  if (!thread_.joinable()) collect(true);
  return collector_.take();
}

std::vector<std::string> WatchThread::takeProblems() {
  std::vector<std::string> problems;
  if (std::string problem = collector_.takeProblem(); !problem.empty())
    problems.push_back(std::move(problem));
  if (hasBackedOff_ && !std::exchange(isBackingOffReported_, true)) {
    problems.emplace_back(
        "memory ran short while changes below the resource roots were collected; they are reported later, "
        "and "
        "every resource counts as changed then");
  }
  return problems;
}

}  // namespace Tal::watch
