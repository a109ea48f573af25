#include <files/folder_names.h>
#include <files/path_links.h>
#include <files/system.h>
#include <watch/folder_watcher.h>
#include <watch/transient_name.h>

#include <fcntl.h>
#include <algorithm>
#include <cerrno>
#include <utility>

namespace Tal::watch {
namespace {

/// Whether the last operation failed since there is nothing at the path, and not for want of something else.
bool isAbsence(int code) {
  return code == ENOENT || code == ENOTDIR || code == ELOOP;
}

}  // namespace

void FolderWatcher::pollAll(Noted noted) {
  if (!watches_.isOpen()) openQueue();
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    watchRootPlace(root);
    if (!folders_.contains({root, {}})) add({root, {}}, true);
  }
  for (auto next = folders_.begin(); next != folders_.end();) {
    const FolderKey key = next->first;
    pollFolder(key, noted);
    next = folders_.upper_bound(key);
  }
}

void FolderWatcher::pollFolder(const FolderKey& key, Noted noted) {
  const files::FileDescriptor descriptor(
      files::system().openat(AT_FDCWD, pathOf(key).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0));
  if (!descriptor) {
    if (isAbsence(errno)) drop(key);
    return;
  }
  const auto now = files::identityOf(descriptor.get());
  if (!now) return;
  Folder& folder = folders_[key];
  if (!(folder.identity == identityOf(*now))) {
    handleFolder(key, *now);
    return;
  }
  const bool wasWatched = watches_.hasFolders(folder.watch);
  if (!wasWatched) {
    folder.written.clear();
    folder.watch = watchFolder(key);
  }
  if (!wasWatched || folder.listed != now) {
    const bool isComplete = pollNames(key, descriptor.get());
    folder.listed = isComplete && !files::isRecent(*now) ? now : std::nullopt;
  } else {
    pollUnfollowed(key, descriptor.get());
  }
  if (noted == Noted::all) {
    noteFiles(key, descriptor.get());
  } else {
    pollFiles(key, descriptor.get(), wasWatched);
  }
}

bool FolderWatcher::pollNames(const FolderKey& key, int folder) {
  const auto names = files::namesIn(pathOf(key));
  if (!names) {
    pollUnfollowed(key, folder);
    return false;
  }
  folders_[key].unfollowed.clear();
  for (const std::string& name : *names) pollName(key, name, folder);
  return true;
}

void FolderWatcher::pollUnfollowed(const FolderKey& key, int folder) {
  const std::set<std::string> names = std::exchange(folders_[key].unfollowed, {});
  for (const std::string& name : names) pollName(key, name, folder);
}

void FolderWatcher::pollName(const FolderKey& key, const std::string& name, int folder) {
  Folder& known = folders_[key];
  const FolderKey below(key.first, join(key.second, name));
  if (known.files.contains(name) || folders_.contains(below)) return;
  const auto status = statusOf(folder, name);
  if (status && status->isFile) {
    if (!isTransientName(name)) known.unsettled.try_emplace(name);
    return;
  }
  if (status && status->isFolder) add(below, true);
  // A folder may be refused: it lies outside its root, is one of those above, or is one too many.
  if (!folders_.contains(below)) known.unfollowed.insert(name);
}

void FolderWatcher::pollFiles(const FolderKey& key, int folder, bool isWatched) {
  Folder& known = folders_[key];
  std::map<std::string, files::FileIdentity> unsettled = std::exchange(known.unsettled, {});
  std::vector<std::string> gone;
  for (auto& [name, file] : known.files) {
    const auto status = statusOf(folder, name);
    if (!status && !isAbsence(errno)) continue;
    if (!status || !status->isFile) {
      gone.push_back(name);
      continue;
    }
    if (status->hasOtherNames && file.watch < 0) file.watch = watchFile(key, name);
    const files::FileIdentity now = status->identity;
    if (isSame(file.identity, now, isWatched)) {
      file.identity = now;
    } else {
      unsettled.try_emplace(name);
    }
  }
  for (const std::string& name : gone) noteAbsence(key, name);
  for (const auto& [name, before] : unsettled) settle({key, name}, folder, before, isWatched);
}

void FolderWatcher::noteFiles(const FolderKey& key, int folder) {
  Folder& known = folders_[key];
  std::set<std::string> names;
  for (const auto& [name, file] : known.files) names.insert(name);
  for (const auto& [name, before] : std::exchange(known.unsettled, {})) names.insert(name);
  for (const std::string& name : names) {
    const auto status = statusOf(folder, name);
    if (!status && !isAbsence(errno)) continue;
    if (status && status->isFile) {
      notePresence(key, name, *status);
    } else {
      noteAbsence(key, name);
    }
  }
}

void FolderWatcher::settle(const FilePlace& place, int folder, const files::FileIdentity& before,
                           bool isWatched) {
  const auto& [key, name] = place;
  Folder& known = folders_[key];
  const auto status = statusOf(folder, name);
  if (!status || !status->isFile) {
    known.unfollowed.insert(name);
    return;
  }
  const files::FileIdentity now = status->identity;
  const auto file = known.files.find(name);
  if (file != known.files.end() && isSame(file->second.identity, now, isWatched)) return;
  if (now == before && !files::isRecent(now) && !isBeingWritten(place, status->isLink)) {
    known.written.erase(name);
    notePresence(key, name, *status);
  } else {
    known.unsettled[name] = now;
  }
}

bool FolderWatcher::isBeingWritten(const FilePlace& place, bool isLink) const {
  if (hasWriter(place)) return true;
  if (!isLink) return false;
  const auto& [folder, name] = place;
  const std::vector<FilePlace> targets = placesOf(files::resolvedPath(pathOf(folder) / name));
  return std::any_of(targets.begin(), targets.end(),
                     [this](const FilePlace& target) { return hasWriter(target); });
}

bool FolderWatcher::hasWriter(const FilePlace& place) const {
  const auto folder = folders_.find(place.first);
  if (folder == folders_.end()) return false;
  const auto& files = folder->second.written;
  const auto written = files.find(place.second);
  return written != files.end() && Clock::now() - written->second < longestWriterPause_;
}

bool FolderWatcher::isSame(const files::FileIdentity& noted, const files::FileIdentity& now, bool isWatched) {
  if (!isWatched) return noted == now;
  files::FileIdentity renamed = noted;
  renamed.changed = now.changed;
  return renamed == now;
}

}  // namespace Tal::watch
