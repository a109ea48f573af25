#include <files/path_links.h>
#include <files/system.h>

#include <algorithm>
#include <system_error>

namespace Tal::files {

namespace fs = std::filesystem;

fs::path resolvedPath(const fs::path& path) {
  std::error_code error;
  fs::path result = system().canonical(path, error);
  return error ? fs::path() : result;
}

bool isPathBelow(const fs::path& path, const fs::path& folder) {
  const auto [inFolder, inPath] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return inFolder == folder.end();
}

}  // namespace Tal::files
