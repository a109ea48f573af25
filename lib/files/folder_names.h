#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tal::files {

/// The names in a folder without "." and "..", in no order; nothing when they cannot be read.
std::optional<std::vector<std::string>> namesIn(const std::filesystem::path& folder);

/// The same of an open folder.
std::optional<std::vector<std::string>> namesIn(int folder);

}  // namespace Tal::files
