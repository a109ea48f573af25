#include <core/format.h>
#include <resources/folder_names.h>
#include <resources/folder_watcher.h>
#include <resources/passing_name.h>
#include <resources/path_links.h>

#include <sys/inotify.h>
#include <sys/stat.h>

#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <system_error>

namespace Tal::FS {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kFileMask = IN_MODIFY | IN_CLOSE_WRITE;
/// What is done to a file that has lost its name is no concern of the one that took it.
constexpr std::uint32_t kMask =
    kFileMask | IN_MOVED_FROM | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_ONLYDIR | IN_EXCL_UNLINK;

/// Links may multiply the ways through a tree without end.
constexpr std::size_t kMostFolders = 100'000;

/// Watches are shared by all of a user's programs. Files of several names beyond are only looked at.
constexpr std::size_t kMostWatchedFiles = 1000;

constexpr FolderWatcher::Clock::duration kWritingStep = std::chrono::milliseconds(100);

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

constexpr const char* kOtherWay =
    "; files are looked at a few times a second instead, which notices changes later";

bool isLink(const fs::path& path) {
  std::error_code error;
  return fs::is_symlink(path, error);
}

}  // namespace

FolderWatcher::Identity FolderWatcher::identityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

FolderWatcher::FolderWatcher(std::vector<fs::path> roots, ChangeCollector& collector,
                             Clock::duration longestWriterPause)
    : roots_(std::move(roots)), collector_(collector), longestWriterPause_(longestWriterPause) {
  begin(false);
}

void FolderWatcher::begin(bool isNews) {
  openQueue();
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    watchAnchor(root);
    add({root, {}}, isNews);
  }
}

void FolderWatcher::openQueue() {
  inotify_ = Descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (inotify_) return;
  const int code = errno;
  collector_.noteProblem(std::string("the system does not tell of changes below the resource roots: ") +
                         std::strerror(code) + kOtherWay + "; raise fs.inotify.max_user_instances");
}

std::string FolderWatcher::join(const std::string& folder, const std::string& name) {
  return folder.empty() ? name : folder + '/' + name;
}

fs::path FolderWatcher::pathOf(const Key& folder) const {
  return folder.second.empty() ? roots_[folder.first] : roots_[folder.first] / folder.second;
}

void FolderWatcher::watchAnchor(std::size_t root) {
  std::error_code error;
  const fs::path path = fs::absolute(roots_[root], error).lexically_normal();
  const fs::path named = path.has_filename() ? path : path.parent_path();
  if (error || !named.has_relative_path()) return;
  // A folder above that cannot be watched is no loss: looks find the root's place.
  const int descriptor = ::inotify_add_watch(inotify_.get(), named.parent_path().c_str(), kMask);
  if (descriptor < 0) return;
  std::vector<Anchor>& anchors = anchors_[descriptor];
  const bool isKnown =
      std::any_of(anchors.begin(), anchors.end(), [=](const Anchor& other) { return other.root == root; });
  if (!isKnown) anchors.push_back({root, named.filename().string()});
}

int FolderWatcher::watch(const fs::path& folder) {
  if (!inotify_) return -1;
  const int descriptor = ::inotify_add_watch(inotify_.get(), folder.c_str(), kMask);
  const int code = errno;
  if (descriptor >= 0 || code == ENOENT || code == ENOTDIR) return descriptor;
  collector_.noteProblem("the system does not tell of changes in \"" + escapeControls(folder.native()) +
                         "\" and perhaps in other folders: " + std::strerror(code) + kOtherWay +
                         (code == ENOSPC ? "; raise fs.inotify.max_user_watches" : "; make it readable"));
  return -1;
}

bool FolderWatcher::isWatched(const Folder& folder) const {
  return watched_.contains(folder.watch);
}

void FolderWatcher::add(const Key& top, bool isNews) {
  std::vector<Key> pending = {top};
  while (!pending.empty()) {
    const Key key = std::move(pending.back());
    pending.pop_back();
    std::vector<Key> below;
    if (addOne(key, isNews, below)) pending.insert(pending.end(), below.begin(), below.end());
  }
}

bool FolderWatcher::addOne(const Key& key, bool isNews, std::vector<Key>& below) {
  const fs::path path = pathOf(key);
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return false;
  if (isAstray(key, identityOf(status))) return false;
  if (folders_.size() == kMostFolders) {
    collector_.noteProblem("there are more folders below the resource roots than can be watched (" +
                           std::to_string(kMostFolders) + "); name roots that hold less");
    return false;
  }
  // Watched first, looked into second: what comes in between is then found twice rather than never.
  const int descriptor = watch(path);
  Folder& folder = folders_[key];
  folder.identity = identityOf(status);
  folder.watch = descriptor;
  if (descriptor >= 0) watched_[descriptor].push_back(key);
  for (const std::string& name : namesIn(path).value_or(std::vector<std::string>())) {
    struct stat entry {};
    if (::stat((path / name).c_str(), &entry) != 0) continue;
    if (S_ISDIR(entry.st_mode)) {
      below.emplace_back(key.first, join(key.second, name));
    } else if (S_ISREG(entry.st_mode) && !isPassingName(name)) {
      isNews ? notePresence(key, name, entry) : keep(key, name, entry);
    }
  }
  return true;
}

