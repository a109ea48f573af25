#include <core/display_text.h>
#include <files/file_identity.h>
#include <files/file_lock.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>

#include <sys/file.h>

#include <fcntl.h>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace Tal::files {
namespace {

constexpr std::chrono::milliseconds kPause{10};
constexpr const char* kUnknownHolder = "another program";

/// The process that has the lock of a file, as the system lists it: "1: FLOCK ADVISORY WRITE 123 08:01:456 0
/// EOF".
std::string holderOf(int descriptor) {
  const std::optional<FileIdentity> identity = identityOf(descriptor);
  const std::string ending = ':' + std::to_string(identity ? identity->inode : 0);
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    std::istringstream words(line);
    std::string number;
    std::string kind;
    std::string advice;
    std::string access;
    std::string process;
    std::string file;
    words >> number >> kind >> advice >> access >> process >> file;
    if (kind != "FLOCK" || !file.ends_with(ending)) continue;
    std::ifstream command("/proc/" + process + "/comm");
    std::string name;
    std::getline(command, name);
    return "process " + process + (name.empty() ? "" : " (" + escapeControls(name) + ")");
  }
  return kUnknownHolder;
}

/// The fault of a lock that another holder keeps; `action` says what it does there.
Fault heldBy(const std::string& holder, const char* action) {
  return {FaultKind::busy, holder + ' ' + action + " and does not come to an end", "wait until it has ended"};
}

FileDescriptor openFile(const std::filesystem::path& file, int access) {
  return FileDescriptor(retryOnEintr(
      [&] { return system().openat(AT_FDCWD, file.c_str(), access | O_CLOEXEC | O_NONBLOCK, 0); }));
}

}  // namespace

bool tryLock(int descriptor) noexcept {
  return retryOnEintr([descriptor] { return system().flock(descriptor, LOCK_EX | LOCK_NB); }) == 0;
}

Result<void> waitForLock(int descriptor, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!tryLock(descriptor)) {
    if (errno != EWOULDBLOCK) return {};
    if (std::chrono::steady_clock::now() > deadline) return heldBy(holderOf(descriptor), "is writing there");
    std::this_thread::sleep_for(kPause);
  }
  return {};
}

std::optional<FileIdentity> FileLock::identity() const {
  return descriptor_ ? identityOf(descriptor_.get()) : std::nullopt;
}

Result<FileLock> FileLock::acquire(const std::filesystem::path& file, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  bool hasTried = false;
  while (true) {
    FileDescriptor descriptor = openFile(file, O_RDONLY);
    if (!descriptor) return FileLock(FileDescriptor());
    bool isLocked = tryLock(descriptor.get());
    if (!isLocked && errno == EBADF) {
      // Some network file systems lock only what is open for writing. Not done everywhere, since closing
      // such a file looks like a change to those who watch it.
      FileDescriptor writer = openFile(file, O_RDWR);
      isLocked = writer && tryLock(writer.get());
      const int code = errno;
      if (writer) descriptor = std::move(writer);
      errno = code;
    }
    const std::optional<FileIdentity> now = isLocked ? identityAt(file) : std::nullopt;
    if (isLocked && !now && errno != ENOENT) return FileLock(FileDescriptor(), std::strerror(errno));
    // If the holder replaced the file while we waited, we locked the old one: retry.
    if (isLocked && isSameFile(identityOf(descriptor.get()), now)) return FileLock(std::move(descriptor));
    if (!isLocked && errno != EWOULDBLOCK) return FileLock(FileDescriptor(), std::strerror(errno));
    if (std::chrono::steady_clock::now() > deadline)
      return heldBy(isLocked ? kUnknownHolder : holderOf(descriptor.get()), "is saving it");
    if (!isLocked || hasTried) std::this_thread::sleep_for(kPause);
    hasTried = true;
  }
}

}  // namespace Tal::files
