#include <core/format.h>
#include <resources/atomic_file.h>
#include <resources/folder_watcher.h>
#include <resources/path_links.h>

#include <dirent.h>
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

constexpr std::uint32_t kMask =
    IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_ONLYDIR;

/// Links may multiply the ways through a tree without end.
constexpr std::size_t kMostFolders = 100'000;

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

std::vector<std::string> namesIn(const fs::path& folder) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(folder.c_str()));
  while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

bool isLink(const fs::path& path) {
  std::error_code error;
  return fs::is_symlink(path, error);
}

}  // namespace

FolderWatcher::Identity FolderWatcher::identityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

FolderWatcher::FolderWatcher(std::vector<fs::path> roots, ChangeCollector& collector)
    : roots_(std::move(roots)), collector_(collector) {
  begin(false);
}

void FolderWatcher::begin(bool isNews) {
  inotify_ = Descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!inotify_) {
    collector_.noteProblem(std::string("the resource roots cannot be watched for changes: ") +
                           std::strerror(errno) +
                           "; raise fs.inotify.max_user_instances, or reload by hand after a change");
    return;
  }
  for (std::size_t root = 0; root < roots_.size(); ++root) {
    watchAnchor(root);
    add({root, {}}, isNews);
  }
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
  const int descriptor = watch(named.parent_path());
  if (descriptor >= 0) anchors_[descriptor].push_back({root, named.filename().string()});
}

int FolderWatcher::watch(const fs::path& folder) {
  const int descriptor = ::inotify_add_watch(inotify_.get(), folder.c_str(), kMask);
  const int code = errno;
  if (descriptor >= 0 || code == ENOENT || code == ENOTDIR) return descriptor;
  collector_.noteProblem("changes in \"" + escapeControls(folder.native()) +
                         "\" and perhaps in other folders will not be noticed: " + std::strerror(code) +
                         (code == ENOSPC ? "; raise fs.inotify.max_user_watches" : "; make it readable") +
                         ", or reload by hand after a change");
  return -1;
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
  folders_[key] = {identityOf(status), descriptor, {}};
  if (descriptor >= 0) watched_[descriptor].push_back(key);
  for (const std::string& name : namesIn(path)) {
    struct stat entry {};
    if (::stat((path / name).c_str(), &entry) != 0) continue;
    if (S_ISDIR(entry.st_mode)) {
      below.emplace_back(key.first, join(key.second, name));
    } else if (S_ISREG(entry.st_mode) && !isTemporaryName(name)) {
      addFile(key, name, isNews);
    }
  }
  return true;
}

void FolderWatcher::addFile(const Key& folder, const std::string& name, bool isNews) {
  if (isNews) {
    notePresence(folder, name);
    return;
  }
  folders_[folder].files.insert(name);
  const fs::path path = pathOf(folder) / name;
  if (isLink(path)) links_[resolvedPath(path)].emplace(folder, name);
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

void FolderWatcher::dropOne(const Key& key, const Folder& folder) {
  noteAllGone(key, folder);
  const auto watchers = watched_.find(folder.watch);
  if (watchers == watched_.end()) return;
  std::erase(watchers->second, key);
  if (!watchers->second.empty()) return;
  watched_.erase(watchers);
  // The folder itself may be alive elsewhere; what happens to it there is no concern of the roots.
  if (!anchors_.contains(folder.watch)) ::inotify_rm_watch(inotify_.get(), folder.watch);
}

void FolderWatcher::noteAllGone(const Key& key, const Folder& folder) {
  for (const std::string& name : folder.files)
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
    return;
  }
  if (event.len == 0) return;
  const std::string name = event.name;
  // Copies: handling an entry may take up and give up folders.
  if (const auto anchors = anchors_.find(event.wd); anchors != anchors_.end()) {
    for (const Anchor& anchor : std::vector<Anchor>(anchors->second))
      if (anchor.name == name) handleAnchor(anchor);
  }
  if (isTemporaryName(name)) return;
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

void FolderWatcher::handleEntry(const Key& folder, const std::string& name, std::uint32_t mask) {
  if (!folders_.contains(folder)) return;
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
  if ((mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0 || isMadeWhole) notePresence(folder, name);
}

void FolderWatcher::handleFolder(const Key& key, const struct stat& status) {
  const auto known = folders_.find(key);
  if (known != folders_.end() && known->second.identity == identityOf(status)) return;
  drop(key);
  add(key, true);
}

void FolderWatcher::noteAbsence(const Key& folder, const std::string& name) {
  if (folders_[folder].files.erase(name) != 0)
    collector_.note(folder.first, join(folder.second, name), true, false);
}

void FolderWatcher::notePresence(const Key& folder, const std::string& name) {
  const bool isNew = folders_[folder].files.insert(name).second;
  collector_.note(folder.first, join(folder.second, name), !isNew, true);
  const fs::path path = pathOf(folder) / name;
  if (isLink(path)) {
    links_[resolvedPath(path)].emplace(folder, name);
  } else if (!links_.empty()) {
    noteLinksTo(resolvedPath(path));
  }
}

void FolderWatcher::noteLinksTo(const fs::path& file) {
  const auto found = links_.find(file);
  if (found == links_.end()) return;
  for (const auto& [folder, name] : found->second) {
    const bool isStillLink = folders_.contains(folder) && resolvedPath(pathOf(folder) / name) == file;
    if (isStillLink) collector_.note(folder.first, join(folder.second, name), true, true);
  }
}

void FolderWatcher::startOver() {
  for (const auto& [key, folder] : folders_) noteAllGone(key, folder);
  folders_.clear();
  watched_.clear();
  anchors_.clear();
  links_.clear();
  begin(true);  // on a new queue: the old one ends with all its watches
}

}  // namespace Tal::FS
