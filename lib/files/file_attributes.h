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
/// `mode` is the mode of `from`; the result is the mode to set on `to`. With an access control list, the
/// group bits of the mode are its mask. If the list cannot be copied, they are reduced to the owning group's
/// rights.
Result<std::uint32_t> copyAttributes(int from, int to, std::uint32_t mode,
                                     const std::filesystem::path& shown);

}  // namespace Tal::files
