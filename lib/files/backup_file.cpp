#include <core/display_text.h>
#include <files/atomic_file.h>
#include <files/backup_file.h>
#include <files/file_lock.h>
#include <files/new_folder.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <sys/sendfile.h>
#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <utility>

namespace Tal::files {
namespace {

constexpr int kBackupNames = 1000;  // to be tried
constexpr mode_t kBackupMode = 07777;
constexpr std::size_t kCopyPiece = std::size_t{1} << 30U;

}  // namespace

Result<void> BackupFile::keep() {
  return makeWith([this] { return linkOrCopy(); });
}

Result<void> BackupFile::take() {
  if (auto done = makeWith([this] { return place_.renameToFree(place_.name(), backup_); }); !done)
    return done;
  return flushFolder(place_.folder(), place_.path());
}

// Makes the second name; `make` is false, with errno, when it cannot.
template <class Make>
Result<void> BackupFile::makeWith(const Make& make) {
  bool isMade = false;
  // Killed processes of the same number may have left some names.
  for (int attempt = 0; attempt < kBackupNames && !isMade; ++attempt) {
    backup_ = temporaryNameFor(place_.name());
    isMade = make();
    if (!isMade && errno != EEXIST) break;
  }
  if (!isMade) {
    const int code = errno;
    backup_.clear();
    return failedStep("keeping the old", place_.path(), code);
  }
  // A version that this process may not read is not removed by its saves either, which look for a lock first.
  descriptor_ = FileDescriptor(retryOnEintr([this] {
    return system().openat(place_.folder(), backup_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                           0);
  }));
  if (descriptor_) tryLock(descriptor_.get());
  return {};
}

bool BackupFile::linkOrCopy() {
  const int folder = place_.folder();
  if (system().linkat(folder, place_.name().c_str(), folder, backup_.c_str()) == 0) return true;
  if (errno == EEXIST) return false;
  isCopy_ = copyFile();
  if (isCopy_ || errno == EEXIST) return isCopy_;
  const int code = errno;
  system().unlinkat(folder, backup_.c_str(), 0);  // what was copied by then
  errno = code;
  return false;
}

// False, with errno, when that fails; what was copied by then is there.
bool BackupFile::copyFile() const {
  const FileDescriptor from = place_.openToRead();
  struct stat status {};
  if (!from || system().fstat(from.get(), status) != 0) return false;
  const FileDescriptor to(retryOnEintr([&] {
    return system().openat(place_.folder(), backup_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                           status.st_mode & kBackupMode);
  }));
  if (!to) return false;
  ssize_t count = 1;
  while (count > 0) count = retryOnEintr([&] { return system().sendfile(to.get(), from.get(), kCopyPiece); });
  return count == 0;
}

Result<void> BackupFile::restore() {
  const std::string backup = std::exchange(backup_, {});
  const int folder = place_.folder();
  if (isCopy_ && descriptor_) retryOnEintr([&] { return system().fsync(descriptor_.get()); });
  if (!place_.renameToFree(backup, place_.name())) {
    Fault fault = failedStep("putting back the old", place_.path(), errno);
    fault.remedy += " and rename " + quotedName(backup) + " to " + quotedName(place_.name()) +
                    " before anything saves that again";
    return fault;
  }
  system().unlinkat(folder, backup.c_str(), 0);  // is there still if both were names of the same version
  auto flushed = flushFolder(folder, place_.path());
  if (flushed) return flushed;
  Fault fault = std::move(flushed).fault();
  fault.kind = FaultKind::unflushed;
  return fault;
}

void BackupFile::discard() noexcept {
  if (isKept()) system().unlinkat(place_.folder(), backup_.c_str(), 0);
  backup_.clear();
}

}  // namespace Tal::files
