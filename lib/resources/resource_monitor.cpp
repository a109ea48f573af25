#include <resources/report.h>
#include <resources/resource_monitor.h>
#include <resources/section_cache.h>

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

namespace Tal::FS {
namespace {

std::vector<std::string> nativePaths(const std::vector<std::filesystem::path>& roots) {
  std::vector<std::string> paths;
  paths.reserve(roots.size());
  for (const std::filesystem::path& root : roots) paths.push_back(root.native());
  return paths;
}

using Milliseconds = std::chrono::milliseconds;

constexpr std::chrono::steady_clock::duration kLookPause = Milliseconds(250);
constexpr std::chrono::steady_clock::duration kLongestLookPause = std::chrono::seconds(5);
constexpr int kPauseForEachLook = 19;

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

ResourceMonitor::ResourceMonitor(const std::vector<std::filesystem::path>& roots)
    : collector_(nativePaths(roots)),
      watcher_(roots, collector_),
      stop_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  start();
}

void ResourceMonitor::start() {
  nextLook_ = Clock::now() + kLookPause;
  const BlockedSignals blocked;
  try {
    thread_ = std::thread(&ResourceMonitor::run, this);
  } catch (const std::system_error& error) {
    collector_.noteProblem("the system gives no thread to watch the resource roots (" +
                           error.code().message() +
                           "); changes are looked for once a frame instead: raise the limit on processes "
                           "(\"ulimit -u\"), or end some, and start anew");
  }
}

ResourceMonitor::~ResourceMonitor() {
  isStopping_ = true;
  const std::uint64_t one = 1;
  while (stop_ && ::write(stop_.get(), &one, sizeof(one)) < 0 && errno == EINTR) {
  }
  if (thread_.joinable()) thread_.join();
}

void ResourceMonitor::run() {
  while (!isStopping_) {
    // A source that the system did not provide has the descriptor -1, which poll passes over.
    std::array<pollfd, 2> sources = {{{watcher_.descriptor(), POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
    const Clock::duration pause = std::max(nextLook_ - Clock::now(), Clock::duration::zero());
    const auto wait = std::chrono::ceil<Milliseconds>(stop_ ? pause : std::min(pause, kStopPause));
    const int count = ::poll(sources.data(), sources.size(), static_cast<int>(wait.count()));
    if (count < 0 && errno != EINTR) std::this_thread::sleep_for(wait);
    if (count > 0 && sources[0].revents != 0) watcher_.collect();
    lookWhenDue();
  }
}

void ResourceMonitor::collect() {
  watcher_.collect();
  lookWhenDue();
}

void ResourceMonitor::lookWhenDue() {
  const Clock::time_point begin = Clock::now();
  if (begin < nextLook_) return;
  watcher_.collect();
  watcher_.look();
  const Clock::time_point end = Clock::now();
  nextLook_ = end + std::clamp((end - begin) * kPauseForEachLook, kLookPause, kLongestLookPause);
}

void ResourceMonitor::addModificationListener(ResourceModificationListener* listener) {
  notifier_.add(listener);
}

void ResourceMonitor::removeModificationListener(ResourceModificationListener* listener) {
  notifier_.remove(listener);
}

void ResourceMonitor::pump() {
  if (!thread_.joinable()) collect();
  if (const std::string problem = collector_.takeProblem(); !problem.empty()) reportRefusal(problem);
  const std::vector<ResourceChange> changes = collector_.take();
  for (const ResourceChange& change : changes) {
    if (change.isDoubtful) SectionCache::instance().doubt(change.resourceName);
  }
  notifier_.deliver(changes);
}

}  // namespace Tal::FS
