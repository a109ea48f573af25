#include <resources/folder_names.h>
#include <resources/folder_watcher.h>
#include <resources/passing_name.h>

#include <sys/stat.h>

#include <fcntl.h>
#include <cerrno>
#include <utility>

namespace Tal::FS {
namespace {

/// Whether the last operation failed since there is nothing at the path, and not for want of something else.
bool isAbsence(int code) {
  return code == ENOENT || code == ENOTDIR || code == ELOOP;
}

}  // namespace

void FolderWatcher::look() {
  if (!inotify_) openQueue();
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    watchAnchor(root);
    if (!folders_.contains({root, {}})) add({root, {}}, true);
  }
  for (auto next = folders_.begin(); next != folders_.end();) {
    const Key key = next->first;
    lookAt(key);
    next = folders_.upper_bound(key);
  }
}

void FolderWatcher::lookAt(const Key& key) {
  const Descriptor descriptor(::open(pathOf(key).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor) {
    if (isAbsence(errno)) drop(key);
    return;
  }
  struct stat status {};
  if (::fstat(descriptor.get(), &status) != 0) return;
  Folder& folder = folders_[key];
  if (!(folder.identity == identityOf(status))) {
    handleFolder(key, status);
    return;
  }
  const bool wasWatched = isWatched(folder);
  if (!wasWatched) {
    folder.written.clear();
    folder.watch = watch(pathOf(key));
    if (folder.watch >= 0) watched_[folder.watch].push_back(key);
  }
  const FileIdentity now = identityIn(status);
  if (!wasWatched || folder.listed != now) {
    lookAtNames(key, descriptor.get());
    folder.listed = isRecent(now) ? std::nullopt : std::optional(now);
  }
  lookAtFiles(key, descriptor.get(), wasWatched);
}

void FolderWatcher::lookAtNames(const Key& key, int folder) {
  const auto names = namesIn(pathOf(key));
  if (!names) return;
  for (const std::string& name : *names) {
    const Key below(key.first, join(key.second, name));
    if (folders_[key].files.contains(name) || folders_.contains(below)) continue;
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, 0) != 0) continue;
    if (S_ISDIR(status.st_mode)) {
      add(below, true);
    } else if (S_ISREG(status.st_mode) && !isPassingName(name)) {
      folders_[key].unsettled.try_emplace(name);
    }
  }
}

void FolderWatcher::lookAtFiles(const Key& key, int folder, bool isTold) {
  Folder& known = folders_[key];
  std::map<std::string, FileIdentity> unsettled = std::exchange(known.unsettled, {});
  std::vector<std::string> gone;
  for (auto& [name, file] : known.files) {
    struct stat status {};
    const bool isThere = ::fstatat(folder, name.c_str(), &status, 0) == 0;
    if (!isThere && !isAbsence(errno)) continue;
    if (!isThere || !S_ISREG(status.st_mode)) {
      gone.push_back(name);
      continue;
    }
    if (status.st_nlink > 1 && file.watch < 0) watchFile({key, name}, file);
    const FileIdentity now = identityIn(status);
    if (isSame(file.identity, now, isTold)) {
      file.identity = now;
    } else {
      unsettled.try_emplace(name);
    }
  }
  for (const std::string& name : gone) noteAbsence(key, name);
  for (const auto& [name, before] : unsettled) settle({key, name}, folder, before, isTold);
}

void FolderWatcher::settle(const FilePlace& place, int folder, const FileIdentity& before, bool isTold) {
  const auto& [key, name] = place;
  Folder& known = folders_[key];
  struct stat status {};
  const bool isThere = ::fstatat(folder, name.c_str(), &status, 0) == 0 && S_ISREG(status.st_mode);
  if (!isThere) return;
  const FileIdentity now = identityIn(status);
  const auto file = known.files.find(name);
  if (file != known.files.end() && isSame(file->second.identity, now, isTold)) return;
  if (now == before && !isRecent(now) && !isBeingWritten(known, name)) {
    notePresence(key, name, status);
  } else {
    known.unsettled[name] = now;
  }
}

bool FolderWatcher::isBeingWritten(const Folder& folder, const std::string& name) const {
  const auto written = folder.written.find(name);
  return written != folder.written.end() && Clock::now() - written->second < longestWriterPause_;
}

bool FolderWatcher::isSame(const FileIdentity& noted, const FileIdentity& now, bool isTold) {
  if (!isTold) return noted == now;
  FileIdentity renamed = noted;
  renamed.changed = now.changed;
  return renamed == now;
}

}  // namespace Tal::FS
