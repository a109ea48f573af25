#include <resources/file_identity.h>

#include <sys/stat.h>

namespace Tal {
namespace {

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + std::int64_t{time.tv_nsec};
}

FileIdentity identityFrom(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
          nanoseconds(status.st_ctim)};
}

}  // namespace

std::optional<FileIdentity> identityAt(const std::filesystem::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) return std::nullopt;
  return identityFrom(status);
}

std::optional<FileIdentity> identityOf(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return std::nullopt;
  return identityFrom(status);
}

}  // namespace Tal
