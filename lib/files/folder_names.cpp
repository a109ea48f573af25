#include <files/file_descriptor.h>
#include <files/folder_names.h>
#include <files/system.h>

#include <fcntl.h>

namespace Tal::files {

std::optional<std::vector<std::string>> namesIn(const std::filesystem::path& folder) {
  const FileDescriptor opened(
      system().openat(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC, 0));
  return opened ? namesIn(opened.get()) : std::nullopt;
}

std::optional<std::vector<std::string>> namesIn(int folder) {
  std::vector<std::string> names;
  if (system().list(folder, names) != 0) return std::nullopt;
  return names;
}

}  // namespace Tal::files
