#pragma once

#include <filesystem>

namespace Tal {

/// Gives a new file the extended attributes of the one that it is to replace: the POSIX access control list,
/// and what users and their programs have noted there; all others are the system's to set. Where the old file
/// has no access control list, the new one loses that which its folder has given it. What the file system
/// does not hold, or who may write the file may not read, is left out. False, with errno, when the rest
/// cannot be done.
bool copyAttributes(const std::filesystem::path& from, int to);

}  // namespace Tal
