#pragma once

#include <resources/change_collector.h>
#include <resources/descriptor.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct inotify_event;
struct stat;

namespace Tal::FS {

/// Watches every folder below the roots and notes what happens to the files in them. It goes by folders, not
/// by files, so that a file may be replaced, or removed and made anew. A change counts when it is complete: a
/// file that is being written is noted when its writer closes it. Used by one thread at a time.
///
/// What is noted follows from what an event finds on the disk, not from the event's kind alone: a name that
/// was left may have been taken again before the event is read.
class FolderWatcher {
 public:
  /// Finds the files that are there, which are no changes, and begins to watch. What cannot be watched is
  /// noted as a problem of `collector`, which must outlive the watcher.
  FolderWatcher(std::vector<std::filesystem::path> roots, ChangeCollector& collector);

  /// Becomes readable when there is something to note; -1 when the system provides no watching. It may change
  /// with each collect.
  int descriptor() const noexcept { return inotify_.get(); }

  /// Notes what happened since the last call. Does not wait.
  void collect();

 private:
  /// A root's number and the folder's name below it, with forward slashes; empty for the root itself.
  using Key = std::pair<std::size_t, std::string>;

  /// What tells a folder from another one that takes its name.
  struct Identity {
    std::uint64_t device;
    std::uint64_t inode;
    bool operator==(const Identity&) const = default;
  };

  struct Folder {
    Identity identity;
    int watch;
    std::set<std::string> files;
  };

  struct Anchor {
    std::size_t root;
    std::string name;  ///< of the root in the folder that holds it
  };

  static Identity identityOf(const struct stat& status);
  static std::string join(const std::string& folder, const std::string& name);
  std::filesystem::path pathOf(const Key& folder) const;

  void begin(bool isNews);
  void watchAnchor(std::size_t root);
  int watch(const std::filesystem::path& folder);

  /// Takes up a folder and everything below it; with `isNews` its files are changes.
  void add(const Key& top, bool isNews);
  bool addOne(const Key& key, bool isNews, std::vector<Key>& below);
  void addFile(const Key& folder, const std::string& name, bool isNews);
  /// Whether a folder that was found through links is one of those above it, or lies outside its root.
  bool isAstray(const Key& key, const Identity& identity) const;

  /// Gives up a folder and everything below it; its files are gone.
  void drop(const Key& top);
  void dropOne(const Key& key, const Folder& folder);

  void handle(const inotify_event& event);
  void handleAnchor(const Anchor& anchor);
  void handleEntry(const Key& folder, const std::string& name, std::uint32_t mask);
  void handleFolder(const Key& key, const struct stat& status);
  void noteAllGone(const Key& key, const Folder& folder);
  void noteAbsence(const Key& folder, const std::string& name);
  void notePresence(const Key& folder, const std::string& name);
  void noteLinksTo(const std::filesystem::path& file);
  void startOver();

  std::vector<std::filesystem::path> roots_;
  ChangeCollector& collector_;
  Descriptor inotify_;
  std::map<Key, Folder> folders_;
  std::unordered_map<int, std::vector<Key>> watched_;     ///< a folder may be found on several ways, by links
  std::unordered_map<int, std::vector<Anchor>> anchors_;  ///< the folders that hold roots
  /// The files that linked files lead to, each with the links' folders and names.
  std::map<std::filesystem::path, std::set<std::pair<Key, std::string>>> links_;
};

}  // namespace Tal::FS
