#include <core/nearest_name.h>
#include <model/file_set.h>
#include <resources/atomic_file.h>
#include <resources/new_folder.h>

#include <exception>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

}  // namespace

void FileSet::add(fs::path target, BasicStringRef content) {
  entries_.push_back({std::move(target), content, {}, false});
}

std::string FileSet::write() {
  std::string fault;
  try {
    for (const Entry& entry : entries_) makeFolders(entry.target.parent_path());
    for (Entry& entry : entries_) keepOld(entry);
    for (Entry& entry : entries_) replace(entry);
  } catch (const std::exception& failure) {
    fault = failure.what();
    undo();
  }
  removeBackups();
  return fault;
}

void FileSet::makeFolders(const fs::path& folder) {
  std::error_code ignored;
  if (folder.empty() || fs::is_directory(folder, ignored)) return;
  makeFolders(folder.parent_path());
  if (const std::optional<FileFailure> failure = makeFolder(folder))
    throw std::runtime_error(failure->text + "; " + failure->hint);
  madeFolders_.push_back(folder);
}

void FileSet::keepOld(Entry& entry) {
  std::error_code failure;
  if (!fs::exists(entry.target, failure)) return;
  entry.target = fs::canonical(entry.target, failure);
  entry.backup = temporaryBeside(entry.target);
  fs::create_hard_link(entry.target, entry.backup, failure);
  // Not every file system has hard links.
  if (failure) fs::copy_file(entry.target, entry.backup, failure);
  if (!failure) return;
  throw std::runtime_error("keeping the old " + quotedName(entry.target.string()) + ": " + failure.message());
}

void FileSet::replace(Entry& entry) {
  const std::optional<FileFailure> failure = replaceFile(entry.target, entry.content);
  entry.isWritten = !failure || failure->isReplaced;
  if (failure) throw std::runtime_error(failure->text + "; " + failure->hint);
}

void FileSet::undo() noexcept {
  std::error_code ignored;
  for (Entry& entry : entries_) {
    if (!entry.isWritten) continue;
    if (entry.backup.empty()) {
      fs::remove(entry.target, ignored);
    } else {
      fs::rename(std::exchange(entry.backup, {}), entry.target, ignored);
    }
  }
  removeBackups();
  for (auto folder = madeFolders_.rbegin(); folder != madeFolders_.rend(); ++folder) {
    fs::remove(*folder, ignored);  // only an empty one is removed
  }
}

void FileSet::removeBackups() noexcept {
  std::error_code ignored;
  for (const Entry& entry : entries_) {
    if (!entry.backup.empty()) fs::remove(entry.backup, ignored);
  }
}

}  // namespace Tal
