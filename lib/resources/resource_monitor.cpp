#include <resources/resource_monitor.h>

namespace Tal::FS {

ResourceMonitor::ResourceMonitor(const std::vector<std::filesystem::path>& /*roots*/) {}

ResourceMonitor::~ResourceMonitor() = default;

void ResourceMonitor::addModificationListener(ResourceModificationListener* listener) {
  notifier_.add(listener, 0);
}

void ResourceMonitor::removeModificationListener(ResourceModificationListener* listener) {
  notifier_.remove(listener);
}

void ResourceMonitor::pump() {
  notifier_.deliver({});
}

}  // namespace Tal::FS
