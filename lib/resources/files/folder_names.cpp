#include <resources/files/folder_names.h>

#include <dirent.h>

#include <cerrno>
#include <memory>

namespace Tal::FS {
namespace {

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

}  // namespace

std::optional<std::vector<std::string>> namesIn(const std::filesystem::path& folder) {
  const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(folder.c_str()));
  if (!directory) return std::nullopt;
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
    errno = 0;
  }
  return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

}  // namespace Tal::FS