void FolderWatcher::keep(const Key& folder, const std::string& name, const struct stat& status) {
  File& file = folders_[folder].files[name];
  file.identity = identityIn(status);
  unwatchFile({folder, name}, file);
  if (status.st_nlink > 1) watchFile({folder, name}, file);
  const fs::path path = pathOf(folder) / name;
  if (!isLink(path)) return;
  // It may be gone by now, and then leads nowhere.
  if (const fs::path target = resolvedPath(path); !target.empty()) links_[target].emplace(folder, name);
}

void FolderWatcher::watchFile(const FilePlace& place, File& file) {
  if (!inotify_ || watchedFiles_.size() >= kMostWatchedFiles) return;
  const fs::path path = pathOf(place.first) / place.second;
  file.watch = ::inotify_add_watch(inotify_.get(), path.c_str(), kFileMask);
  if (file.watch >= 0) watchedFiles_[file.watch].insert(place);
}

void FolderWatcher::unwatchFile(const FilePlace& place, File& file) {
  const auto watched = watchedFiles_.find(std::exchange(file.watch, -1));
  if (watched == watchedFiles_.end()) return;
  watched->second.erase(place);
  if (!watched->second.empty()) return;
  ::inotify_rm_watch(inotify_.get(), watched->first);
  watchedFiles_.erase(watched);
}

bool FolderWatcher::isAstray(const Key& key, const Identity& identity) const {
  if (key.second.empty()) return false;
  std::string above = key.second;
  while (!above.empty()) {
    const auto slash = above.rfind('/');
    above.resize(slash == std::string::npos ? 0 : slash);
    const auto found = folders_.find({key.first, above});
    if (found != folders_.end() && found->second.identity == identity) return true;
  }
  const fs::path path = pathOf(key);
  return isLink(path) && !isPathBelow(resolvedPath(path), resolvedPath(roots_[key.first]));
}

void FolderWatcher::drop(const Key& top) {
  const bool isRoot = top.second.empty();
  auto below = folders_.lower_bound({top.first, isRoot ? std::string() : top.second + '/'});
  const Key end = isRoot ? Key(top.first + 1, {}) : Key(top.first, top.second + char('/' + 1));
  while (below != folders_.end() && below->first < end) {
    dropOne(below->first, below->second);
    below = folders_.erase(below);
  }
  const auto found = folders_.find(top);
  if (found == folders_.end()) return;
  dropOne(found->first, found->second);
  folders_.erase(found);
}

void FolderWatcher::dropOne(const Key& key, Folder& folder) {
  noteAllGone(key, folder);
  for (auto& [name, file] : folder.files) unwatchFile({key, name}, file);
  const auto watchers = watched_.find(folder.watch);
  if (watchers == watched_.end()) return;
  std::erase(watchers->second, key);
  if (!watchers->second.empty()) return;
  watched_.erase(watchers);
  // The folder itself may be alive elsewhere; what happens to it there is no concern of the roots.
  if (!anchors_.contains(folder.watch)) ::inotify_rm_watch(inotify_.get(), folder.watch);
}

void FolderWatcher::noteAllGone(const Key& key, const Folder& folder) {
  for (const auto& [name, file] : folder.files)
    collector_.note(key.first, join(key.second, name), true, false);
}

