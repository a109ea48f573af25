#pragma once

#include <files/file_identity.h>
#include <watch/change_collector.h>
#include <watch/inotify_watches.h>
#include <watch/name_status.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct inotify_event;

namespace Tal::watch {

/// Notes what happens to the files below the roots, by comparing what is on the disk with what was noted
/// last.
///
/// - The system's events mark the names to compare at once, and the files that are open for writing. Those
///   are noted when their writer closes them. Events come by folder, so that a file may be replaced, or
///   removed and made anew. A file of several names is watched itself too: it may be written under another
///   name.
/// - A poll compares every name, from time to time, for what gives no event. That is: writes through mapped
///   memory, files that are never closed, targets of dead links, other computers' writes on a network's file
///   system, and folders that the system refuses to watch.
/// - When events were dropped, or memory ran out, a poll on a new queue notes every file.
///
/// Used by one thread at a time.
class FolderWatcher {
 public:
  using Clock = std::chrono::steady_clock;

  /// The system does not report every end of writing: a file may be truncated by its path, or kept mapped.
  /// Hence a writer that pauses for longer is taken to be done.
  static constexpr Clock::duration kLongestWriterPause = std::chrono::seconds(2);

  /// Finds the files that are there, which are no changes, and begins to watch. That the system refuses to
  /// watch something is noted as a problem of `collector`, which must outlive the watcher. Throws
  /// std::bad_alloc when memory runs out.
  FolderWatcher(std::vector<std::filesystem::path> roots, ChangeCollector& collector,
                Clock::duration longestWriterPause = kLongestWriterPause);

  /// Becomes readable when there is something to note; -1 when the system provides no watching. It may change
  /// with each collect and poll.
  int descriptor() const noexcept { return watches_.descriptor(); }

  /// Notes what the system has reported since the last call. Does not wait. It ends also when events come
  /// faster than they are noted; the descriptor is then still readable.
  ///
  /// Throws std::bad_alloc when memory runs out. No change is lost then: the next call of collect or poll
  /// compares everything, and every file counts as changed.
  void collect();

  /// Polls every file and notes what is not noted yet. A file that has changed is noted when a second poll
  /// finds it as the first one did. When events have reported its writing, its writer must have paused for
  /// long, too. Takes a few microseconds for each file and each link that leads to none. Throws like collect.
  void poll();

 private:
  /// Distinguishes a folder from another one that takes its name.
  struct Identity {
    std::uint64_t device;
    std::uint64_t inode;
    bool operator==(const Identity&) const = default;
  };

  struct File {
    files::FileIdentity identity;  ///< as it was noted last
    int watch = -1;                ///< its own, when it has several names
    bool isNoted = false;          ///< as being there
  };

  struct Folder {
    Identity identity;
    int watch = -1;
    std::map<std::string, File> files;
    std::map<std::string, Clock::time_point> written;  ///< files not closed yet, and when they were written
    std::map<std::string, files::FileIdentity> unsettled;  ///< files that the last poll found new or changed
    /// Names that stand for nothing to watch, such as links that lead to nothing or out of the root. That may
    /// change while the folder does not change, so that each poll examines them again.
    std::set<std::string> unfollowed;
    std::optional<files::FileIdentity> listed;  ///< of the folder, when a poll has seen all its names
  };

  static Identity identityOf(const files::FileIdentity& file);
  static std::string join(const std::string& folder, const std::string& name);
  std::filesystem::path pathOf(const FolderKey& folder) const;
  /// Where a folder below a root stands: in which folder, under which name.
  static FilePlace placeOf(const FolderKey& folder);
  /// The places of a resolved path below the roots: none, or several when roots lie in each other.
  std::vector<FilePlace> placesOf(const std::filesystem::path& file) const;

  void openQueue();
  void watchRootPlace(std::size_t root);
  /// The folder's watch; -1 when there is none: the folder is gone, or the system refuses, which is noted as
  /// a problem.
  int watchFolder(const FolderKey& key);

