#pragma once

#include <core/result.h>

#include <cstdint>
#include <filesystem>

namespace Tal::files {

/// Copies extended attributes from one open file to another that is to replace it: the POSIX access control
/// list, and the attributes of users ("user.*"); all others are the system's to set. `from` may be open as a
/// path alone (O_PATH). Where the first has no list, one that `to` inherited from its folder is removed. An
/// attribute is left out when the file system of `to` cannot hold it, or when this process may not read or
/// set it; else the fault names `shown`.
///
/// `mode` is that of the first, and the result is what the second is to have. Beside a list the group bits
/// say what anybody on it may have; without the list they are cut down to what it gives the owning group.
Result<std::uint32_t> copyAttributes(int from, int to, std::uint32_t mode,
                                     const std::filesystem::path& shown);

}  // namespace Tal::files
