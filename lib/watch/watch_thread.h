#pragma once

#include <files/file_descriptor.h>
#include <watch/change_collector.h>
#include <watch/folder_watcher.h>
#include <watch/resource_change.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace Tal::watch {

/// A thread that collects the changes below a set of roots. It wakes for each change that the system reports,
/// and four times a second to poll every file. After a slow poll the pause is longer, so polling uses about 5
/// percent of one processor. This holds for polls of up to a quarter of a second (about 100,000 files). The
/// pause is five seconds at most, so longer polls take a larger part: those of a second take a sixth. Where
/// the system refuses a thread, `take` does its work too.
///
/// Made, used and destroyed on one thread.
class WatchThread {
 public:
  /// From its return on, changes below `roots` are noticed. What the system refuses to watch is no error: it
  /// is a problem to be taken, and files are polled instead. Throws std::bad_alloc when memory runs out;
  /// then nothing is watched.
  explicit WatchThread(const std::vector<std::filesystem::path>& roots);
  /// Waits until the thread has ended. What was not taken yet never is.
  ~WatchThread();
  WatchThread(const WatchThread&) = delete;
  WatchThread& operator=(const WatchThread&) = delete;

  /// What was found since the last call, in the order of roots and names.
  std::vector<ResourceChange> take();

  /// What a person has to know, each once: the first thing that the system refuses to watch, and that memory
  /// ran short in collecting. That loses no change: everything is listed anew and counts as changed, at most
  /// five seconds later when there is memory again.
  std::vector<std::string> takeProblems();

 private:
  using Clock = std::chrono::steady_clock;

  void start();
  void run() noexcept;
  /// Notes what the system reports, when its queue is readable; polls every file when it is time to. Without
  /// memory for that, sets when to try again.
  void collect(bool isQueueReadable) noexcept;
  /// Polls every file when it is time to, and sets when to do it next. Throws std::bad_alloc when memory
  /// runs out.
  void pollWhenDue();

  ChangeCollector collector_;
  FolderWatcher watcher_;
  files::FileDescriptor
      stop_;  ///< becomes readable when the thread is to end; none when there are no more descriptors
  std::atomic<bool> isStopping_ = false;
  Clock::time_point nextPoll_;  ///< used where the collecting is done, like the watcher
  bool isBackingOff_ = false;   ///< no work until the next poll, for want of memory; used like nextPoll_
  std::atomic<bool> hasBackedOff_ = false;
  bool isBackingOffReported_ = false;
  std::thread thread_;  ///< none where the system refused it
};

}  // namespace Tal::watch
