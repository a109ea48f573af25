#pragma once

#include <resources/change_collector.h>
#include <resources/descriptor.h>
#include <resources/folder_watcher.h>
#include <resources/monitor.h>
#include <resources/resource_modification_notifier.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

namespace Tal::FS {

/// The monitor of a set of roots: a thread of its own collects, the caller of pump delivers. The thread wakes
/// for each change that the system tells of, and four times a second to look at every file; where a look
/// takes long it comes less often, so that looks take a twentieth of one processor at most. Where the system
/// refuses a thread, pump does its work too.
class ResourceMonitor final : public MonitorThreadBase {
 public:
  /// From its return on, changes are noticed.
  explicit ResourceMonitor(const std::vector<std::filesystem::path>& roots);
  ~ResourceMonitor() override;
  ResourceMonitor(const ResourceMonitor&) = delete;
  ResourceMonitor& operator=(const ResourceMonitor&) = delete;

  void addModificationListener(ResourceModificationListener* listener) override;
  void removeModificationListener(ResourceModificationListener* listener) override;

  /// Delivers what was found since the last call, and reports once what the system does not watch.
  void pump();

 private:
  using Clock = std::chrono::steady_clock;

  void start();
  void run();
  /// Notes what happened since the last call; looks at every file when it is time to.
  void collect();
  /// Looks at every file when it is time to, and sets when to do it next.
  void lookWhenDue();

  ResourceModificationNotifier notifier_;
  ChangeCollector collector_;
  FolderWatcher watcher_;
  Descriptor stop_;  ///< becomes readable when the thread is to end; none when there are no more descriptors
  std::atomic<bool> isStopping_ = false;
  Clock::time_point nextLook_;  ///< used where the collecting is done, like the watcher
  std::thread thread_;          ///< none where the system refused it
};

}  // namespace Tal::FS
