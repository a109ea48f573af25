// A library in front of the system's: it makes chosen calls on chosen files fail, come back short, or be
// noted. It is linked into a program or preloaded, and takes everything else straight to the kernel.
//
// The operations: "open" (for reading), "open-write", "open-folder", "open-beneath" (openat2), "read",
// "write", "flush" (fsync and fdatasync of a file), "flush-folder", "close", "rename", "mode" (fchmod),
// "owner" (fchown), "attribute" (fsetxattr), "lock", "mkdir", "access" (asking whether a file may be used),
// "look" (stat and its like, and opening with O_PATH, which gives no access).

#include <durability/fault_shim.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Path = std::array<char, PATH_MAX>;

struct Order {
  Path below{};
  Path trace{};
  std::array<char, 32> operation{};
  int number = 0;
  int code = 0;
  bool isLasting = false;
  int largestWrite = 0;
  void (*meanwhile)() = nullptr;
};

Order s_order;
std::atomic<bool> s_isArmed{false};
std::atomic<int> s_calls{0};

template <std::size_t kSize>
void copyText(std::array<char, kSize>& into, const char* text) {
  std::snprintf(into.data(), kSize, "%s", text == nullptr ? "" : text);
}

int numberFrom(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? 0 : std::atoi(text);
}

/// A program that was started with the library preloaded finds its order in its environment.
[[gnu::constructor]] void armFromEnvironment() {
  const char* const below = std::getenv("FAULT_BELOW");
  if (below == nullptr) return;
  const FaultOrder order{below,
                         std::getenv("FAULT_TRACE"),
                         std::getenv("FAULT_OPERATION"),
                         numberFrom("FAULT_NUMBER"),
                         numberFrom("FAULT_ERRNO"),
                         numberFrom("FAULT_LASTING"),
                         numberFrom("FAULT_LARGEST_WRITE"),
                         nullptr};
  faultShimArm(&order);
}

/// The part of a path below the order's folder ("." for the folder itself); null when it lies elsewhere.
const char* nameBelow(const char* path) {
  const std::size_t length = std::strlen(s_order.below.data());
  if (std::strncmp(path, s_order.below.data(), length) != 0) return nullptr;
  if (path[length] == '\0') return ".";
  return path[length] == '/' ? path + length + 1 : nullptr;
}

bool takePath(int descriptor, Path& path) {
  std::array<char, 64> link{};
  std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", descriptor);
  const auto length = ::readlink(link.data(), path.data(), path.size() - 1);
  if (length < 0) return false;
  path[static_cast<std::size_t>(length)] = '\0';
  return true;
}

const char* nameOf(int descriptor, Path& path) {
  return takePath(descriptor, path) ? nameBelow(path.data()) : nullptr;
}

/// A path and the folder that it starts from when it is relative: a descriptor, or AT_FDCWD.
struct PlaceAt {
  int folder;
  const char* path;
};

const char* nameOf(const PlaceAt& place, Path& absolute) {
  if (place.path[0] == '/') return nameBelow(place.path);
  if (place.folder == AT_FDCWD) {
    if (::getcwd(absolute.data(), absolute.size()) == nullptr) return nullptr;
  } else if (!takePath(place.folder, absolute)) {
    return nullptr;
  }
  if (place.path[0] == '\0' || std::strcmp(place.path, ".") == 0) return nameBelow(absolute.data());
  const std::size_t length = std::strlen(absolute.data());
  std::snprintf(absolute.data() + length, absolute.size() - length, "/%s", place.path);
  return nameBelow(absolute.data());
}

