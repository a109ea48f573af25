#pragma once

#include <resources/change_collector.h>
#include <resources/descriptor.h>
#include <resources/folder_watcher.h>
#include <resources/monitor.h>
#include <resources/resource_modification_notifier.h>

#include <filesystem>
#include <thread>
#include <vector>

namespace Tal::FS {

/// The monitor of a set of roots: a thread of its own collects, the caller of pump delivers.
class ResourceMonitor final : public MonitorThreadBase {
 public:
  /// From its return on, changes are noticed.
  explicit ResourceMonitor(const std::vector<std::filesystem::path>& roots);
  ~ResourceMonitor() override;
  ResourceMonitor(const ResourceMonitor&) = delete;
  ResourceMonitor& operator=(const ResourceMonitor&) = delete;

  void addModificationListener(ResourceModificationListener* listener) override;
  void removeModificationListener(ResourceModificationListener* listener) override;

  /// Delivers what was found since the last call, and reports what cannot be watched.
  void pump();

 private:
  void run();

  ResourceModificationNotifier notifier_;
  ChangeCollector collector_;
  FolderWatcher watcher_;
  Descriptor stop_;  ///< becomes readable when the thread is to end
  std::thread thread_;
};

}  // namespace Tal::FS
