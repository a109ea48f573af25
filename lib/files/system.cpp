#include <files/system.h>

#include <dirent.h>
#include <linux/openat2.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

namespace Tal::files {
namespace {

struct StreamCloser {
  void operator()(DIR* stream) const noexcept { ::closedir(stream); }
};

/// The operating system; never destroyed, since threads and statics may use it until the process ends.
union OperatingSystem {
  OperatingSystem() noexcept : system() {}
  OperatingSystem(const OperatingSystem&) = delete;
  OperatingSystem& operator=(const OperatingSystem&) = delete;
  ~OperatingSystem() {}

  System system;
};

std::atomic<System*>& current() noexcept {
  static OperatingSystem s_operatingSystem;
  static std::atomic<System*> s_current = &s_operatingSystem.system;
  return s_current;
}

}  // namespace

int System::openat(int folder, const char* name, int flags, unsigned mode) {
  return ::openat(folder, name, flags, mode);
}

int System::openat2(int folder, const char* name, int flags, std::uint64_t resolve) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags);
  how.resolve = resolve;
  return static_cast<int>(::syscall(SYS_openat2, folder, name, &how, sizeof(how)));
}

int System::dup(int descriptor) {
  return ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}

int System::close(int descriptor) {
  return ::close(descriptor);
}

std::ptrdiff_t System::read(int descriptor, void* bytes, std::size_t size) {
  return ::read(descriptor, bytes, size);
}

std::ptrdiff_t System::pread(int descriptor, void* bytes, std::size_t size, std::size_t offset) {
  return ::pread(descriptor, bytes, size, static_cast<off_t>(offset));
}

std::ptrdiff_t System::write(int descriptor, const void* bytes, std::size_t size) {
  return ::write(descriptor, bytes, size);
}

std::ptrdiff_t System::sendfile(int to, int from, std::size_t size) {
  return ::sendfile(to, from, nullptr, size);
}

int System::fsync(int descriptor) {
  return ::fsync(descriptor);
}

int System::fstat(int descriptor, struct stat& status) {
  return ::fstat(descriptor, &status);
}

int System::fstatat(int folder, const char* name, struct stat& status, int flags) {
  return ::fstatat(folder, name, &status, flags);
}

int System::faccessat(int folder, const char* name, int mode) {
  return ::faccessat(folder, name, mode, 0);
}

int System::list(int folder, std::vector<std::string>& names) {
  const int copy = dup(folder);  // which the stream closes
  if (copy < 0) return -1;
  const std::unique_ptr<DIR, StreamCloser> stream(::fdopendir(copy));
  if (!stream) {
    const int code = errno;
    ::close(copy);
    errno = code;
    return -1;
  }
  ::rewinddir(stream.get());
  errno = 0;
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  return errno == 0 ? 0 : -1;
}

std::filesystem::path System::canonical(const std::filesystem::path& path, std::error_code& error) {
  return std::filesystem::canonical(path, error);
}

std::filesystem::path System::weaklyCanonical(const std::filesystem::path& path, std::error_code& error) {
  return std::filesystem::weakly_canonical(path, error);
}

int System::mkdirat(int folder, const char* name, unsigned mode) {
  return ::mkdirat(folder, name, mode);
}

int System::renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  // Not every file system and kernel knows the other call.
  if (flags == 0) return ::renameat(fromFolder, from, toFolder, to);
  return ::renameat2(fromFolder, from, toFolder, to, flags);
}

int System::linkat(int fromFolder, const char* from, int toFolder, const char* to) {
  return ::linkat(fromFolder, from, toFolder, to, 0);
}

int System::unlinkat(int folder, const char* name, int flags) {
  return ::unlinkat(folder, name, flags);
}

int System::flock(int descriptor, int operation) {
  return ::flock(descriptor, operation);
}

int System::fchmod(int descriptor, unsigned mode) {
  return ::fchmod(descriptor, mode);
}

int System::fchown(int descriptor, unsigned owner, unsigned group) {
  return ::fchown(descriptor, owner, group);
}

std::ptrdiff_t System::flistxattr(int descriptor, char* names, std::size_t size) {
  return ::flistxattr(descriptor, names, size);
}

std::ptrdiff_t System::listxattr(const char* path, char* names, std::size_t size) {
  return ::listxattr(path, names, size);
}

std::ptrdiff_t System::fgetxattr(int descriptor, const char* name, void* value, std::size_t size) {
  return ::fgetxattr(descriptor, name, value, size);
}

std::ptrdiff_t System::getxattr(const char* path, const char* name, void* value, std::size_t size) {
  return ::getxattr(path, name, value, size);
}

int System::fsetxattr(int descriptor, const char* name, const void* value, std::size_t size) {
  return ::fsetxattr(descriptor, name, value, size, 0);
}

int System::fremovexattr(int descriptor, const char* name) {
  return ::fremovexattr(descriptor, name);
}

int System::inotify_init1(int flags) {
  return ::inotify_init1(flags);
}

int System::inotify_add_watch(int queue, const char* path, std::uint32_t mask) {
  return ::inotify_add_watch(queue, path, mask);
}

int System::inotify_rm_watch(int queue, int watch) {
  return ::inotify_rm_watch(queue, watch);
}

int System::eventfd(unsigned count, int flags) {
  return ::eventfd(count, flags);
}

int System::poll(pollfd* sources, std::size_t count, int milliseconds) {
  return ::poll(sources, count, milliseconds);
}

std::thread System::startThread(std::function<void()> run) {
  return std::thread(std::move(run));
}

System& system() noexcept {
  return *current();
}

SystemReplacement::SystemReplacement(System& replacement) noexcept
    : former_(current().exchange(&replacement)) {}

SystemReplacement::~SystemReplacement() {
  current() = former_;
}

}  // namespace Tal::files
