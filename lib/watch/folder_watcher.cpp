#include <core/display_text.h>
#include <files/folder_names.h>
#include <files/path_links.h>
#include <files/system.h>
#include <watch/folder_watcher.h>
#include <watch/transient_name.h>

#include <fcntl.h>
#include <sys/inotify.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace Tal::watch {
namespace {

namespace fs = std::filesystem;

/// Links may multiply the ways through a tree without end.
constexpr std::size_t kMostFolders = 100'000;

constexpr const char* kOtherWay =
    "; files are polled a few times a second instead, which notices changes later";

}  // namespace

FolderWatcher::Identity FolderWatcher::identityOf(const files::FileIdentity& file) {
  return {file.device, file.inode};
}

FolderWatcher::FolderWatcher(std::vector<fs::path> roots, ChangeCollector& collector,
                             Clock::duration longestWriterPause)
    : roots_(std::move(roots)), collector_(collector), longestWriterPause_(longestWriterPause) {
  openQueue();
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    watchRootPlace(root);
    add({root, {}}, false);
  }
}

void FolderWatcher::openQueue() {
  if (watches_.open()) return;
  const int code = errno;
  collector_.noteProblem(std::string("the system does not report changes below the resource roots: ") +
                         std::strerror(code) + kOtherWay + "; raise fs.inotify.max_user_instances");
}

std::string FolderWatcher::join(const std::string& folder, const std::string& name) {
  return folder.empty() ? name : folder + '/' + name;
}

fs::path FolderWatcher::pathOf(const FolderKey& folder) const {
  return folder.second.empty() ? roots_[folder.first] : roots_[folder.first] / folder.second;
}

FilePlace FolderWatcher::placeOf(const FolderKey& folder) {
  const auto& [root, name] = folder;
  const auto slash = name.rfind('/');
  if (slash == std::string::npos) return {{root, {}}, name};
  return {{root, name.substr(0, slash)}, name.substr(slash + 1)};
}

std::vector<FilePlace> FolderWatcher::placesOf(const fs::path& file) const {
  std::vector<FilePlace> places;
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    const fs::path top = files::resolvedPath(roots_[root]);
    if (top.empty() || !files::isPathBelow(file, top)) continue;
    const fs::path below = file.lexically_relative(top);
    places.push_back({{root, below.parent_path().native()}, below.filename().native()});
  }
  return places;
}

void FolderWatcher::watchRootPlace(std::size_t root) {
  std::error_code error;
  const fs::path path = fs::absolute(roots_[root], error).lexically_normal();
  const fs::path named = path.has_filename() ? path : path.parent_path();
  if (error || !named.has_relative_path()) return;
  // A folder above that cannot be watched is no loss: polls find the root's place.
  watches_.addRootPlace({root, named.filename().string()}, named.parent_path());
}

int FolderWatcher::watchFolder(const FolderKey& key) {
  if (!watches_.isOpen()) return -1;
  const fs::path folder = pathOf(key);
  const int watch = watches_.addFolder(key, folder);
  const int code = errno;
  if (watch >= 0 || code == ENOENT || code == ENOTDIR) return watch;
  collector_.noteProblem("the system does not report changes in " + quotedName(folder.native()) +
                         " and perhaps in other folders: " + std::strerror(code) + kOtherWay +
                         (code == ENOSPC ? "; raise fs.inotify.max_user_watches" : "; make it readable"));
  return -1;
}

void FolderWatcher::add(const FolderKey& top, bool isNews) {
  std::vector<FolderKey> pending = {top};
  while (!pending.empty()) {
    const FolderKey key = std::move(pending.back());
    pending.pop_back();
    std::vector<FolderKey> below;
    if (addOne(key, isNews, below)) pending.insert(pending.end(), below.begin(), below.end());
  }
}

bool FolderWatcher::addOne(const FolderKey& key, bool isNews, std::vector<FolderKey>& below) {
  const fs::path path = pathOf(key);
  const auto status = statusOf(AT_FDCWD, path);
  if (!status || !status->isFolder || isAstray(key, *status)) return false;
  if (folders_.size() == kMostFolders) {
    collector_.noteProblem("there are more folders below the resource roots than can be watched (" +
                           std::to_string(kMostFolders) + "); name roots that hold less");
    return false;
  }
  // Watched first, listed second: what comes in between is found twice rather than never.
  const int watch = watchFolder(key);
  Folder& folder = folders_[key];
  folder.identity = identityOf(status->identity);
  folder.watch = watch;
  for (const std::string& name : files::namesIn(path).value_or(std::vector<std::string>())) {
    const auto entry = statusOf(AT_FDCWD, path / name);
    if (entry && entry->isFolder) {
      below.emplace_back(key.first, join(key.second, name));
    } else if (entry && entry->isFile && !isTransientName(name)) {
      if (isNews) {
        notePresence(key, name, *entry);
      } else {
        keep(key, name, *entry).isNoted = true;
      }
    }
  }
  return true;
}

