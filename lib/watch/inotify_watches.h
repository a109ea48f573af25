#pragma once

#include <files/file_descriptor.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct inotify_event;

namespace Tal::watch {

/// A root's number and a folder's name below it, with forward slashes; empty for the root itself.
using FolderKey = std::pair<std::size_t, std::string>;

/// A folder and a name in it.
using FilePlace = std::pair<FolderKey, std::string>;

/// A root, by its number, and its name in the folder that holds it.
struct RootPlace {
  std::size_t root;
  std::string name;
};

/// The system's queue of events, and what its watches stand for. The system returns the same watch number
/// whenever the same object is watched again. So one watch may stand for several folders reached through
/// links, for several roots, or for several names of a file.
///
/// Numbers are not negative; -1 is no watch and stands for nothing. Used by one thread at a time.
class InotifyWatches {
 public:
  /// Opens an empty queue, in place of the one before and its watches. False when the system provides none,
  /// for the reason in errno; then nothing is watched.
  bool open();
  bool isOpen() const noexcept { return static_cast<bool>(queue_); }

  /// Readable when events wait; -1 when there is no queue. Owned by this object, until the next open.
  int descriptor() const noexcept { return queue_.get(); }

  /// Calls `handle` for every waiting event of a watch, in order; does not wait. When events keep coming, it
  /// ends after a bounded number of reads, and the descriptor is still readable. `handle` may add and remove
  /// watches, and must not open. False when the system has dropped events: then the ones left are not read,
  /// and only a new queue helps. The same holds after what `handle` throws, which leaves this function.
  bool readEvents(const std::function<void(const inotify_event&)>& handle);

  /// Watches the folder at `path` for what happens to its names and to the files under them. The watch, or -1
  /// when the system refuses it, for the reason in errno.
  int addFolder(const FolderKey& key, const std::filesystem::path& path);
  void removeFolder(int watch, const FolderKey& key);

  /// Watches `folder` for what happens to the root that it holds; nothing happens when the system refuses.
  void addRootPlace(const RootPlace& place, const std::filesystem::path& folder);

  /// Watches the file at `path` itself, under whatever name it is written. The watch, or -1 when the system
  /// refuses it or very many files are watched.
  int addFile(const FilePlace& place, const std::filesystem::path& path);
  void removeFile(int watch, const FilePlace& place);

  /// Whether the watch stands for a folder; no longer when the folder was deleted.
  bool hasFolders(int watch) const { return folders_.contains(watch); }

  /// What a watch stands for; copies, since handling an event may change it.
  std::vector<FolderKey> foldersOf(int watch) const;
  std::vector<RootPlace> rootPlacesOf(int watch) const;
  std::set<FilePlace> filesOf(int watch) const;

 private:
  void forget(int watch);

  files::FileDescriptor queue_;
  std::unordered_map<int, std::vector<FolderKey>> folders_;
  std::unordered_map<int, std::vector<RootPlace>> rootPlaces_;
  std::unordered_map<int, std::set<FilePlace>> files_;
};

}  // namespace Tal::watch
