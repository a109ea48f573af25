#include <model/file_set.h>
#include <resources/files/atomic_file.h>
#include <resources/files/file_lock.h>

#include <chrono>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Tal {
namespace {

constexpr std::chrono::seconds kPatience{10};

std::string lineOf(const FileFailure& failure) {
  return failure.text + "; " + failure.hint;
}

void raiseIf(const std::optional<FileFailure>& failure) {
  if (failure) throw std::runtime_error(lineOf(*failure));
}

}  // namespace

FileSet::~FileSet() {
  for (auto entry = entries_.rbegin(); entry != entries_.rend() && !isDone_; ++entry)
    entry->place.removeMadeFolders();
}

FileSet::Entry& FileSet::add(std::filesystem::path name, BasicStringRef content) {
  return entries_.emplace_back(std::move(name), content);
}

std::string FileSet::open(const std::filesystem::path& root) {
  OpenRoot opened;
  if (const auto failure = opened.open(root)) return lineOf(*failure);
  for (Entry& entry : entries_) {
    if (const auto failure = entry.place.open(opened, entry.name)) return lineOf(*failure);
    const bool isFirst = &entry == &entries_.front();
    if (isFirst && !waitForLock(entry.place.folder(), kPatience)) {
      return "another program writes into the folder of " + entry.place.path().string() +
             " and does not come to an end; try again when it has ended";
    }
    if (const auto failure = refusalToReplace(entry.place)) return lineOf(*failure);
    entry.found = entry.place.identity();
  }
  return {};
}

std::string FileSet::write() {
  std::string fault;
  try {
    putOldAside();
    for (Entry& entry : entries_) replace(entry);
    isDone_ = true;
  } catch (const std::exception& failure) {
    std::string notUndone;
    undo(notUndone);  // first of all that needs memory
    fault = failure.what() + notUndone;
  }
  for (Entry& entry : entries_) entry.old.discard();
  return fault;
}

void FileSet::putOldAside() {
  Entry& first = entries_.front();
  if (first.found) {
    raiseIf(first.old.keep());
    first.found = first.place.identity();  // a second name touches its time of change
  }
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
    const bool isToGo = entry->place.isLink() || (entry->found && &*entry != &first);
    if (isToGo) raiseIf(entry->old.take());
  }
}

void FileSet::replace(Entry& entry) {
  const bool isFirst = &entry == &entries_.front();
  const std::string& pattern = entry.found && isFirst ? entry.place.name() : entry.old.name();
  entry.isWritten = true;  // perhaps, when that throws
  const std::optional<FileFailure> failure =
      replaceVersionLike(pattern, entry.place, entry.content, isFirst ? entry.found : std::nullopt);
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