void note(const char* operation, const char* name) {
  if (s_order.trace[0] == '\0') return;
  std::array<char, PATH_MAX + 64> line{};
  const int length = std::snprintf(line.data(), line.size(), "%s %s\n", operation, name);
  const long file =
      ::syscall(SYS_openat, AT_FDCWD, s_order.trace.data(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0) return;
  ::syscall(SYS_write, file, line.data(), static_cast<std::size_t>(length));
  ::syscall(SYS_close, file);
}

/// Whether this call is to fail; errno is then set. `what` is a descriptor or a place.
template <class What>
bool isToFail(const char* operation, What what) {
  if (!s_isArmed) return false;
  const int before = errno;
  Path path{};
  const char* const name = nameOf(what, path);
  errno = before;
  if (name == nullptr) return false;
  note(operation, name);
  errno = before;
  if (std::strcmp(s_order.operation.data(), operation) != 0) return false;
  const int call = ++s_calls;
  if (call != s_order.number && !(s_order.isLasting && call > s_order.number)) return false;
  if (s_order.meanwhile != nullptr) {
    s_isArmed = false;  // what it calls is not meant
    s_order.meanwhile();
    s_isArmed = true;
    errno = before;
    return false;
  }
  errno = s_order.code;
  return true;
}

const char* openOperation(int flags) {
  if ((flags & O_PATH) != 0) return "look";
  if ((flags & O_ACCMODE) != O_RDONLY) return "open-write";
  return (flags & O_DIRECTORY) != 0 ? "open-folder" : "open";
}

/// Whether a descriptor was opened with O_PATH.
bool isWithoutAccess(int descriptor) {
  const int before = errno;
  const long flags = ::syscall(SYS_fcntl, descriptor, F_GETFL);
  errno = before;
  return flags >= 0 && (flags & O_PATH) != 0;
}

bool isFolder(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

int openAt(int folder, const char* path, int flags, mode_t mode) {
  if (isToFail(openOperation(flags), PlaceAt{folder, path})) return -1;
  return static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}

int flush(int descriptor, long call) {
  if (s_isArmed && isToFail(isFolder(descriptor) ? "flush-folder" : "flush", descriptor)) return -1;
  return static_cast<int>(::syscall(call, descriptor));
}

std::size_t shortened(int descriptor, std::size_t size) {
  if (!s_isArmed || s_order.largestWrite <= 0) return size;
  const int before = errno;
  Path path{};
  const bool isMeant = nameOf(descriptor, path) != nullptr;
  errno = before;
  const auto largest = static_cast<std::size_t>(s_order.largestWrite);
  return isMeant && size > largest ? largest : size;
}

/// The system's own operation of that name, which this library stands in front of.
long systemCall(long number, const std::array<long, 6>& arguments) {
  using Syscall = long (*)(long, ...);
  static const auto s_next = reinterpret_cast<Syscall>(::dlsym(RTLD_NEXT, "syscall"));
  return s_next(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

int lookAt(const PlaceAt& place, struct stat* status, int flags) {
  if (isToFail("look", place)) return -1;
  return static_cast<int>(::syscall(SYS_newfstatat, place.folder, place.path, status, flags));
}

mode_t modeFrom(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

void faultShimArm(const FaultOrder* order) {
  s_isArmed = false;
  copyText(s_order.below, order->below);
  copyText(s_order.trace, order->trace);
  copyText(s_order.operation, order->operation);
  s_order.number = order->number;
  s_order.code = order->code;
  s_order.isLasting = order->lasting != 0;
  s_order.largestWrite = order->largestWrite;
  s_order.meanwhile = order->meanwhile;
  s_calls = 0;
  s_isArmed = true;
}

int faultShimDisarm(void) {
  s_isArmed = false;
  return s_calls;
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the system's own names are reserved ones
int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeFrom(flags, arguments);
  va_end(arguments);
  return openAt(AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeFrom(flags, arguments);
  va_end(arguments);
  return openAt(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeFrom(flags, arguments);
  va_end(arguments);
  return openAt(folder, path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeFrom(flags, arguments);
  va_end(arguments);
  return openAt(folder, path, flags, mode);
}

/// What the C library has no operation for is called by number.
long syscall(long number, ...) noexcept {
  va_list list;
  va_start(list, number);
  std::array<long, 6> arguments{};
  for (long& argument : arguments) argument = va_arg(list, long);
  va_end(list);
  if (number == SYS_openat2) {
    const PlaceAt place{static_cast<int>(arguments[0]), reinterpret_cast<const char*>(arguments[1])};
    const auto flags = static_cast<int>(reinterpret_cast<const open_how*>(arguments[2])->flags);
    if (isToFail((flags & O_PATH) != 0 ? "look" : "open-beneath", place)) return -1;
  }
  return systemCall(number, arguments);
}

int stat(const char* path, struct stat* status) noexcept {
  return lookAt({AT_FDCWD, path}, status, 0);
}

int stat64(const char* path, struct stat64* status) noexcept {
  return lookAt({AT_FDCWD, path}, reinterpret_cast<struct stat*>(status), 0);
}

int lstat(const char* path, struct stat* status) noexcept {
  return lookAt({AT_FDCWD, path}, status, AT_SYMLINK_NOFOLLOW);
}

int lstat64(const char* path, struct stat64* status) noexcept {
  return lookAt({AT_FDCWD, path}, reinterpret_cast<struct stat*>(status), AT_SYMLINK_NOFOLLOW);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  return lookAt({folder, path}, status, flags);
}

int fstatat64(int folder, const char* path, struct stat64* status, int flags) noexcept {
  return lookAt({folder, path}, reinterpret_cast<struct stat*>(status), flags);
}

ssize_t read(int descriptor, void* bytes, std::size_t size) {
  if (isToFail("read", descriptor)) return -1;
  return ::syscall(SYS_read, descriptor, bytes, size);
}

ssize_t pread(int descriptor, void* bytes, std::size_t size, off_t offset) {
  if (isToFail("read", descriptor)) return -1;
  return ::syscall(SYS_pread64, descriptor, bytes, size, offset);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
  if (isToFail("write", descriptor)) return -1;
  return ::syscall(SYS_write, descriptor, bytes, shortened(descriptor, size));
}

int fsync(int descriptor) {
  return flush(descriptor, SYS_fsync);
}

int fdatasync(int descriptor) {
  return flush(descriptor, SYS_fdatasync);
}

/// The descriptor is gone however close ends, as the system has it.
int close(int descriptor) {
  const bool isFault = s_isArmed && !isWithoutAccess(descriptor) && isToFail("close", descriptor);
  const int code = errno;
  const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
  if (!isFault) return result;
  errno = code;
  return -1;
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) {
  if (isToFail("rename", PlaceAt{toFolder, to})) return -1;
  return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, 0));
}

int fchmod(int descriptor, mode_t mode) {
  if (isToFail("mode", descriptor)) return -1;
  return static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

int fchown(int descriptor, uid_t owner, gid_t group) {
  if (isToFail("owner", descriptor)) return -1;
  return static_cast<int>(::syscall(SYS_fchown, descriptor, owner, group));
}

int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size, int flags) noexcept {
  if (isToFail("attribute", descriptor)) return -1;
  return static_cast<int>(::syscall(SYS_fsetxattr, descriptor, name, value, size, flags));
}

int flock(int descriptor, int operation) {
  if (isToFail("lock", descriptor)) return -1;
  return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

int faccessat(int folder, const char* path, int mode, int /*flags*/) noexcept {
  if (isToFail("access", PlaceAt{folder, path})) return -1;
  return static_cast<int>(::syscall(SYS_faccessat, folder, path, mode));
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
  if (isToFail("mkdir", PlaceAt{folder, path})) return -1;
  return static_cast<int>(::syscall(SYS_mkdirat, folder, path, mode));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

}  // extern "C"