void FolderWatcher::collect() {
  alignas(inotify_event) std::array<char, kBufferSize> buffer;
  while (inotify_) {
    const ssize_t size = ::read(inotify_.get(), buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return;
    for (ssize_t place = 0; place < size;) {
      const auto& event = *reinterpret_cast<const inotify_event*>(buffer.data() + place);
      if ((event.mask & IN_Q_OVERFLOW) != 0) {
        startOver();
        return;
      }
      handle(event);
      place += static_cast<ssize_t>(sizeof(event) + event.len);
    }
  }
}

void FolderWatcher::handle(const inotify_event& event) {
  if ((event.mask & IN_IGNORED) != 0) {
    watched_.erase(event.wd);
    anchors_.erase(event.wd);
    watchedFiles_.erase(event.wd);
    return;
  }
  if (event.len == 0) {
    handleFile(event.wd, event.mask);
    return;
  }
  const std::string name = event.name;
  // Copies: handling an entry may take up and give up folders.
  if (const auto anchors = anchors_.find(event.wd); anchors != anchors_.end()) {
    for (const Anchor& anchor : std::vector<Anchor>(anchors->second))
      if (anchor.name == name) handleAnchor(anchor);
  }
  if ((event.mask & IN_ISDIR) == 0 && isPassingName(name)) return;
  if (const auto folders = watched_.find(event.wd); folders != watched_.end()) {
    for (const Key& folder : std::vector<Key>(folders->second)) handleEntry(folder, name, event.mask);
  }
}

void FolderWatcher::handleAnchor(const Anchor& anchor) {
  const Key key(anchor.root, std::string());
  struct stat status {};
  if (::stat(pathOf(key).c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    handleFolder(key, status);
  } else {
    drop(key);
  }
}

void FolderWatcher::handleFile(int watch, std::uint32_t mask) {
  const auto watched = watchedFiles_.find(watch);
  if (watched == watchedFiles_.end()) return;
  for (const auto& [folder, name] : std::set<FilePlace>(watched->second)) handleEntry(folder, name, mask);
}

void FolderWatcher::handleEntry(const Key& folder, const std::string& name, std::uint32_t mask) {
  const auto known = folders_.find(folder);
  if (known == folders_.end()) return;
  if ((mask & IN_MODIFY) != 0) {
    noteWriting(folder, name);
    return;
  }
  known->second.written.erase(name);
  const fs::path path = pathOf(folder) / name;
  struct stat status {};
  const bool isThere = ::stat(path.c_str(), &status) == 0;
  const Key below(folder.first, join(folder.second, name));
  if (!isThere || !S_ISREG(status.st_mode)) noteAbsence(folder, name);
  if (isThere && S_ISDIR(status.st_mode)) {
    handleFolder(below, status);
    return;
  }
  drop(below);
  if (!isThere || !S_ISREG(status.st_mode)) return;
  // A new file is complete when its writer closes it; a link is when it is made.
  const bool isMadeWhole = (mask & IN_CREATE) != 0 && (status.st_nlink > 1 || isLink(path));
  if ((mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0 || isMadeWhole) {
    notePresence(folder, name, status);
  } else if (status.st_size == 0) {
    noteWriting(folder, name);
  }
}

void FolderWatcher::handleFolder(const Key& key, const struct stat& status) {
  const auto known = folders_.find(key);
  if (known != folders_.end() && known->second.identity == identityOf(status)) return;
  drop(key);
  add(key, true);
}

void FolderWatcher::noteWriting(const Key& folder, const std::string& name) {
  const Clock::time_point now = Clock::now();
  const auto [known, isNew] = folders_[folder].written.try_emplace(name, now);
  // Each block that is written tells of itself; finding the links anew for each would take too long.
  if (!isNew && now - known->second < kWritingStep) return;
  known->second = now;
  if (links_.empty()) return;
  for (const auto& [linking, link] : linksTo(resolvedPath(pathOf(folder) / name)))
    folders_[linking].written[link] = now;
}

void FolderWatcher::noteAbsence(const Key& folder, const std::string& name) {
  auto& files = folders_[folder].files;
  const auto known = files.find(name);
  if (known == files.end()) return;
  unwatchFile({folder, name}, known->second);
  files.erase(known);
  collector_.note(folder.first, join(folder.second, name), true, false);
}

void FolderWatcher::notePresence(const Key& folder, const std::string& name, const struct stat& status) {
  noteOne(folder, name, status);
  if (links_.empty()) return;
  const fs::path path = pathOf(folder) / name;
  if (isLink(path)) return;
  for (const auto& [linking, link] : linksTo(resolvedPath(path))) noteOne(linking, link, status);
}

void FolderWatcher::noteOne(const Key& folder, const std::string& name, const struct stat& status) {
  folders_[folder].written.erase(name);
  const auto& files = folders_[folder].files;
  const auto known = files.find(name);
  const bool isNew = known == files.end();
  const FileIdentity now = identityIn(status);
  const bool isDoubtful = isRecent(now) || (!isNew && known->second.identity == now);
  keep(folder, name, status);
  collector_.note(folder.first, join(folder.second, name), !isNew, true, isDoubtful);
}

std::vector<FolderWatcher::FilePlace> FolderWatcher::linksTo(const fs::path& file) const {
  std::vector<FilePlace> places;
  const auto found = links_.find(file);
  if (found == links_.end()) return places;
  for (const FilePlace& place : found->second) {
    const auto& [folder, name] = place;
    const bool isStillLink = folders_.contains(folder) && resolvedPath(pathOf(folder) / name) == file;
    if (isStillLink) places.push_back(place);
  }
  return places;
}

void FolderWatcher::startOver() {
  for (const auto& [key, folder] : folders_) noteAllGone(key, folder);
  folders_.clear();
  watched_.clear();
  anchors_.clear();
  watchedFiles_.clear();
  links_.clear();
  begin(true);  // on a new queue: the old one ends with all its watches
}

}  // namespace Tal::FS
