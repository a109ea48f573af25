#include <watch/change_collector.h>

namespace Tal::watch {

Action ChangeCollector::Change::action() const {
  if (!isThere) return Action::removed;
  return wasThere ? Action::modified : Action::added;
}

void ChangeCollector::noteAdded(std::size_t root, const std::string& name, bool isDoubtful) {
  note(root, name, {.wasThere = false, .isThere = true, .isDoubtful = isDoubtful});
}

void ChangeCollector::noteModified(std::size_t root, const std::string& name, bool isDoubtful) {
  note(root, name, {.wasThere = true, .isThere = true, .isDoubtful = isDoubtful});
}

void ChangeCollector::noteRemoved(std::size_t root, const std::string& name) {
  note(root, name, {.wasThere = true, .isThere = false, .isDoubtful = false});
}

void ChangeCollector::note(std::size_t root, const std::string& name, const Change& latest) {
  const std::lock_guard lock(mutex_);
  Change& change = changes_.try_emplace({root, name}, latest).first->second;
  change.isThere = latest.isThere;
  change.isDoubtful = change.isDoubtful || latest.isDoubtful;
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
    taken.push_back({roots_[place.first], place.second, change.action(), change.isDoubtful});
  }
  changes_.clear();
  return taken;
}

std::string ChangeCollector::takeProblem() {
  const std::lock_guard lock(mutex_);
  return std::exchange(problem_, {});
}

}  // namespace Tal::watch
