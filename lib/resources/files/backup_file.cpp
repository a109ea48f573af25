#include <core/display_text.h>
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
      isCopy_(other.isCopy_),
      descriptor_(std::move(other.descriptor_)) {}

std::optional<FileFailure> BackupFile::keep(const fs::path& file) {
  file_ = file;
  std::error_code error = std::make_error_code(std::errc::file_exists);
  // Killed processes of the same number may have left some names.
  for (int attempt = 0; attempt < kNames && error == std::errc::file_exists; ++attempt) {
    backup_ = temporaryBeside(file);
    fs::create_hard_link(file, backup_, error);
    isCopy_ = error && error != std::errc::file_exists;
    if (isCopy_) fs::copy_file(file, backup_, error);
    if (error == std::errc::file_exists) backup_.clear();  // somebody else's
  }
  if (error) {
    discard();
    return failedStep("keeping the old", file, error.value());
  }
  // A version that this process may not read is not removed by its saves either, which look for a lock first.
  descriptor_ = FileDescriptor(
      retryOnEintr([&] { return ::open(backup_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK); }));
  if (descriptor_) tryLock(descriptor_.get());
  return std::nullopt;
}

std::optional<FileFailure> BackupFile::restore() {
  const fs::path backup = std::exchange(backup_, {});
  if (isCopy_ && descriptor_) retryOnEintr([&] { return ::fsync(descriptor_.get()); });
  if (retryOnEintr([&] { return ::rename(backup.c_str(), file_.c_str()); }) != 0) {
    FileFailure failure = failedStep("putting back the old", file_, errno);
    failure.hint += " and rename " + quotedName(backup.filename().string()) + " to " +
                    quotedName(file_.filename().string()) + " before anything saves that again";
    return failure;
  }
  ::unlink(backup.c_str());  // is there still if both were names of the same version
  const FileDescriptor folder = openFolder(folderAbove(file_));
  if (!folder || flushFolder(folder.get())) return std::nullopt;
  FileFailure failure = failedStep("flushing the folder of", file_, errno);
  failure.isReplaced = true;
  return failure;
}

void BackupFile::discard() noexcept {
  if (isKept()) ::unlink(backup_.c_str());
  backup_.clear();
}

}  // namespace Tal
