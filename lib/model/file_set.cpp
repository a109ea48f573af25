#include <model/file_set.h>
#include <resources/files/atomic_file.h>
#include <resources/files/new_folder.h>

#include <exception>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

std::string lineOf(const FileFailure& failure) {
  return failure.text + "; " + failure.hint;
}

[[noreturn]] void raise(const FileFailure& failure) {
  throw std::runtime_error(lineOf(failure));
}

}  // namespace

void FileSet::add(fs::path target, BasicStringRef content) {
  entries_.push_back({std::move(target), content, BackupFile(), false});
}

std::string FileSet::write() {
  std::string fault;
  try {
    for (const Entry& entry : entries_) makeFolders(entry.target.parent_path());
    for (Entry& entry : entries_) keepOld(entry);
    for (Entry& entry : entries_) replace(entry);
  } catch (const std::exception& failure) {
    std::string notUndone;
    undo(notUndone);  // first of all that needs memory
    fault = failure.what() + notUndone;
  }
  for (Entry& entry : entries_) entry.old.discard();
  return fault;
}

void FileSet::makeFolders(const fs::path& folder) {
  std::error_code ignored;
  if (folder.empty() || fs::is_directory(folder, ignored)) return;
  makeFolders(folder.parent_path());
  if (const std::optional<FileFailure> failure = makeFolder(folder)) raise(*failure);
  madeFolders_.push_back(folder);
}

void FileSet::keepOld(Entry& entry) {
  std::error_code error;
  if (!fs::exists(entry.target, error)) return;
  const fs::path target = fs::canonical(entry.target, error);
  if (!error) entry.target = target;
  if (const std::optional<FileFailure> failure = entry.old.keep(entry.target)) raise(*failure);
}

void FileSet::replace(Entry& entry) {
  entry.isWritten = true;  // perhaps, when that throws
  const std::optional<FileFailure> failure = replaceFile(entry.target, entry.content);
  entry.isWritten = !failure || failure->isReplaced;
  if (failure) raise(*failure);
}

void FileSet::undo(Entry& entry, std::string& fault) {
  if (!entry.isWritten) return;
  if (entry.old.isKept()) {
    const std::optional<FileFailure> failure = entry.old.restore();
    if (failure && !failure->isReplaced) fault += "; " + lineOf(*failure);
  } else {
    std::error_code ignored;
    fs::remove(entry.target, ignored);
  }
}

void FileSet::undo(std::string& fault) {
  for (Entry& entry : entries_) {
    try {
      undo(entry, fault);
    } catch (const std::exception&) {
      // There is no memory to say it with. The other files have still to be undone.
    }
  }
  for (auto folder = madeFolders_.rbegin(); folder != madeFolders_.rend(); ++folder) {
    std::error_code ignored;
    fs::remove(*folder, ignored);  // only an empty one is removed
  }
}

}  // namespace Tal
