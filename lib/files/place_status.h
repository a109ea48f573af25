#pragma once

#include <files/file_identity.h>
#include <files/rooted_path.h>

#include <optional>

namespace Tal::files {

/// What stands at a place below a root, links followed.
struct PlaceStatus {
  enum class Kind {
    file,      ///< a regular file
    other,     ///< a folder, a device, or whatever else is no regular file
    deadLink,  ///< a link that leads to nothing
    nothing,
    unknown,  ///< it could not be examined, for the reason in `code`
  };

  Kind kind = Kind::nothing;
  std::optional<FileIdentity> identity = {};  ///< of a file
  bool isOutside = false;                     ///< a link on the way leads out of the root
  int code = 0;                               ///< the errno of what is unknown
};

/// Examines a place, the root by its present path. The system names it once, unless an absolute link is on
/// the way or the system knows no way to follow links within a folder. Usable on any thread.
PlaceStatus statusOf(const RootedPath& place);

}  // namespace Tal::files
