#pragma once

#include <cstdint>
#include <filesystem>

namespace Tal {

/// Gives a new file the extended attributes of the one that it is to replace: the POSIX access control list,
/// and what users and their programs have noted there; all others are the system's to set. Where the old file
/// has no such list, the new one loses that which its folder has given it. What cannot be there, or who may
/// write the file may not read, is left out; of `mode`, the old file's, the group keeps only its own rights
/// when that is the list. False, with errno, when the rest cannot be done.
bool copyAttributes(const std::filesystem::path& from, int to, std::uint32_t& mode);

}  // namespace Tal
