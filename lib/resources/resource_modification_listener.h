#pragma once

#include <core/string_ref.h>
#include <watch/resource_change.h>

namespace Tal {

/// Something that wants to hear of changed resources; see FS::MonitorThreadBase. It must be removed from the
/// monitor before it is destroyed.
///
/// All hooks run on the main thread, within MultiFileSystem::pump. From within, a listener may add and remove
/// listeners, itself too, and pump again; it must not replace the file system. If a hook throws, the
/// exception leaves pump, and the undelivered changes are lost.
class ResourceModificationListener {
 public:
  using Action = watch::Action;

  ResourceModificationListener() = default;
  ResourceModificationListener(const ResourceModificationListener&) = delete;
  ResourceModificationListener& operator=(const ResourceModificationListener&) = delete;
  virtual ~ResourceModificationListener() = default;

 protected:
  friend class ResourceModificationNotifier;

  /// A resource changed. `basePath` is the root that holds it (a native path), `resourceName` its name below
  /// that, with forward slashes; both are valid during the call only.
  virtual void onResourceModified(const BasicStringRef& basePath, const BasicStringRef& resourceName,
                                  Action action) = 0;

  /// Changes were found and are about to be delivered; does nothing by default.
  virtual void onTriggerTaskQueue() {}

  /// Everything found so far was delivered; does nothing by default.
  virtual void onTaskQueueEmpty() {}
};

}  // namespace Tal
