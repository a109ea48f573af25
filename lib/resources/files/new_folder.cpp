#include <resources/files/new_folder.h>
#include <resources/files/retry_on_eintr.h>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <system_error>

namespace Tal {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFolder = 0777;  // but for what the process's mask takes away

FileFailure failedMaking(const fs::path& folder, int code) {
  FileFailure failure = failedStep("making the folder", folder, code);
  if (code == EACCES || code == EPERM || code == EROFS)
    failure.hint = "choose another place or make the folder above it writable";
  return failure;
}

}  // namespace

fs::path folderAbove(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

std::optional<FileFailure> makeFolder(const fs::path& folder) {
  std::error_code error;
  if (folder.empty() || fs::is_directory(folder, error)) return std::nullopt;
  const fs::path above = folderAbove(folder);
  if (above == folder) return failedMaking(folder, ENOENT);
  if (auto failure = makeFolder(above)) return failure;
  if (::mkdir(folder.c_str(), kNewFolder) != 0) {
    const int code = errno;
    // Another program may have made it meanwhile.
    if (code == EEXIST && fs::is_directory(folder, error)) return std::nullopt;
    return failedMaking(folder, code);
  }
  const FileDescriptor descriptor = openFolder(above);
  if (descriptor ? flushFolder(descriptor.get()) : errno == EACCES) return std::nullopt;
  auto failure = failedStep("flushing the folder of", folder, errno);
  ::rmdir(folder.c_str());  // or nobody would flush it any more
  return failure;
}

FileDescriptor openFolder(const fs::path& folder) {
  return FileDescriptor(
      retryOnEintr([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
}

bool flushFolder(int descriptor) {
  return retryOnEintr([descriptor] { return ::fsync(descriptor); }) == 0 || errno == EINVAL;
}

}  // namespace Tal
