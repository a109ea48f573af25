#pragma once

#include <string>

namespace Tal::watch {

/// What happened to a resource.
enum class Action { added, modified, removed };

/// A changed resource, as a watcher found it.
struct ResourceChange {
  std::string basePath;  ///< the root that holds it
  std::string resourceName;
  Action action = Action::modified;
  bool isDoubtful = false;  ///< the identity of its file does not show for certain that it changed
};

}  // namespace Tal::watch
