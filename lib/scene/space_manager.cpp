#include <scene/space_manager.h>

namespace Tal {

SpaceManager& SpaceManager::instance() {
  static SpaceManager manager;
  return manager;
}

ClientSpace* SpaceManager::space(int id) const {
  const auto found = spaces_.find(id);
  return found == spaces_.end() ? nullptr : found->second.get();
}

ClientSpace& SpaceManager::createSpace(int id) {
  SmartPointer<ClientSpace>& space = spaces_[id];
  space = makeSmart<ClientSpace>(id);
  return *space;
}

void SpaceManager::removeSpace(int id) {
  spaces_.erase(id);
}

}  // namespace Tal
