#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <watch/inotify_watches.h>

#include <sys/inotify.h>

#include <unistd.h>
#include <algorithm>
#include <array>
#include <cstdint>

namespace Tal::watch {
namespace {

constexpr std::uint32_t kFileMask = IN_MODIFY | IN_CLOSE_WRITE;
/// IN_EXCL_UNLINK: writes to a deleted file that is still open would be reported under the name that it had,
/// which may be another file's by then.
constexpr std::uint32_t kFolderMask =
    kFileMask | IN_MOVED_FROM | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_ONLYDIR | IN_EXCL_UNLINK;

/// All programs of a user share a limited number of watches. Beyond so many, files are only polled.
constexpr std::size_t kMostFiles = 1000;

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

/// Events may come as fast as they are read, for instance when reading them makes a watched file grow. So
/// many full buffers hold more than the system's queue, of 16,384 events of the longest names.
constexpr int kMostReads = 100;

template <class Table>
auto entryOf(const Table& table, int watch) {
  const auto found = table.find(watch);
  return found == table.end() ? typename Table::mapped_type() : found->second;
}

}  // namespace

bool InotifyWatches::open() {
  folders_.clear();
  rootPlaces_.clear();
  files_.clear();
  queue_ = files::FileDescriptor();  // first, since their number is limited
  queue_ = files::FileDescriptor(files::system().inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  return isOpen();
}

bool InotifyWatches::readEvents(const std::function<void(const inotify_event&)>& handle) {
  alignas(inotify_event) std::array<char, kBufferSize> buffer;
  for (int reads = 0; reads < kMostReads && isOpen(); ++reads) {
    const ssize_t size =
        files::retryOnEintr([&] { return files::system().read(queue_.get(), buffer.data(), buffer.size()); });
    if (size <= 0) break;
    for (ssize_t place = 0; place < size;) {
      const auto& event = *reinterpret_cast<const inotify_event*>(buffer.data() + place);
      if ((event.mask & IN_Q_OVERFLOW) != 0) return false;
      if ((event.mask & IN_IGNORED) != 0) {
        forget(event.wd);
      } else {
        handle(event);
      }
      place += static_cast<ssize_t>(sizeof(event) + event.len);
    }
  }
  return true;
}

int InotifyWatches::addFolder(const FolderKey& key, const std::filesystem::path& path) {
  const int watch = files::system().inotify_add_watch(queue_.get(), path.c_str(), kFolderMask);
  if (watch >= 0) folders_[watch].push_back(key);
  return watch;
}

void InotifyWatches::removeFolder(int watch, const FolderKey& key) {
  const auto found = folders_.find(watch);
  if (found == folders_.end()) return;
  std::erase(found->second, key);
  if (!found->second.empty()) return;
  folders_.erase(found);
  // The folder itself may be alive elsewhere; what happens to it there is no concern of the roots.
  if (!rootPlaces_.contains(watch)) files::system().inotify_rm_watch(queue_.get(), watch);
}

void InotifyWatches::addRootPlace(const RootPlace& place, const std::filesystem::path& folder) {
  const int watch = files::system().inotify_add_watch(queue_.get(), folder.c_str(), kFolderMask);
  if (watch < 0) return;
  std::vector<RootPlace>& places = rootPlaces_[watch];
  const bool isKnown = std::any_of(places.begin(), places.end(),
                                   [&](const RootPlace& other) { return other.root == place.root; });
  if (!isKnown) places.push_back(place);
}

int InotifyWatches::addFile(const FilePlace& place, const std::filesystem::path& path) {
  if (files_.size() >= kMostFiles) return -1;
  const int watch = files::system().inotify_add_watch(queue_.get(), path.c_str(), kFileMask);
  if (watch >= 0) files_[watch].insert(place);
  return watch;
}

void InotifyWatches::removeFile(int watch, const FilePlace& place) {
  const auto found = files_.find(watch);
  if (found == files_.end()) return;
  found->second.erase(place);
  if (!found->second.empty()) return;
  files_.erase(found);
  files::system().inotify_rm_watch(queue_.get(), watch);
}

std::vector<FolderKey> InotifyWatches::foldersOf(int watch) const {
  return entryOf(folders_, watch);
}

std::vector<RootPlace> InotifyWatches::rootPlacesOf(int watch) const {
  return entryOf(rootPlaces_, watch);
}

std::set<FilePlace> InotifyWatches::filesOf(int watch) const {
  return entryOf(files_, watch);
}

void InotifyWatches::forget(int watch) {
  folders_.erase(watch);
  rootPlaces_.erase(watch);
  files_.erase(watch);
}

}  // namespace Tal::watch
