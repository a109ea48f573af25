#include <core/display_text.h>
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
constexpr int kAttempts = 5;

std::string lineOf(const FileFailure& failure) {
  return failure.text + "; " + failure.hint;
}

void raiseIf(const std::optional<FileFailure>& failure) {
  if (failure) throw std::runtime_error(lineOf(*failure));
}

[[noreturn]] void raiseChanged(const FileSet::Entry& entry) {
  throw std::runtime_error("another program has changed " + quotedName(entry.place.path().native()) +
                           " meanwhile; look at that change and try again");
}

}  // namespace

FileSet::~FileSet() {
  for (auto entry = entries_.rbegin(); entry != entries_.rend() && !isDone_; ++entry)
    entry->place.removeMadeFolders();
}

FileSet::Entry& FileSet::add(std::filesystem::path name, BasicStringRef content) {
  return entries_.emplace_back(std::move(name), content);
}

std::string FileSet::open(const std::filesystem::path& root, const std::optional<FileIdentity>& taken) {
  // The one who wrote before may have removed the folder, or somebody moved it, while this one waited.
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::string fault = openPlaces(root, taken);
    OpenPlace again;
    const bool isSame = fault.empty() && !again.open({root, entries_.front().name, taken}) &&
                        again.isInFolderOf(entries_.front().place);
    if (isSame || !fault.empty()) return fault;
  }
  return "the folder of " + quotedName(entries_.front().place.path().native()) +
         " is exchanged again and again; wait until that is done";
}

std::string FileSet::openPlaces(const std::filesystem::path& root, const std::optional<FileIdentity>& taken) {
  OpenRoot opened;
  if (const auto failure = opened.open(root, taken)) return lineOf(*failure);
  OpenPlace& first = entries_.front().place;
  if (const auto failure = first.open(opened, entries_.front().name)) return lineOf(*failure);
  if (const std::string holder = waitForLock(first.folder(), kPatience); !holder.empty()) {
    return holder + " writes into the folder of " + quotedName(first.path().native()) +
           " and does not come to an end; try again when it has ended";
  }
  for (Entry& entry : entries_) {
    if (&entry.place != &first) {
      const bool isBeside = entry.name.parent_path() == entries_.front().name.parent_path();
      auto failure = isBeside ? entry.place.openBeside(first, entry.name.filename().native()) : std::nullopt;
      // A link leads to a place of its own.
      if (!failure && (!isBeside || entry.place.isLink())) failure = entry.place.open(opened, entry.name);
      if (failure) return lineOf(*failure);
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
    // A second name touches its time of change.
    FileIdentity expected = *first.found;
    first.found = first.place.identity();
    if (first.found) expected.changed = first.found->changed;
    if (first.found != expected) raiseChanged(first);
  }
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
    if (&*entry != &first && entry->place.identity() != entry->found) raiseChanged(*entry);
    const bool isToGo = entry->place.isLink() || (entry->found && &*entry != &first);
    if (isToGo) raiseIf(entry->old.take());
  }
}

void FileSet::replace(Entry& entry) {
  const bool isFirst = &entry == &entries_.front();
  const std::string& pattern = entry.found && isFirst ? entry.place.name() : entry.old.name();
  std::optional<FileIdentity> version = isFirst ? entry.found : std::nullopt;
  const std::optional<FileFailure> failure = replaceVersionLike(pattern, entry.place, entry.content, version);
  entry.written = version;
  raiseIf(failure);
}

// Not what another program has put there since.
void FileSet::removeWritten(Entry& entry) {
  const std::optional<FileIdentity> now = entry.written ? entry.place.identity() : std::nullopt;
  if (isSameFile(now, entry.written)) static_cast<void>(removeFile(entry.place));
}

void FileSet::undo(Entry& entry, std::string& fault) {
  const bool isInPlace = &entry == &entries_.front() && entry.found && !entry.written;
  if (!entry.old.isKept() || isInPlace) return;
  const std::optional<FileFailure> failure = entry.old.restore();
  if (failure && !failure->isReplaced) fault += "; " + lineOf(*failure);
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
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry)
    withoutMemory([&] { removeWritten(*entry); });
  for (Entry& entry : entries_) withoutMemory([&] { undo(entry, fault); });
}

}  // namespace Tal
