#pragma once

#include <resources/monitor.h>
#include <resources/monitoring/resource_modification_notifier.h>
#include <watch/watch_thread.h>

#include <filesystem>
#include <vector>

namespace Tal::FS {

/// The monitor of a set of roots: a thread of its own collects, the caller of pump delivers. Main thread
/// only.
class ResourceMonitor final : public MonitorThreadBase {
 public:
  /// See watch::WatchThread.
  explicit ResourceMonitor(const std::vector<std::filesystem::path>& roots);

  void addModificationListener(ResourceModificationListener* listener) override;
  void removeModificationListener(ResourceModificationListener* listener) override;

  /// Reports the problems of watching and delivers what was found since the last call, then `others`.
  ///
  /// Throws what a listener throws, and std::bad_alloc without memory for the delivery itself. What was not
  /// delivered by then is not reported; what is found later is.
  void pump(const std::vector<watch::ResourceChange>& others);

 private:
  ResourceModificationNotifier notifier_;
  watch::WatchThread thread_;
};

}  // namespace Tal::FS
