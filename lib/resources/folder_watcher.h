#pragma once

#include <resources/change_collector.h>
#include <resources/descriptor.h>
#include <resources/file_identity.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct inotify_event;
struct stat;

namespace Tal::FS {

/// Notes what happens to the files below the roots. It learns of it in two ways:
///
/// - The system's events, at once. They come by folder, so that a file may be replaced, or removed and made
///   anew; a file of several names is watched itself too, since it may be written under another name. A
///   change counts when it is complete: a file that is being written is noted when its writer closes it. What
///   is noted follows from what an event finds on the disk, not from the event's kind alone: a name that was
///   left may have been taken again before the event is read.
/// - A look at every file, from time to time, for what gives no event: writes through mapped memory, writing
///   that nobody ends by closing the file, other computers' writes on a network's file system, folders that
///   the system refuses to watch.
///
/// Used by one thread at a time.
class FolderWatcher {
 public:
  using Clock = std::chrono::steady_clock;

  /// The system does not tell of every end of writing: a file may be truncated by its path, or kept mapped.
  /// Hence a writer that pauses for longer is taken to be done.
  static constexpr Clock::duration kLongestWriterPause = std::chrono::seconds(2);

  /// Finds the files that are there, which are no changes, and begins to watch. That the system refuses to
  /// watch something is noted as a problem of `collector`, which must outlive the watcher.
  FolderWatcher(std::vector<std::filesystem::path> roots, ChangeCollector& collector,
                Clock::duration longestWriterPause = kLongestWriterPause);

  /// Becomes readable when there is something to note; -1 when the system provides no watching. It may change
  /// with each collect and look.
  int descriptor() const noexcept { return inotify_.get(); }

  /// Notes what the system tells of since the last call. Does not wait.
  void collect();

  /// Looks at every file and notes what is not noted yet. A file that has changed is noted when a second look
  /// finds it as the first one did, and, when events told of its writing, not before its writer has paused
  /// for long. Takes a few microseconds for each file.
  void look();

 private:
  /// A root's number and the folder's name below it, with forward slashes; empty for the root itself.
  using Key = std::pair<std::size_t, std::string>;

  /// What tells a folder from another one that takes its name.
  struct Identity {
    std::uint64_t device;
    std::uint64_t inode;
    bool operator==(const Identity&) const = default;
  };

  struct File {
    FileIdentity identity;  ///< as it was noted last
    int watch = -1;         ///< its own, when it has several names
  };

  struct Folder {
    Identity identity;
    int watch = -1;
    std::map<std::string, File> files;
    std::map<std::string, Clock::time_point> written;  ///< files not closed yet, and when they were written
    std::map<std::string, FileIdentity> unsettled;     ///< files that the last look found new or changed
    std::optional<FileIdentity> listed;                ///< of the folder, when a look has seen all its names
  };

  using FilePlace = std::pair<Key, std::string>;  ///< a folder and a name in it

  struct Anchor {
    std::size_t root;
    std::string name;  ///< of the root in the folder that holds it
  };

  static Identity identityOf(const struct stat& status);
  static std::string join(const std::string& folder, const std::string& name);
  std::filesystem::path pathOf(const Key& folder) const;

  void begin(bool isNews);
  void openQueue();
  void watchAnchor(std::size_t root);
  int watch(const std::filesystem::path& folder);
  bool isWatched(const Folder& folder) const;

  /// Takes up a folder and everything below it; with `isNews` its files are changes.
  void add(const Key& top, bool isNews);
  bool addOne(const Key& key, bool isNews, std::vector<Key>& below);
  /// Keeps a file as it is now: as the version that was noted.
  void keep(const Key& folder, const std::string& name, const struct stat& status);
  void watchFile(const FilePlace& place, File& file);
  void unwatchFile(const FilePlace& place, File& file);
  /// Whether a folder that was found through links is one of those above it, or lies outside its root.
  bool isAstray(const Key& key, const Identity& identity) const;

  /// Gives up a folder and everything below it; its files are gone.
  void drop(const Key& top);
  void dropOne(const Key& key, Folder& folder);

  void handle(const inotify_event& event);
  void handleAnchor(const Anchor& anchor);
  void handleFile(int watch, std::uint32_t mask);
  void handleEntry(const Key& folder, const std::string& name, std::uint32_t mask);
  void handleFolder(const Key& key, const struct stat& status);
  /// Notes that somebody writes a file, and thereby the links that lead to it.
  void noteWriting(const Key& folder, const std::string& name);
  void noteAllGone(const Key& key, const Folder& folder);
  void noteAbsence(const Key& folder, const std::string& name);
  /// Notes a file, and the links that lead to it.
  void notePresence(const Key& folder, const std::string& name, const struct stat& status);
  void noteOne(const Key& folder, const std::string& name, const struct stat& status);
  std::vector<FilePlace> linksTo(const std::filesystem::path& file) const;
  void startOver();

  void lookAt(const Key& key);
  void lookAtNames(const Key& key, int folder);
  /// `isTold` says that the system has told of this folder's changes since the last look.
  void lookAtFiles(const Key& key, int folder, bool isTold);
  /// Notes a file that is new or changed, when it is as the last look found it and nobody writes it.
  void settle(const FilePlace& place, int folder, const FileIdentity& before, bool isTold);
  bool isBeingWritten(const Folder& folder, const std::string& name) const;
  /// Whether a file is as it was noted. Where the system tells of writes, a new change time alone means new
  /// permissions or another name.
  static bool isSame(const FileIdentity& noted, const FileIdentity& now, bool isTold);

  std::vector<std::filesystem::path> roots_;
  ChangeCollector& collector_;
  const Clock::duration longestWriterPause_;
  Descriptor inotify_;
  std::map<Key, Folder> folders_;
  std::unordered_map<int, std::vector<Key>> watched_;     ///< a folder may be found on several ways, by links
  std::unordered_map<int, std::vector<Anchor>> anchors_;  ///< the folders that hold roots
  std::unordered_map<int, std::set<FilePlace>> watchedFiles_;
  /// The files that linked files lead to, each with the links' places.
  std::map<std::filesystem::path, std::set<FilePlace>> links_;
};

}  // namespace Tal::FS
