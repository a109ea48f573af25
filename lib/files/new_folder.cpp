#include <files/new_folder.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <system_error>

namespace Tal::files {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFolder = 0777;  // but for what the process's mask takes away

Fault failedMaking(const fs::path& folder, int code) {
  Fault fault = failedStep("making the folder", folder, code);
  if (code == EACCES || code == EPERM || code == EROFS)
    fault.remedy = "choose another place or make the folder above it writable";
  return fault;
}

bool isFolderIn(int above, const char* name) {
  struct stat status {};
  return system().fstatat(above, name, status, 0) == 0 && S_ISDIR(status.st_mode);
}

FileDescriptor openFolderAt(int above, const char* name, int flags) {
  return FileDescriptor(
      retryOnEintr([&] { return system().openat(above, name, flags | O_DIRECTORY | O_CLOEXEC, 0); }));
}

}  // namespace

fs::path folderAbove(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

Result<void> makeFolder(const fs::path& folder) {
  std::error_code error;
  if (folder.empty() || fs::is_directory(folder, error)) return {};
  if (!folder.has_filename()) return makeFolder(folder.parent_path());  // "NAME/"
  const fs::path above = folderAbove(folder);
  if (above == folder) return failedMaking(folder, ENOENT);
  if (auto done = makeFolder(above); !done) return done;
  const FileDescriptor opened = openFolderAt(AT_FDCWD, above.c_str(), O_PATH);
  if (!opened) return failedMaking(folder, errno);
  return makeFolderIn(opened.get(), folder.filename().native(), folder);
}

Result<void> makeFolderIn(int above, const std::string& name, const fs::path& shown) {
  if (system().mkdirat(above, name.c_str(), kNewFolder) != 0) {
    const int code = errno;
    // Another program may have made it meanwhile.
    if (code == EEXIST && isFolderIn(above, name.c_str())) return {};
    return failedMaking(shown, code);
  }
  const FileDescriptor descriptor = openFolderAt(above, ".", O_RDONLY);
  if (!descriptor && errno == EACCES) return {};
  Result<void> flushed =
      descriptor ? flushFolder(descriptor.get(), shown) : failedStep("flushing the folder of", shown, errno);
  if (!flushed) system().unlinkat(above, name.c_str(), AT_REMOVEDIR);  // or nobody would flush it any more
  return flushed;
}

NewFolders::NewFolders(fs::path folder) {
  std::error_code error;
  for (; !folder.empty() && !fs::exists(fs::symlink_status(folder, error)); folder = folderAbove(folder))
    missing_.push_back(folder);
}

NewFolders::~NewFolders() {
  for (const fs::path& folder : missing_) system().unlinkat(AT_FDCWD, folder.c_str(), AT_REMOVEDIR);
}

Result<void> flushFolder(int folder, const fs::path& file) {
  if (retryOnEintr([folder] { return system().fsync(folder); }) == 0 || errno == EINVAL) return {};
  return failedStep("flushing the folder of", file, errno);
}

}  // namespace Tal::files
