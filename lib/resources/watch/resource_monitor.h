#pragma once

#include <resources/files/file_descriptor.h>
#include <resources/monitor.h>
#include <resources/watch/change_collector.h>
#include <resources/watch/folder_watcher.h>
#include <resources/watch/resource_modification_notifier.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

namespace Tal::FS {

/// The monitor of a set of roots: a thread of its own collects, the caller of pump delivers. The thread wakes
/// for each change that the system tells of, and four times a second to look at every file. Behind a look
/// that takes long the pause is longer, so that looks take a twentieth of one processor at most, as long as
/// each takes no more than a quarter of a second (some 100,000 files). The pause is five seconds at most, so
/// longer looks take a larger part: those of a second take a sixth. Where the system refuses a thread, pump
/// does its work too.
///
/// Made, used and destroyed on one thread, the main thread.
class ResourceMonitor final : public MonitorThreadBase {
 public:
  /// From its return on, changes below `roots` are noticed. What the system refuses to watch is no error: the
  /// first pump reports it, and files are looked at instead. Throws std::bad_alloc when memory runs out; then
  /// nothing is watched.
  explicit ResourceMonitor(const std::vector<std::filesystem::path>& roots);
  /// Waits until the thread has ended. What is not delivered yet never is.
  ~ResourceMonitor() override;
  ResourceMonitor(const ResourceMonitor&) = delete;
  ResourceMonitor& operator=(const ResourceMonitor&) = delete;

  void addModificationListener(ResourceModificationListener* listener) override;
  void removeModificationListener(ResourceModificationListener* listener) override;

  /// Delivers what was found since the last call. Reports the first thing that the system refuses to watch,
  /// once; and once that memory ran short in collecting. That loses no change: everything is listed anew and
  /// counts as changed, at most five seconds later when there is memory again.
  ///
  /// Throws what a listener throws, and std::bad_alloc without memory for the delivery itself. What was not
  /// delivered by then is not told; what is found later is.
  void pump();

 private:
  using Clock = std::chrono::steady_clock;

  void start();
  void run() noexcept;
  /// Notes what the system tells, when its queue is readable; looks at every file when it is time to. Without
  /// memory for that, sets when to try again.
  void collect(bool isQueueReadable) noexcept;
  /// Looks at every file when it is time to, and sets when to do it next. Throws std::bad_alloc when memory
  /// runs out.
  void lookWhenDue();
  void reportProblems();

  ResourceModificationNotifier notifier_;
  ChangeCollector collector_;
  FolderWatcher watcher_;
  FileDescriptor
      stop_;  ///< becomes readable when the thread is to end; none when there are no more descriptors
  std::atomic<bool> isStopping_ = false;
  Clock::time_point nextLook_;  ///< used where the collecting is done, like the watcher
  bool isBackingOff_ = false;   ///< no work until the next look, for want of memory; used like nextLook_
  std::atomic<bool> hasBackedOff_ = false;
  bool isBackingOffReported_ = false;
  std::thread thread_;  ///< none where the system refused it
};

}  // namespace Tal::FS
