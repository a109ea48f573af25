#pragma once

#include <watch/resource_change.h>

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Tal::watch {

/// Changes on their way from the thread that finds them to the thread that delivers them. What happens to one
/// resource between two deliveries is one change. Usable on any thread.
class ChangeCollector {
 public:
  /// `roots` are the native paths of the roots.
  explicit ChangeCollector(std::vector<std::string> roots) : roots_(std::move(roots)) {}

  /// Note what happened to the resource `name` (its name below the root, with forward slashes) of the root of
  /// this number, counted from 0. `isDoubtful` as in ResourceChange; a doubt stays until the change is taken.
  void noteAdded(std::size_t root, const std::string& name, bool isDoubtful = false);
  void noteModified(std::size_t root, const std::string& name, bool isDoubtful = false);
  void noteRemoved(std::size_t root, const std::string& name);

  /// Notes that something cannot be watched; only the first such problem is kept.
  void noteProblem(const std::string& text);

  /// The changes since the last call, in the order of roots and names. A resource that came and went in
  /// between is none of them.
  std::vector<ResourceChange> take();

  /// The problem, once; else empty.
  std::string takeProblem();

 private:
  struct Change {
    bool wasThere;
    bool isThere;
    bool isDoubtful;

    Action action() const;
  };

  void note(std::size_t root, const std::string& name, const Change& latest);

  const std::vector<std::string> roots_;
  std::mutex mutex_;
  std::map<std::pair<std::size_t, std::string>, Change> changes_;
  std::string problem_;
  bool isProblemKnown_ = false;
};

}  // namespace Tal::watch
