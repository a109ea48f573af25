#pragma once

#include <cstdint>
#include <string>

namespace Tal::files {

/// Copies extended attributes from the file `name` of the open folder `folder` to the open file `to` that is
/// to replace it: the POSIX access control list, and the attributes of users ("user.*"); all others are the
/// system's to set. Where the first has no list, one that `to` inherited from its folder is removed. An
/// attribute is left out when the file system of `to` cannot hold it, or when this process may not read or
/// set it. False, with errno, when anything else fails.
///
/// `mode` is the mode of the first. Beside a list its group bits say what anybody on the list may have; when
/// the list is left out they are cut down to what the list gives the owning group.
[[nodiscard]] bool copyAttributes(int folder, const std::string& name, int to, std::uint32_t& mode);

}  // namespace Tal::files
