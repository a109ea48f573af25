#pragma once

#include <files/system.h>

#include <fcntl.h>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace support {

/// The operating system, and how often it is given the name of one file. It is the process's as long as it
/// lives.
class CountingSystem : public Tal::files::System {
 public:
  /// Files of that name count, in whatever folder.
  explicit CountingSystem(std::string name) : name_(std::move(name)) {}

  std::atomic<int> namings = 0;       ///< to examine it, open it or resolve its path
  std::atomic<int> openings = 0;      ///< for reading
  std::atomic<int> replacements = 0;  ///< by another file

  void reset() { namings = openings = replacements = 0; }

  int openat(int folder, const char* name, int flags, unsigned mode) override {
    if (isMeant(name)) ++namings;
    if (isMeant(name) && (flags & (O_ACCMODE | O_PATH)) == O_RDONLY) ++openings;
    return System::openat(folder, name, flags, mode);
  }
  int openat2(int folder, const char* name, int flags, std::uint64_t resolve) override {
    if (isMeant(name)) ++namings;
    return System::openat2(folder, name, flags, resolve);
  }
  int fstatat(int folder, const char* name, struct stat& status, int flags) override {
    if (isMeant(name)) ++namings;
    return System::fstatat(folder, name, status, flags);
  }
  std::filesystem::path canonical(const std::filesystem::path& path, std::error_code& error) override {
    if (isMeant(path)) ++namings;
    return System::canonical(path, error);
  }
  std::filesystem::path weaklyCanonical(const std::filesystem::path& path, std::error_code& error) override {
    if (isMeant(path)) ++namings;
    return System::weaklyCanonical(path, error);
  }
  int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) override {
    if (isMeant(to)) ++replacements;
    return System::renameat2(fromFolder, from, toFolder, to, flags);
  }

 private:
  bool isMeant(const std::filesystem::path& path) const { return path.filename() == name_; }

  std::string name_;
  Tal::files::SystemReplacement replacement_{*this};
};

}  // namespace support
