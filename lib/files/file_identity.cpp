#include <files/file_identity.h>
#include <files/system.h>

#include <sys/stat.h>

#include <fcntl.h>

#include <algorithm>
#include <ctime>

namespace Tal::files {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kFineStep = 20'000'000;     ///< more than a tick of the kernel's clock
constexpr std::int64_t kCoarseStep = 2 * kSecond;  ///< of file systems that know only seconds

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * kSecond + std::int64_t{time.tv_nsec};
}

}  // namespace

FileIdentity identityIn(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
          nanoseconds(status.st_ctim)};
}

bool isSameFile(const std::optional<FileIdentity>& a, const std::optional<FileIdentity>& b) {
  return a && b && a->device == b->device && a->inode == b->inode;
}

bool isRecent(const FileIdentity& identity) {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const bool isCoarse = identity.modified % kSecond == 0 && identity.changed % kSecond == 0;
  const std::int64_t age = nanoseconds(now) - std::max(identity.modified, identity.changed);
  return age < (isCoarse ? kCoarseStep : kFineStep) && age > -kCoarseStep;
}

std::optional<FileIdentity> identityAt(const std::filesystem::path& file) {
  struct stat status {};
  if (system().fstatat(AT_FDCWD, file.c_str(), status, 0) != 0) return std::nullopt;
  return identityIn(status);
}

std::optional<FileIdentity> identityOf(int descriptor) {
  struct stat status {};
  if (system().fstat(descriptor, status) != 0) return std::nullopt;
  return identityIn(status);
}

}  // namespace Tal::files
