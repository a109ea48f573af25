#pragma once

#include <resources/resource_modification_listener.h>

namespace Tal::FS {

/// Watches the resource roots and tells listeners of changed resources. Its thread only collects; listeners
/// are called on the main thread, from MultiFileSystem::pump, once per changed resource and pump however many
/// changes there were. A change is delivered by the first pump after it was noticed, also when an earlier
/// pump has told of the same resource: the file's last content is always told of.
///
/// A file replaced by rename, written in place, or deleted and made anew is noticed at once; one written
/// through mapped memory within a second or so, as is every change where the system refuses to watch. A file
/// that is only read is not told of, nor one whose name says that it is temporary or a backup.
///
/// It watches from its making on, by the first call of MultiFileSystem::getFilesystemMonitor: to miss
/// nothing, a host makes that call before it reads anything.
class MonitorThreadBase {
 public:
  virtual ~MonitorThreadBase() = default;

  /// Calls the listener for every change that is not delivered yet, in order of registration; not owned. It
  /// may hear of a change that it has read already, but misses none that came after its reading. Adding it
  /// again does nothing.
  virtual void addModificationListener(ResourceModificationListener* listener) = 0;

  /// Ends that: the listener is not called any more, not even by a delivery that is under way. Nothing
  /// happens when it was never added.
  virtual void removeModificationListener(ResourceModificationListener* listener) = 0;
};

}  // namespace Tal::FS
