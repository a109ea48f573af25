#include <model/file_set.h>
#include <resources/files/atomic_file.h>
#include <resources/files/new_folder.h>

#include <exception>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace Tal {
namespace {

std::string lineOf(const FileFailure& failure) {
  return failure.text + "; " + failure.hint;
}

void raiseIf(const std::optional<FileFailure>& failure) {
  if (failure) throw std::runtime_error(lineOf(*failure));
}

}  // namespace

void FileSet::add(const RootedPath& place, BasicStringRef content) {
  entries_.emplace_back(place, content);
}

std::string FileSet::write() {
  std::list<NewFolders> made;
  std::string fault;
  for (const Entry& entry : entries_) made.emplace_back(entry.rooted.path().parent_path());
  try {
    prepare();
    removeOld();
    for (Entry& entry : entries_) replace(entry);
    for (NewFolders& folders : made) folders.keep();
  } catch (const std::exception& failure) {
    std::string notUndone;
    undo(notUndone);  // first of all that needs memory
    fault = failure.what() + notUndone;
  }
  for (Entry& entry : entries_) entry.old.discard();
  return fault;
}

void FileSet::prepare() {
  for (Entry& entry : entries_) {
    raiseIf(entry.place.open(entry.rooted));
    raiseIf(refusalToReplace(entry.place));
  }
  Entry& first = entries_.front();
  if (first.place.identity()) raiseIf(first.old.keep());
}

void FileSet::removeOld() {
  for (auto entry = entries_.rbegin(); entry != std::prev(entries_.rend()); ++entry)
    if (entry->place.identity()) raiseIf(entry->old.take());
}

void FileSet::replace(Entry& entry) {
  entry.isWritten = true;  // perhaps, when that throws
  const std::string& pattern = entry.place.identity() ? entry.place.name() : entry.old.name();
  const std::optional<FileFailure> failure = makeFileLike(pattern, entry.place, entry.content);
  entry.isWritten = !failure || failure->isReplaced;
  raiseIf(failure);
}

void FileSet::undo(Entry& entry, std::string& fault) {
  if (entry.old.isKept()) {
    const std::optional<FileFailure> failure = entry.old.restore();
    if (failure && !failure->isReplaced) fault += "; " + lineOf(*failure);
  } else if (entry.isWritten) {
    static_cast<void>(removeFile(entry.place));
  }
}

void FileSet::undo(std::string& fault) {
  const auto withoutMemory = [](const auto& step) {
    try {
      step();
    } catch (const std::exception&) {
      // There is no memory to say it with. The other files have still to be undone.
    }
  };
  // In the order of a write, for a process that is ended now.
  for (auto entry = entries_.rbegin(); entry != std::prev(entries_.rend()); ++entry)
    if (entry->isWritten) withoutMemory([&] { static_cast<void>(removeFile(entry->place)); });
  for (Entry& entry : entries_) withoutMemory([&] { undo(entry, fault); });
}

}  // namespace Tal
