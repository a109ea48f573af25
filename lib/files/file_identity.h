#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

struct stat;

namespace Tal::files {

/// Distinguishes the versions of a file without reading it.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t modified = 0;  ///< nanoseconds
  std::int64_t changed = 0;   ///< nanoseconds; moves on even when the modification time is set back

  bool operator==(const FileIdentity&) const = default;
};

/// The identity of the file at a path, links followed. Empty, with the reason in errno, if there is none or
/// it cannot be examined.
std::optional<FileIdentity> identityAt(const std::filesystem::path& file);

/// The identity in what the system said of a file.
FileIdentity identityIn(const struct stat& status);

/// The identity of an open file.
std::optional<FileIdentity> identityOf(int descriptor);

/// Whether two identities are of one file or folder, in whatever version; false when one is missing.
bool isSameFile(const std::optional<FileIdentity>& a, const std::optional<FileIdentity>& b);

/// Whether the file changed so recently that another change could leave its identity the same. Many file
/// systems store times with coarse resolution.
bool isRecent(const FileIdentity& identity);

}  // namespace Tal::files
