#include <core/display_text.h>
#include <files/atomic_file.h>
#include <files/file_lock.h>
#include <model/file_set.h>

#include <chrono>
#include <exception>
#include <iterator>
#include <utility>

namespace Tal {
namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr int kAttempts = 5;

Fault changed(const FileSet::Entry& entry) {
  return {FaultKind::changed,
          "another program has changed " + quotedName(entry.place.path().native()) + " meanwhile",
          "look at that change and try again"};
}

}  // namespace

FileSet::~FileSet() {
  for (auto entry = entries_.rbegin(); entry != entries_.rend() && !isDone_; ++entry)
    entry->place.removeMadeFolders();
}

FileSet::Entry& FileSet::add(std::filesystem::path name, BasicStringRef content) {
  return entries_.emplace_back(std::move(name), content);
}

Result<void> FileSet::open(const std::filesystem::path& root,
                           const std::optional<files::FileIdentity>& taken) {
  // The one who wrote before may have removed the folder, or somebody moved it, while this one waited.
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (auto opened = openPlaces(root, taken); !opened) return opened;
    const auto again = files::OpenPlace::open({root, entries_.front().name, taken});
    if (again && again->isInFolderOf(entries_.front().place)) return {};
  }
  return Fault{
      FaultKind::busy,
      "the folder of " + quotedName(entries_.front().place.path().native()) + " is exchanged again and again",
      "wait until that is done"};
}

Result<void> FileSet::openPlaces(const std::filesystem::path& root,
                                 const std::optional<files::FileIdentity>& taken) {
  const auto opened = files::OpenRoot::open(root, taken);
  if (!opened) return opened.fault();
  for (Entry& entry : entries_) {
    auto place = placeOf(entry, *opened);
    if (!place) return std::move(place).fault();
    entry.place.removeMadeFolders();  // of an attempt before
    entry.place = *std::move(place);
    if (&entry == &entries_.front()) {
      if (auto locked = files::waitForLock(entry.place.folder(), kPatience); !locked) {
        Fault fault = std::move(locked).fault();
        fault.what =
            "cannot write into the folder of " + quotedName(entry.place.path().native()) + ": " + fault.what;
        addRemedy(fault, "try again");
        return fault;
      }
    }
    const auto standing = files::checkReplaceable(entry.place);
    if (!standing) return standing.fault();
    entry.found = standing->file;
  }
  return {};
}

// The folder of the first file is opened once for all that are beside it.
Result<files::OpenPlace> FileSet::placeOf(const Entry& entry, const files::OpenRoot& root) const {
  const Entry& first = entries_.front();
  if (&entry != &first && entry.name.parent_path() == first.name.parent_path()) {
    auto place = first.place.beside(entry.name.filename().native());
    if (!place || !place->found().isLink) return place;  // a link leads to a place of its own
  }
  return files::OpenPlace::open(root, entry.name);
}

Result<void> FileSet::write() {
  Result<void> written;
  std::string notUndone;
  try {
    written = writeAll();
    if (!written) notUndone = undo();
  } catch (const std::exception& exception) {
    notUndone = undo();  // first of all that needs memory
    written = Fault{FaultKind::system, exception.what(), "close some programs and try again"};
  }
  isDone_ = static_cast<bool>(written);
  for (Entry& entry : entries_) entry.old.discard();
  if (written) return written;
  Fault fault = std::move(written).fault();
  fault.remedy += notUndone;
  return fault;
}

Result<void> FileSet::writeAll() {
  if (auto done = putOldAside(); !done) return done;
  for (Entry& entry : entries_)
    if (auto done = replace(entry); !done) return done;
  return {};
}

Result<void> FileSet::putOldAside() {
  Entry& first = entries_.front();
  if (first.found) {
    if (auto kept = first.old.keep(); !kept) return kept;
    // A second name touches its time of change.
    files::FileIdentity expected = *first.found;
    const auto now = first.place.examine();
    if (!now) return now.fault();
    first.found = now->file;
    if (first.found) expected.changed = first.found->changed;
    if (first.found != expected) return changed(first);
  }
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
    const auto now = entry->place.examine();
    if (!now) return now.fault();
    if (&*entry != &first && now->file != entry->found) return changed(*entry);
    const bool isToGo = now->isLink || (entry->found && &*entry != &first);
    if (!isToGo) continue;
    if (auto taken = entry->old.take(); !taken) return taken;
  }
  return {};
}

Result<void> FileSet::replace(Entry& entry) {
  const bool isFirst = &entry == &entries_.front();
  const std::string& pattern = entry.found && isFirst ? entry.place.name() : entry.old.name();
  const std::optional<files::FileIdentity> version = isFirst ? entry.found : std::nullopt;
  auto replaced = files::replaceVersionLike(pattern, entry.place, entry.content, version);
  if (!replaced) return std::move(replaced).fault();
  entry.written = replaced->version;
  return std::move(replaced->flushed);
}

// Not what another program has put there since.
std::string FileSet::removeWritten(Entry& entry) {
  if (!entry.written) return {};
  const auto now = entry.place.examine();
  Result<void> removed;
  if (!now) removed = now.fault();
  if (now && files::isSameFile(now->file, entry.written)) removed = files::removeFile(entry.place);
  if (removed) return {};
  return "; the new " + quotedName(entry.place.path().native()) +
         " could not be removed: " + removed.fault().what + "; remove it";
}

std::string FileSet::undo(Entry& entry) {
  const bool isInPlace = &entry == &entries_.front() && entry.found && !entry.written;
  if (!entry.old.isKept() || isInPlace) return {};
  const Result<void> restored = entry.old.restore();
  if (restored || restored.fault().kind == FaultKind::unflushed) return {};
  return "; " + textOf(restored.fault());
}

std::string FileSet::undo() {
  const auto withoutMemory = [](const auto& step) {
    try {
      step();
    } catch (const std::exception&) {
      // There is no memory to say it with. The other files have still to be undone.
    }
  };
  std::string notUndone;
  // In the order of a write, for a process that is ended now.
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry)
    withoutMemory([&] { notUndone += removeWritten(*entry); });
  for (Entry& entry : entries_) withoutMemory([&] { notUndone += undo(entry); });
  return notUndone;
}

}  // namespace Tal
