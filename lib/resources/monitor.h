#pragma once

#include <resources/resource_modification_listener.h>

namespace Tal::FS {

/// Watches the resource roots and tells listeners of changed resources. Its thread only collects; listeners
/// are called on the main thread, from MultiFileSystem::pump, once per changed resource and pump however many
/// changes there were. A file replaced by rename, truncated and written, or deleted and made anew is noticed;
/// one only read is not.
class MonitorThreadBase {
 public:
  virtual ~MonitorThreadBase() = default;

  /// Calls the listener for every later change, in order of registration; not owned. Adding it again does
  /// nothing.
  virtual void addModificationListener(ResourceModificationListener* listener) = 0;

  /// Ends that: the listener is not called any more, not even by a delivery that is under way. Nothing
  /// happens when it was never added.
  virtual void removeModificationListener(ResourceModificationListener* listener) = 0;
};

}  // namespace Tal::FS
