#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tal::FS {

/// Whether the errno `code` says that there is nothing of a name.
bool isAbsence(int code) noexcept;

/// The names in a folder without "." and "..", in no order; nothing when they cannot be read.
std::optional<std::vector<std::string>> namesIn(const std::filesystem::path& folder);

}  // namespace Tal::FS
