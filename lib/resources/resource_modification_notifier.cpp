#include <resources/resource_modification_notifier.h>

#include <algorithm>

namespace Tal {

void ResourceModificationNotifier::add(ResourceModificationListener* listener, std::uint64_t found) {
  const bool isThere = std::any_of(registrations_.begin(), registrations_.end(),
                                   [=](const Registration& other) { return other.listener == listener; });
  if (!isThere && listener != nullptr) registrations_.push_back({listener, ++lastSerial_, found});
}

void ResourceModificationNotifier::remove(ResourceModificationListener* listener) {
  std::erase_if(registrations_, [=](const Registration& other) { return other.listener == listener; });
}

template <class Hook>
void ResourceModificationNotifier::callEach(const std::vector<Registration>& registrations,
                                            const Hook& hook) const {
  for (const Registration& registration : registrations) {
    const bool isStillThere =
        std::any_of(registrations_.begin(), registrations_.end(),
                    [&](const Registration& other) { return other.serial == registration.serial; });
    if (isStillThere) hook(*registration.listener, registration.found);
  }
}

void ResourceModificationNotifier::deliver(const std::vector<ResourceChange>& changes) {
  const auto latest = std::max_element(changes.begin(), changes.end(),
                                       [](const auto& a, const auto& b) { return a.sequence < b.sequence; });
  if (latest == changes.end()) return;
  std::vector<Registration> concerned = registrations_;
  std::erase_if(concerned, [&](const Registration& one) { return one.found >= latest->sequence; });
  callEach(concerned, [](auto& listener, auto) { listener.onTriggerTaskQueue(); });
  for (const ResourceChange& change : changes) {
    callEach(concerned, [&change](ResourceModificationListener& listener, std::uint64_t found) {
      if (change.sequence <= found) return;
      listener.onResourceModified(change.basePath, change.resourceName, change.action);
    });
  }
  callEach(concerned, [](auto& listener, auto) { listener.onTaskQueueEmpty(); });
}

}  // namespace Tal
