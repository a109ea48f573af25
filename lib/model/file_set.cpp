#include <core/nearest_name.h>
#include <fcntl.h>
#include <model/file_set.h>
#include <resources/descriptor.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const fs::path& file, const char* what) {
  throw std::system_error(errno, std::generic_category(), quotedName(file.string()) + " " + what);
}

/// A name in a folder that no other file has, hidden from listings.
fs::path freeName(const fs::path& folder) {
  static std::atomic<unsigned> s_count = 0;
  return folder / (".import-" + std::to_string(::getpid()) + "-" + std::to_string(++s_count));
}

bool writeAll(int descriptor, BasicStringRef content) {
  while (!content.empty()) {
    const ssize_t count = ::write(descriptor, content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void flushFolder(const fs::path& folder) {
  const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor || ::fsync(descriptor.get()) != 0) fail(folder, "cannot be flushed");
}

}  // namespace

void FileSet::add(fs::path target, BasicStringRef content) {
  entries_.push_back({std::move(target), content, {}, {}, false});
}

std::string FileSet::write() {
  try {
    for (Entry& entry : entries_) {
      makeFolders(entry.target.parent_path());
      stage(entry);
    }
    for (Entry& entry : entries_) place(entry);
    for (const Entry& entry : entries_) flushFolder(entry.target.parent_path());
  } catch (const std::system_error& failure) {
    undo();
    return failure.what();
  }
  for (const Entry& entry : entries_) {
    if (!entry.backup.empty()) ::unlink(entry.backup.c_str());
  }
  return {};
}

void FileSet::makeFolders(const fs::path& folder) {
  if (folder.empty() || fs::is_directory(folder)) return;
  makeFolders(folder.parent_path());
  fs::create_directory(folder);
  madeFolders_.push_back(folder);
}

void FileSet::stage(Entry& entry) {
  const fs::path name = freeName(entry.target.parent_path());
  constexpr mode_t kMode = 0666;  // what the process masks is left out
  Descriptor descriptor(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
  if (!descriptor) fail(entry.target, "cannot be made");
  entry.staged = name;
  const bool isWritten = writeAll(descriptor.get(), entry.content) && ::fsync(descriptor.get()) == 0;
  if (!isWritten || ::close(descriptor.release()) != 0) fail(entry.target, "cannot be written");
}

void FileSet::place(Entry& entry) {
  if (::access(entry.target.c_str(), F_OK) == 0) {
    const fs::path backup = freeName(entry.target.parent_path());
    if (::link(entry.target.c_str(), backup.c_str()) != 0) fail(entry.target, "cannot be replaced");
    entry.backup = backup;
  }
  if (std::rename(entry.staged.c_str(), entry.target.c_str()) != 0)
    fail(entry.target, "cannot be put in place");
  entry.staged.clear();
  entry.isPlaced = true;
}

void FileSet::undo() noexcept {
  for (Entry& entry : entries_) {
    if (entry.isPlaced && entry.backup.empty()) ::unlink(entry.target.c_str());
    if (entry.isPlaced && !entry.backup.empty()) {
      std::rename(entry.backup.c_str(), entry.target.c_str());
    } else if (!entry.backup.empty()) {
      ::unlink(entry.backup.c_str());
    }
    if (!entry.staged.empty()) ::unlink(entry.staged.c_str());
  }
  for (auto folder = madeFolders_.rbegin(); folder != madeFolders_.rend(); ++folder) ::rmdir(folder->c_str());
}

}  // namespace Tal