  /// Takes up a folder and everything below it; with `isNews` its files are changes.
  void add(const FolderKey& top, bool isNews);
  bool addOne(const FolderKey& key, bool isNews, std::vector<FolderKey>& below);
  /// Remembers the present state of a file as the one that was noted. A file of several names is watched
  /// itself from then on, and of a link is remembered where it leads.
  File& keep(const FolderKey& folder, const std::string& name, const NameStatus& status);
  int watchFile(const FolderKey& folder, const std::string& name);
  /// Whether a folder that was found through links is one of those above it, or lies outside its root.
  bool isAstray(const FolderKey& key, const NameStatus& status) const;

  /// Gives up a folder and everything below it; its files are gone.
  void drop(const FolderKey& top);
  void dropOne(const FolderKey& key, Folder& folder);

  void mark(const inotify_event& event);
  void markEntry(const FolderKey& folder, const std::string& name, std::uint32_t mask);
  void handleMarked();
  void handleRoot(std::size_t root);
  void handleEntry(const FolderKey& folder, const std::string& name, std::uint32_t mask);
  void handleFolder(const FolderKey& key, const files::FileIdentity& now);
  void noteAllGone(const FolderKey& key, Folder& folder);
  void noteAbsence(const FolderKey& folder, const std::string& name);
  /// Notes a file, and the links that lead to it.
  void notePresence(const FolderKey& folder, const std::string& name, const NameStatus& status);
  void noteOne(const FolderKey& folder, const std::string& name, const NameStatus& status);
  std::vector<FilePlace> linksTo(const std::filesystem::path& file) const;

  /// Does work on the tables; notes everything first when other work has not come to its end.
  template <class Work>
  void doWhole(const Work& work);
  /// Polls every file on a new queue, and notes it as changed.
  void noteEverything();

  /// Which files a poll notes: those that have changed and settled, or every one.
  enum class Noted { changed, all };
  void pollAll(Noted noted);
  void pollFolder(const FolderKey& key, Noted noted);
  /// Finds what is new among all names of a folder. False when they cannot be read.
  bool pollNames(const FolderKey& key, int folder);
  void pollUnfollowed(const FolderKey& key, int folder);
  void pollName(const FolderKey& key, const std::string& name, int folder);
  /// `isWatched` says that the system has reported this folder's changes since the last poll.
  void pollFiles(const FolderKey& key, int folder, bool isWatched);
  /// Notes every file of a folder: as changed, new or gone.
  void noteFiles(const FolderKey& key, int folder);
  /// Notes a file that is new or changed, when it is as the last poll found it and nobody writes it.
  void settle(const FilePlace& place, int folder, const files::FileIdentity& before, bool isWatched);
  /// Whether somebody writes a file, or the file that a link leads to.
  bool isBeingWritten(const FilePlace& place, bool isLink) const;
  bool hasWriter(const FilePlace& place) const;
  /// Whether a file is as it was noted. Where the system reports writes, a new change time alone means new
  /// permissions or another name.
  static bool isSame(const files::FileIdentity& noted, const files::FileIdentity& now, bool isWatched);

  std::vector<std::filesystem::path> roots_;
  ChangeCollector& collector_;
  const Clock::duration longestWriterPause_;
  InotifyWatches watches_;
  std::map<FolderKey, Folder> folders_;
  /// The files that linked files lead to, each with the links' places.
  std::map<std::filesystem::path, std::set<FilePlace>> links_;
  std::map<FilePlace, std::uint32_t> marked_;  ///< by events, and of what kinds those were
  std::vector<FilePlace> markedInOrder_;       ///< the same, in the order of the events
  std::set<std::size_t> markedRoots_;
  bool isInDoubt_ = false;  ///< during work on the tables, and after work that an exception has ended
};

}  // namespace Tal::watch
