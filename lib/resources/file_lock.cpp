#include <core/format.h>
#include <resources/file_identity.h>
#include <resources/file_lock.h>
#include <resources/retried.h>

#include <sys/file.h>

#include <fcntl.h>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <thread>

namespace Tal {
namespace {

constexpr std::chrono::milliseconds kPause{10};

bool isSameFile(const std::optional<FileIdentity>& a, const std::optional<FileIdentity>& b) {
  return a && b && a->device == b->device && a->inode == b->inode;
}

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
  return "another program";
}

}  // namespace

bool tryLock(int descriptor) noexcept {
  return retried([descriptor] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) == 0;
}

std::optional<FileLock> FileLock::acquire(const std::filesystem::path& file,
                                          std::chrono::milliseconds patience, std::string& holder) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (true) {
    Descriptor descriptor(retried([&] { return ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    if (!descriptor) return FileLock(Descriptor());
    if (tryLock(descriptor.get())) {
      if (isSameFile(identityOf(descriptor.get()), identityAt(file))) return FileLock(std::move(descriptor));
      continue;  // replaced by the one who held it
    }
    if (errno != EWOULDBLOCK) return FileLock(Descriptor());
    if (std::chrono::steady_clock::now() > deadline) {
      holder = holderOf(descriptor.get());
      return std::nullopt;
    }
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace Tal