FolderWatcher::File& FolderWatcher::keep(const FolderKey& folder, const std::string& name,
                                         const NameStatus& status) {
  File& file = folders_[folder].files[name];
  file.identity = status.identity;
  watches_.removeFile(file.watch, {folder, name});
  file.watch = status.hasOtherNames ? watchFile(folder, name) : -1;
  if (!status.isLink) return file;
  // It may be gone by now, and then leads nowhere.
  if (const fs::path target = files::resolvedPath(pathOf(folder) / name); !target.empty())
    links_[target].emplace(folder, name);
  return file;
}

int FolderWatcher::watchFile(const FolderKey& folder, const std::string& name) {
  return watches_.addFile({folder, name}, pathOf(folder) / name);
}

bool FolderWatcher::isAstray(const FolderKey& key, const NameStatus& status) const {
  if (key.second.empty()) return false;
  const Identity identity = identityOf(status.identity);
  std::string above = key.second;
  while (!above.empty()) {
    const auto slash = above.rfind('/');
    above.resize(slash == std::string::npos ? 0 : slash);
    const auto found = folders_.find({key.first, above});
    if (found != folders_.end() && found->second.identity == identity) return true;
  }
  return status.isLink &&
         !files::isPathBelow(files::resolvedPath(pathOf(key)), files::resolvedPath(roots_[key.first]));
}

void FolderWatcher::drop(const FolderKey& top) {
  const bool isRoot = top.second.empty();
  auto below = folders_.lower_bound({top.first, isRoot ? std::string() : top.second + '/'});
  const FolderKey end =
      isRoot ? FolderKey(top.first + 1, {}) : FolderKey(top.first, top.second + char('/' + 1));
  while (below != folders_.end() && below->first < end) {
    dropOne(below->first, below->second);
    below = folders_.erase(below);
  }
  const auto found = folders_.find(top);
  if (found == folders_.end()) return;
  dropOne(found->first, found->second);
  folders_.erase(found);
  if (isRoot) return;
  const auto [above, name] = placeOf(top);
  if (const auto known = folders_.find(above); known != folders_.end()) known->second.unfollowed.insert(name);
}

void FolderWatcher::dropOne(const FolderKey& key, Folder& folder) {
  noteAllGone(key, folder);
  for (const auto& [name, file] : folder.files) watches_.removeFile(file.watch, {key, name});
  watches_.removeFolder(folder.watch, key);
}

void FolderWatcher::noteAllGone(const FolderKey& key, Folder& folder) {
  for (auto& [name, file] : folder.files) {
    if (file.isNoted) collector_.noteRemoved(key.first, join(key.second, name));
    file.isNoted = false;
  }
}

template <class Work>
void FolderWatcher::doWhole(const Work& work) {
  if (std::exchange(isInDoubt_, true)) noteEverything();
  work();
  isInDoubt_ = false;
}

void FolderWatcher::collect() {
  doWhole([this] {
    const bool isComplete = watches_.readEvents([this](const inotify_event& event) { mark(event); });
    if (isComplete) {
      handleMarked();
    } else {
      noteEverything();
    }
  });
}

void FolderWatcher::poll() {
  doWhole([this] { pollAll(Noted::changed); });
}

void FolderWatcher::noteEverything() {
  marked_.clear();
  markedInOrder_.clear();
  markedRoots_.clear();
  links_.clear();
  openQueue();  // the old one ends with all its watches
  for (auto& [key, folder] : folders_) {
    folder.watch = -1;
    for (auto& [name, file] : folder.files) file.watch = -1;
  }
  pollAll(Noted::all);
}

void FolderWatcher::mark(const inotify_event& event) {
  if (event.len == 0) {
    for (const auto& [folder, name] : watches_.filesOf(event.wd)) markEntry(folder, name, event.mask);
    return;
  }
  const std::string name = event.name;
  for (const RootPlace& place : watches_.rootPlacesOf(event.wd)) {
    if (place.name == name) markedRoots_.insert(place.root);
  }
  if ((event.mask & IN_ISDIR) == 0 && isTransientName(name)) return;
  for (const FolderKey& folder : watches_.foldersOf(event.wd)) markEntry(folder, name, event.mask);
}

