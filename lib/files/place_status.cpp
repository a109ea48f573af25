#include <files/file_descriptor.h>
#include <files/path_links.h>
#include <files/place_status.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>

#include <linux/openat2.h>
#include <sys/stat.h>

#include <fcntl.h>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace Tal::files {
namespace {

using Kind = PlaceStatus::Kind;

PlaceStatus unknown(int code) {
  return {.kind = Kind::unknown, .code = code};
}

PlaceStatus statusFrom(const struct stat& status) {
  if (!S_ISREG(status.st_mode)) return {.kind = Kind::other};
  return {.kind = Kind::file, .identity = identityIn(status)};
}

/// The status of a name that leads to nothing: perhaps it is itself a link.
PlaceStatus statusOfNothing(int folder, const char* name) {
  struct stat status {};
  if (system().fstatat(folder, name, status, AT_SYMLINK_NOFOLLOW) == 0)
    return S_ISLNK(status.st_mode) ? PlaceStatus{.kind = Kind::deadLink} : unknown(EAGAIN);
  return errno == ENOENT || errno == ENOTDIR ? PlaceStatus() : unknown(errno);
}

bool isNothing(int code) {
  return code == ENOENT || code == ENOTDIR;
}

/// The status of a place, found by its path: also of one that an absolute link leads to.
PlaceStatus statusByPath(const RootedPath& place) {
  struct stat found {};
  const std::filesystem::path path = place.path();
  PlaceStatus status;
  if (system().fstatat(AT_FDCWD, path.c_str(), found, 0) == 0) {
    status = statusFrom(found);
  } else {
    status = isNothing(errno) ? statusOfNothing(AT_FDCWD, path.c_str()) : unknown(errno);
  }
  std::error_code error;
  const std::filesystem::path root = system().canonical(place.root, error);
  const std::filesystem::path target =
      error ? std::filesystem::path() : system().weaklyCanonical(path, error);
  if (error) return status.kind == Kind::unknown ? status : unknown(error.value());
  status.isOutside = !isPathBelow(target, root);
  return status;
}

}  // namespace

PlaceStatus statusOf(const RootedPath& place) {
  const FileDescriptor root(retryOnEintr(
      [&] { return system().openat(AT_FDCWD, place.root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0); }));
  if (!root) return isNothing(errno) ? PlaceStatus() : unknown(errno);
  const char* const name = place.name.c_str();
  const FileDescriptor file(retryOnEintr([&] {
    return system().openat2(root.get(), name, O_PATH | O_CLOEXEC, RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS);
  }));
  if (file) {
    struct stat status {};
    return system().fstat(file.get(), status) == 0 ? statusFrom(status) : unknown(errno);
  }
  const int code = errno;
  if (isNothing(code)) return statusOfNothing(root.get(), name);
  // A folder takes no such name, and no file is behind so many links.
  if (code == ENAMETOOLONG || code == ELOOP) return unknown(code);
  // What is unknown without the path: a link that leads out or is absolute, a system without that call.
  return statusByPath(place);
}

}  // namespace Tal::files
