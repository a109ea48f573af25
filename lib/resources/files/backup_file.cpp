#include <resources/files/atomic_file.h>
#include <resources/files/backup_file.h>
#include <resources/files/file_lock.h>
#include <resources/files/new_folder.h>
#include <resources/files/retry_on_eintr.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace Tal {

namespace fs = std::filesystem;

namespace {

constexpr int kNames = 1000;  // to be tried

}  // namespace

BackupFile::BackupFile(BackupFile&& other) noexcept
    : file_(std::exchange(other.file_, {})),
      backup_(std::exchange(other.backup_, {})),
      descriptor_(std::move(other.descriptor_)) {}

std::optional<FileFailure> BackupFile::keep(const fs::path& file) {
  fs::path backup;
  std::error_code error = std::make_error_code(std::errc::file_exists);
  // Killed processes of the same number may have left some names.
  for (int attempt = 0; attempt < kNames && error == std::errc::file_exists; ++attempt) {
    backup = temporaryBeside(file);
    fs::create_hard_link(file, backup, error);
    if (error && error != std::errc::file_exists) fs::copy_file(file, backup, error);
  }
  if (error) return failedStep("keeping the old", file, error.value());
  file_ = file;
  backup_ = backup;
  // One that this process may not read, no cleaning up of its can take away either.
  descriptor_ = FileDescriptor(
      retryOnEintr([&] { return ::open(backup_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW); }));
  if (descriptor_) tryLock(descriptor_.get());
  return std::nullopt;
}

std::optional<FileFailure> BackupFile::restore() {
  const fs::path backup = std::exchange(backup_, {});
  if (retryOnEintr([&] { return ::rename(backup.c_str(), file_.c_str()); }) != 0) {
    FileFailure failure = failedStep("putting back the old", file_, errno);
    failure.hint += " and rename " + backup.filename().string() + " to " + file_.filename().string();
    return failure;
  }
  const FileDescriptor folder = openFolder(folderAbove(file_));
  if (!folder || flushFolder(folder.get())) return std::nullopt;
  return failedStep("flushing the folder of", file_, errno);
}

void BackupFile::discard() noexcept {
  if (isKept()) ::unlink(backup_.c_str());
  backup_.clear();
}

}  // namespace Tal
