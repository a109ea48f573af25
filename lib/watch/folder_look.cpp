#include <files/folder_names.h>
#include <files/path_links.h>
#include <files/system.h>
#include <watch/folder_watcher.h>
#include <watch/transient_name.h>

#include <sys/stat.h>

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

void FolderWatcher::lookAtAll(Noted noted) {
  if (!watches_.isOpen()) openQueue();
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    watchRootPlace(root);
    if (!folders_.contains({root, {}})) add({root, {}}, true);
  }
  for (auto next = folders_.begin(); next != folders_.end();) {
    const FolderKey key = next->first;
    lookAt(key, noted);
    next = folders_.upper_bound(key);
  }
}

void FolderWatcher::lookAt(const FolderKey& key, Noted noted) {
  const files::FileDescriptor descriptor(
      files::system().openat(AT_FDCWD, pathOf(key).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0));
  if (!descriptor) {
    if (isAbsence(errno)) drop(key);
    return;
  }
  struct stat status {};
  if (files::system().fstat(descriptor.get(), status) != 0) return;
  Folder& folder = folders_[key];
  if (!(folder.identity == identityOf(status))) {
    handleFolder(key, status);
    return;
  }
  const bool wasWatched = watches_.hasFolders(folder.watch);
  if (!wasWatched) {
    folder.written.clear();
    folder.watch = watchFolder(key);
  }
  const files::FileIdentity now = files::identityIn(status);
  if (!wasWatched || folder.listed != now) {
    const bool isComplete = lookAtNames(key, descriptor.get());
    folder.listed = isComplete && !files::isRecent(now) ? std::optional(now) : std::nullopt;
  } else {
    lookAtUnfollowed(key, descriptor.get());
  }
  if (noted == Noted::all) {
    noteFiles(key, descriptor.get());
  } else {
    lookAtFiles(key, descriptor.get(), wasWatched);
  }
}

bool FolderWatcher::lookAtNames(const FolderKey& key, int folder) {
  const auto names = files::namesIn(pathOf(key));
  if (!names) {
    lookAtUnfollowed(key, folder);
    return false;
  }
  folders_[key].unfollowed.clear();
  for (const std::string& name : *names) lookAtName(key, name, folder);
  return true;
}

void FolderWatcher::lookAtUnfollowed(const FolderKey& key, int folder) {
  const std::set<std::string> names = std::exchange(folders_[key].unfollowed, {});
  for (const std::string& name : names) lookAtName(key, name, folder);
}

void FolderWatcher::lookAtName(const FolderKey& key, const std::string& name, int folder) {
  Folder& known = folders_[key];
  const FolderKey below(key.first, join(key.second, name));
  if (known.files.contains(name) || folders_.contains(below)) return;
  struct stat status {};
  const bool isThere = files::system().fstatat(folder, name.c_str(), status, 0) == 0;
  if (isThere && S_ISREG(status.st_mode)) {
    if (!isTransientName(name)) known.unsettled.try_emplace(name);
    return;
  }
  if (isThere && S_ISDIR(status.st_mode)) add(below, true);
  // A folder may be refused: it lies outside its root, is one of those above, or is one too many.
  if (!folders_.contains(below)) known.unfollowed.insert(name);
}

void FolderWatcher::lookAtFiles(const FolderKey& key, int folder, bool isTold) {
  Folder& known = folders_[key];
  std::map<std::string, files::FileIdentity> unsettled = std::exchange(known.unsettled, {});
  std::vector<std::string> gone;
  for (auto& [name, file] : known.files) {
    struct stat status {};
    const bool isThere = files::system().fstatat(folder, name.c_str(), status, 0) == 0;
    if (!isThere && !isAbsence(errno)) continue;
    if (!isThere || !S_ISREG(status.st_mode)) {
      gone.push_back(name);
      continue;
    }
    if (status.st_nlink > 1 && file.watch < 0) file.watch = watchFile(key, name);
    const files::FileIdentity now = files::identityIn(status);
    if (isSame(file.identity, now, isTold)) {
      file.identity = now;
    } else {
      unsettled.try_emplace(name);
    }
  }
  for (const std::string& name : gone) noteAbsence(key, name);
  for (const auto& [name, before] : unsettled) settle({key, name}, folder, before, isTold);
}

void FolderWatcher::noteFiles(const FolderKey& key, int folder) {
  Folder& known = folders_[key];
  std::set<std::string> names;
  for (const auto& [name, file] : known.files) names.insert(name);
  for (const auto& [name, before] : std::exchange(known.unsettled, {})) names.insert(name);
  for (const std::string& name : names) {
    struct stat status {};
    const bool isThere = files::system().fstatat(folder, name.c_str(), status, 0) == 0;
    if (!isThere && !isAbsence(errno)) continue;
    if (isThere && S_ISREG(status.st_mode)) {
      notePresence(key, name, status);
    } else {
      noteAbsence(key, name);
    }
  }
}

void FolderWatcher::settle(const FilePlace& place, int folder, const files::FileIdentity& before,
                           bool isTold) {
  const auto& [key, name] = place;
  Folder& known = folders_[key];
  struct stat status {};
  const bool isThere =
      files::system().fstatat(folder, name.c_str(), status, 0) == 0 && S_ISREG(status.st_mode);
  if (!isThere) {
    known.unfollowed.insert(name);
    return;
  }
  const files::FileIdentity now = files::identityIn(status);
  const auto file = known.files.find(name);
  if (file != known.files.end() && isSame(file->second.identity, now, isTold)) return;
  if (now == before && !files::isRecent(now) && !isBeingWritten(place)) {
    known.written.erase(name);
    notePresence(key, name, status);
  } else {
    known.unsettled[name] = now;
  }
}

bool FolderWatcher::isBeingWritten(const FilePlace& place) const {
  if (hasWriter(place)) return true;
  const auto& [folder, name] = place;
  const std::filesystem::path path = pathOf(folder) / name;
  if (!files::isLink(path)) return false;
  const std::vector<FilePlace> targets = placesOf(files::resolvedPath(path));
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

bool FolderWatcher::isSame(const files::FileIdentity& noted, const files::FileIdentity& now, bool isTold) {
  if (!isTold) return noted == now;
  files::FileIdentity renamed = noted;
  renamed.changed = now.changed;
  return renamed == now;
}

}  // namespace Tal::watch
