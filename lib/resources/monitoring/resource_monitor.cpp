#include <resources/documents/section_cache.h>
#include <resources/monitoring/resource_monitor.h>
#include <resources/report.h>

#include <string>

namespace Tal::FS {

ResourceMonitor::ResourceMonitor(const std::vector<std::filesystem::path>& roots) : thread_(roots) {}

void ResourceMonitor::addModificationListener(ResourceModificationListener* listener) {
  notifier_.add(listener);
}

void ResourceMonitor::removeModificationListener(ResourceModificationListener* listener) {
  notifier_.remove(listener);
}

void ResourceMonitor::pump(const std::vector<watch::ResourceChange>& others) {
  std::vector<watch::ResourceChange> changes = thread_.take();
  changes.insert(changes.end(), others.begin(), others.end());
  for (const std::string& problem : thread_.takeProblems()) reportRefusal(problem);
  for (const watch::ResourceChange& change : changes) {
    if (change.isDoubtful) SectionCache::instance().markPossiblyStale(change.resourceName);
  }
  notifier_.deliver(changes);
}

}  // namespace Tal::FS
