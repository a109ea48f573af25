#include <resources/report.h>
#include <resources/resource_monitor.h>

#include <sys/eventfd.h>

#include <poll.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <string>

namespace Tal::FS {
namespace {

std::vector<std::string> nativePaths(const std::vector<std::filesystem::path>& roots) {
  std::vector<std::string> paths;
  paths.reserve(roots.size());
  for (const std::filesystem::path& root : roots) paths.push_back(root.native());
  return paths;
}

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
  if (watcher_.descriptor() < 0) return;
  if (!stop_) {
    collector_.noteProblem(
        "the resource roots cannot be watched for changes: there are no more descriptors; "
        "close some files, or reload by hand after a change");
    return;
  }
  const BlockedSignals blocked;
  thread_ = std::thread(&ResourceMonitor::run, this);
}

ResourceMonitor::~ResourceMonitor() {
  if (!thread_.joinable()) return;
  const std::uint64_t one = 1;
  while (::write(stop_.get(), &one, sizeof(one)) < 0 && errno == EINTR) {
  }
  thread_.join();
}

void ResourceMonitor::run() {
  while (watcher_.descriptor() >= 0) {
    std::array<pollfd, 2> sources = {{{watcher_.descriptor(), POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
    if (::poll(sources.data(), sources.size(), -1) < 0 && errno != EINTR) return;
    if (sources[1].revents != 0) return;
    if (sources[0].revents != 0) watcher_.collect();
  }
}

void ResourceMonitor::addModificationListener(ResourceModificationListener* listener) {
  notifier_.add(listener, collector_.found());
}

void ResourceMonitor::removeModificationListener(ResourceModificationListener* listener) {
  notifier_.remove(listener);
}

void ResourceMonitor::pump() {
  if (const std::string problem = collector_.takeProblem(); !problem.empty()) reportRefusal(problem);
  notifier_.deliver(collector_.take());
}

}  // namespace Tal::FS
