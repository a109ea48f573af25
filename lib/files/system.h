#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

struct pollfd;
struct stat;

namespace Tal::files {

/// The calls to the operating system that this library makes about files, folders and their changes. Each has
/// the name, the arguments, the result and the errno of the system's own. Usable on any thread.
class System {
 public:
  System() = default;
  System(const System&) = delete;
  System& operator=(const System&) = delete;
  virtual ~System() = default;

  /// @name Opening
  /// @{
  virtual int openat(int folder, const char* name, int flags, unsigned mode);
  /// openat2; `resolve` says where the name may lead.
  virtual int openat2(int folder, const char* name, int flags, std::uint64_t resolve);
  /// The second descriptor is closed by exec.
  virtual int dup(int descriptor);
  virtual int close(int descriptor);
  /// @}
  /// @name Contents
  /// @{
  virtual std::ptrdiff_t read(int descriptor, void* bytes, std::size_t size);
  virtual std::ptrdiff_t pread(int descriptor, void* bytes, std::size_t size, std::size_t offset);
  virtual std::ptrdiff_t write(int descriptor, const void* bytes, std::size_t size);
  virtual std::ptrdiff_t sendfile(int to, int from, std::size_t size);
  virtual int fsync(int descriptor);
  /// @}
  /// @name What stands where
  /// @{
  virtual int fstat(int descriptor, struct stat& status);
  virtual int fstatat(int folder, const char* name, struct stat& status, int flags);
  virtual int faccessat(int folder, const char* name, int mode);
  /// readdir of a whole folder, without "." and "..": appends to `names`. 0, or -1 with errno.
  virtual int list(int folder, std::vector<std::string>& names);
  /// The path without links; it has to exist.
  virtual std::filesystem::path canonical(const std::filesystem::path& path, std::error_code& error);
  /// The same, as far as it exists.
  virtual std::filesystem::path weaklyCanonical(const std::filesystem::path& path, std::error_code& error);
  /// @}
  /// @name Names
  /// @{
  virtual int mkdirat(int folder, const char* name, unsigned mode);
  virtual int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags);
  virtual int linkat(int fromFolder, const char* from, int toFolder, const char* to);
  virtual int unlinkat(int folder, const char* name, int flags);
  /// @}
  /// @name Locks, owners, rights and attributes
  /// @{
  virtual int flock(int descriptor, int operation);
  virtual int fchmod(int descriptor, unsigned mode);
  virtual int fchown(int descriptor, unsigned owner, unsigned group);
  virtual std::ptrdiff_t flistxattr(int descriptor, char* names, std::size_t size);
  virtual std::ptrdiff_t listxattr(const char* path, char* names, std::size_t size);
  virtual std::ptrdiff_t fgetxattr(int descriptor, const char* name, void* value, std::size_t size);
  virtual std::ptrdiff_t getxattr(const char* path, const char* name, void* value, std::size_t size);
  virtual int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size);
  virtual int fremovexattr(int descriptor, const char* name);
  /// @}
  /// @name Changes
  /// @{
  virtual int inotify_init1(int flags);
  virtual int inotify_add_watch(int queue, const char* path, std::uint32_t mask);
  virtual int inotify_rm_watch(int queue, int watch);
  virtual int eventfd(unsigned count, int flags);
  virtual int poll(pollfd* sources, std::size_t count, int milliseconds);
  /// Throws std::system_error when the system has no more threads.
  virtual std::thread startThread(std::function<void()> run);
  /// @}
};

/// The system that the process works with: the operating system, unless a test has put another in its place.
System& system() noexcept;

/// Puts another system in the place of the present one for as long as it lives. No other thread may work with
/// files when it is made or destroyed. For tests.
class SystemReplacement {
 public:
  explicit SystemReplacement(System& replacement) noexcept;
  ~SystemReplacement();
  SystemReplacement(const SystemReplacement&) = delete;
  SystemReplacement& operator=(const SystemReplacement&) = delete;

 private:
  System* former_;
};

}  // namespace Tal::files