void FolderWatcher::markEntry(const FolderKey& folder, const std::string& name, std::uint32_t mask) {
  const auto known = folders_.find(folder);
  if (known == folders_.end()) return;
  if ((mask & IN_MODIFY) != 0) {
    known->second.written[name] = Clock::now();
  } else {
    known->second.written.erase(name);
    const auto [marked, isNew] = marked_.try_emplace({folder, name}, 0);
    if (isNew) markedInOrder_.push_back(marked->first);
    marked->second |= mask;
  }
}

void FolderWatcher::handleMarked() {
  for (const std::size_t root : std::exchange(markedRoots_, {})) handleRoot(root);
  const auto marked = std::exchange(marked_, {});
  for (const FilePlace& place : std::exchange(markedInOrder_, {}))
    handleEntry(place.first, place.second, marked.at(place));
}

void FolderWatcher::handleRoot(std::size_t root) {
  const FolderKey key(root, std::string());
  const auto status = statusOf(AT_FDCWD, pathOf(key));
  if (status && status->isFolder) {
    handleFolder(key, status->identity);
  } else {
    drop(key);
  }
}

void FolderWatcher::handleEntry(const FolderKey& folder, const std::string& name, std::uint32_t mask) {
  const auto known = folders_.find(folder);
  if (known == folders_.end()) return;
  const auto status = statusOf(AT_FDCWD, pathOf(folder) / name);
  const bool isFile = status && status->isFile;
  const FolderKey below(folder.first, join(folder.second, name));
  if (!isFile) noteAbsence(folder, name);
  if (status && status->isFolder) {
    handleFolder(below, status->identity);
    return;
  }
  drop(below);
  if (!isFile) return;
  // A new file is complete when its writer closes it; a link is when it is made.
  const bool isMadeWhole = (mask & IN_CREATE) != 0 && (status->hasOtherNames || status->isLink);
  if ((mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0 || isMadeWhole) {
    notePresence(folder, name, *status);
  } else if (status->identity.size == 0) {
    known->second.written[name] = Clock::now();
  }
}

void FolderWatcher::handleFolder(const FolderKey& key, const files::FileIdentity& now) {
  const auto known = folders_.find(key);
  if (known != folders_.end() && known->second.identity == identityOf(now)) return;
  drop(key);
  add(key, true);
}

void FolderWatcher::noteAbsence(const FolderKey& folder, const std::string& name) {
  Folder& holder = folders_[folder];
  const auto known = holder.files.find(name);
  if (known == holder.files.end()) return;
  // Noted before it is forgotten: without memory for the note, the file is still known.
  if (known->second.isNoted) collector_.noteRemoved(folder.first, join(folder.second, name));
  const int watch = known->second.watch;
  holder.files.erase(known);
  watches_.removeFile(watch, {folder, name});
  holder.unfollowed.insert(name);
}

void FolderWatcher::notePresence(const FolderKey& folder, const std::string& name, const NameStatus& status) {
  noteOne(folder, name, status);
  if (links_.empty() || status.isLink) return;
  NameStatus toLink = status;
  toLink.isLink = true;
  for (const auto& [linking, link] : linksTo(files::resolvedPath(pathOf(folder) / name)))
    noteOne(linking, link, toLink);
}

void FolderWatcher::noteOne(const FolderKey& folder, const std::string& name, const NameStatus& status) {
  const auto& known = folders_[folder].files;
  const auto before = known.find(name);
  const bool isNew = before == known.end() || !before->second.isNoted;
  const files::FileIdentity now = status.identity;
  const bool isDoubtful = files::isRecent(now) || (!isNew && before->second.identity == now);
  // Known before it is noted: without memory for the note, it is noted with everything else.
  File& file = keep(folder, name, status);
  const std::string resource = join(folder.second, name);
  if (isNew) {
    collector_.noteAdded(folder.first, resource, isDoubtful);
  } else {
    collector_.noteModified(folder.first, resource, isDoubtful);
  }
  file.isNoted = true;
}

std::vector<FilePlace> FolderWatcher::linksTo(const fs::path& file) const {
  std::vector<FilePlace> places;
  const auto found = links_.find(file);
  if (found == links_.end()) return places;
  for (const FilePlace& place : found->second) {
    const auto& [folder, name] = place;
    const bool isStillLink = folders_.contains(folder) && files::resolvedPath(pathOf(folder) / name) == file;
    if (isStillLink) places.push_back(place);
  }
  return places;
}

}  // namespace Tal::watch
