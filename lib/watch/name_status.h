#pragma once

#include <files/file_identity.h>

#include <optional>
#include <string>

namespace Tal::watch {

/// What a name in a folder stands for, links followed.
struct NameStatus {
  files::FileIdentity identity;
  bool isFile = false;  ///< a regular one
  bool isFolder = false;
  bool isLink = false;  ///< the name itself
  bool hasOtherNames = false;
};

/// Examines a name below an open folder, or a path when that is AT_FDCWD. Empty, with errno, when that fails
/// or nothing is there.
std::optional<NameStatus> statusOf(int folder, const std::string& name);

}  // namespace Tal::watch
