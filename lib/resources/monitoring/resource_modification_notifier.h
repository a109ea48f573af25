#pragma once

#include <resources/resource_modification_listener.h>
#include <watch/resource_change.h>

#include <cstdint>
#include <vector>

namespace Tal {

/// The listeners of a monitor, and the only one that calls their hooks. Main thread only.
class ResourceModificationNotifier {
 public:
  /// Adds a listener behind the others; nothing happens when it is there already, or null. It hears of the
  /// deliveries that begin from now on. Not owned: it must be removed before it is destroyed.
  void add(ResourceModificationListener* listener);

  /// Takes a listener out; it is called no more, by a delivery under way neither. Nothing happens when it is
  /// not there, or null.
  void remove(ResourceModificationListener* listener);

  /// Reports the changes to every listener: the hook for the beginning, one call per change, the hook for the
  /// end; nothing when there are no changes. From within, a listener may add and remove listeners, itself
  /// too, and deliver again. What a hook throws ends the delivery.
  void deliver(const std::vector<watch::ResourceChange>& changes);

 private:
  /// The serial number distinguishes a listener from a later one at the same address.
  struct Registration {
    ResourceModificationListener* listener;
    std::uint64_t serial;
  };

  template <class Hook>
  void callEach(const std::vector<Registration>& registrations, const Hook& hook) const;

  std::vector<Registration> registrations_;
  std::uint64_t lastSerial_ = 0;
};

}  // namespace Tal
