#include <resources/monitoring/resource_modification_notifier.h>

#include <algorithm>

namespace Tal {

void ResourceModificationNotifier::add(ResourceModificationListener* listener) {
  const bool isThere = std::any_of(registrations_.begin(), registrations_.end(),
                                   [=](const Registration& other) { return other.listener == listener; });
  if (!isThere && listener != nullptr) registrations_.push_back({listener, ++lastSerial_});
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
    if (isStillThere) hook(*registration.listener);
  }
}

void ResourceModificationNotifier::deliver(const std::vector<watch::ResourceChange>& changes) {
  if (changes.empty()) return;
  const std::vector<Registration> concerned = registrations_;
  callEach(concerned, [](auto& listener) { listener.onTriggerTaskQueue(); });
  for (const watch::ResourceChange& change : changes) {
    callEach(concerned, [&change](ResourceModificationListener& listener) {
      listener.onResourceModified(change.basePath, change.resourceName, change.action);
    });
  }
  callEach(concerned, [](auto& listener) { listener.onTaskQueueEmpty(); });
}

}  // namespace Tal
