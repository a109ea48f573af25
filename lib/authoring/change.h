#pragma once

#include <authoring/description.h>

#include <memory>
#include <string>
#include <vector>

namespace Tal::authoring {

/// A file as it was before an operation replaced it.
struct FileBefore {
  std::string resourceName;
  std::shared_ptr<const std::string> bytes;  ///< never null; several changes may share them
};

/// What one operation has changed of a model: all that undoing it takes. An edit changes what the author has,
/// a save what the file holds. Once another program has changed the same value, going back to `before` is an
/// edit against what the file says by then.
struct Change {
  std::string modelName;
  Description before;  ///< of an edit also what conversions have left behind
  Description after;
  std::vector<FileBefore> files = {};  ///< those that were written; none by an edit
};

}  // namespace Tal::authoring
