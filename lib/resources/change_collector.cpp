#include <resources/change_collector.h>

namespace Tal::FS {
namespace {

using Action = ResourceModificationListener::Action;

Action actionOf(bool wasThere, bool isThere) {
  if (!isThere) return Action::removed;
  return wasThere ? Action::modified : Action::added;
}

}  // namespace

void ChangeCollector::note(std::size_t root, const std::string& name, bool wasThere, bool isThere,
                           bool isDoubtful) {
  const std::lock_guard lock(mutex_);
  Change& change = changes_.try_emplace({root, name}, Change{wasThere, isThere, false}).first->second;
  change.isThere = isThere;
  change.isDoubtful = change.isDoubtful || isDoubtful;
}

void ChangeCollector::noteProblem(const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (!isProblemKnown_) problem_ = text;
  isProblemKnown_ = true;
}

std::vector<ResourceChange> ChangeCollector::take() {
  const std::lock_guard lock(mutex_);
  std::vector<ResourceChange> taken;
  for (const auto& [place, change] : changes_) {
    if (!change.wasThere && !change.isThere) continue;
    taken.push_back(
        {roots_[place.first], place.second, actionOf(change.wasThere, change.isThere), change.isDoubtful});
  }
  changes_.clear();
  return taken;
}

std::string ChangeCollector::takeProblem() {
  const std::lock_guard lock(mutex_);
  return std::exchange(problem_, {});
}

}  // namespace Tal::FS
