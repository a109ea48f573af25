#pragma once

#include <resources/resource_modification_listener.h>

namespace Tal::FS {

/// Watches the resource roots and reports changed resources to listeners. Its thread only collects; listeners
/// are called on the main thread, from MultiFileSystem::pump, once per changed resource and pump. A change is
/// delivered by the first pump after it was noticed, also when an earlier pump has reported the same
/// resource: its last content is always reported.
///
/// What the system reports is noticed at once: a file replaced by rename, written and closed, or deleted and
/// made anew. Other changes, such as writes through mapped memory, are found by polling. This usually takes
/// half a second, and up to ten seconds for roots with 100,000 files. A file whose writer does not close it
/// counts as complete when nobody has written to it for two seconds. Where the system refuses to watch, every
/// change is noticed by polling, and a file is complete when two polls find it alike. Not reported are files
/// that are only read, and names that say that a file is temporary or a backup.
///
/// It watches from the first call of MultiFileSystem::getFilesystemMonitor on, which owns it: to miss
/// nothing, a host makes that call before it reads anything. Main thread only.
class MonitorThreadBase {
 public:
  virtual ~MonitorThreadBase() = default;

  /// Calls the listener for every change that is not delivered yet, in order of registration. It may hear of
  /// a change that it has read already, but misses none that came after its reading. One that is added from
  /// within a call hears only of what later pumps deliver. Nothing happens when it was added before, or is
  /// null.
  ///
  /// The listener is not owned. It must be removed before it is destroyed; a monitor that is not pumped any
  /// more does not touch it.
  virtual void addModificationListener(ResourceModificationListener* listener) = 0;

  /// Ends that: the listener is not called any more, not even by a delivery that is under way; it may be
  /// removed from within a call, its own too. Nothing happens when it was never added, or is null.
  virtual void removeModificationListener(ResourceModificationListener* listener) = 0;
};

}  // namespace Tal::FS
