#include <files/file_descriptor.h>
#include <files/folder_names.h>

#include <dirent.h>
#include <fcntl.h>
#include <cerrno>
#include <memory>
#include <utility>

namespace Tal::files {
namespace {

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

std::optional<std::vector<std::string>> namesFrom(DIR* opened) {
  const std::unique_ptr<DIR, DirectoryCloser> directory(opened);
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

}  // namespace

std::optional<std::vector<std::string>> namesIn(const std::filesystem::path& folder) {
  return namesFrom(::opendir(folder.c_str()));
}

std::optional<std::vector<std::string>> namesIn(int folder) {
  FileDescriptor copy(::fcntl(folder, F_DUPFD_CLOEXEC, 0));  // which the listing closes
  DIR* const opened = copy ? ::fdopendir(copy.get()) : nullptr;
  if (opened == nullptr) return std::nullopt;
  static_cast<void>(copy.release());
  ::rewinddir(opened);
  return namesFrom(opened);
}

}  // namespace Tal::files
