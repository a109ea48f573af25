#pragma once

#include <resources/resource_modification_notifier.h>

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Tal::FS {

/// Changes on their way from the thread that finds them to the thread that delivers them. What happens to one
/// resource between two deliveries is one change. Usable on any thread.
class ChangeCollector {
 public:
  /// `roots` are the native paths of the roots.
  explicit ChangeCollector(std::vector<std::string> roots) : roots_(std::move(roots)) {}

  /// Notes a change of the resource `name` below a root; see ResourceChange::isDoubtful.
  void note(std::size_t root, const std::string& name, bool wasThere, bool isThere, bool isDoubtful = false);

  /// Notes that something cannot be watched; only the first such problem is kept.
  void noteProblem(const std::string& text);

  /// The changes since the last call, by root and name. One whose resource is away as it was before is none.
  std::vector<ResourceChange> take();

  /// The problem, once; else empty.
  std::string takeProblem();

 private:
  struct Change {
    bool wasThere;
    bool isThere;
    bool isDoubtful;
  };

  const std::vector<std::string> roots_;
  std::mutex mutex_;
  std::map<std::pair<std::size_t, std::string>, Change> changes_;
  std::string problem_;
  bool isProblemKnown_ = false;
};

}  // namespace Tal::FS
