#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// The whole content of a file, byte for byte; a failed expectation and "" when it cannot be read.
std::string readFile(const std::filesystem::path& file);

/// Makes or overwrites a file in place, its folders too; a failed expectation when that fails.
void writeFile(const std::filesystem::path& file, std::string_view content);

/// A new, empty folder of its own, removed with everything in it at the end of the scope. Files are named by
/// paths relative to it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }
  std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

  std::string read(const std::filesystem::path& name) const { return readFile(path_ / name); }
  void write(const std::filesystem::path& name, std::string_view content) const {
    writeFile(path_ / name, content);
  }

  /// Replaces a file as careful programs do: a new file beside it, renamed over it.
  void replace(const std::filesystem::path& name, std::string_view content) const;

  /// Every file and folder below, relative, sorted, with forward slashes.
  std::vector<std::string> listing() const;

 private:
  std::filesystem::path path_;
};

}  // namespace support
