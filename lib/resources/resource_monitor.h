#pragma once

#include <resources/monitor.h>
#include <resources/resource_modification_notifier.h>

#include <filesystem>
#include <vector>

namespace Tal::FS {

/// The monitor of a set of roots.
class ResourceMonitor final : public MonitorThreadBase {
 public:
  explicit ResourceMonitor(const std::vector<std::filesystem::path>& roots);
  ~ResourceMonitor() override;

  void addModificationListener(ResourceModificationListener* listener) override;
  void removeModificationListener(ResourceModificationListener* listener) override;

  /// Delivers what was found since the last call.
  void pump();

 private:
  ResourceModificationNotifier notifier_;
};

}  // namespace Tal::FS
