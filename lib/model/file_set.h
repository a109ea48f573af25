#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <files/backup_file.h>
#include <files/file_identity.h>
#include <files/open_place.h>

#include <filesystem>
#include <list>
#include <optional>
#include <string>

namespace Tal {

/// Several files below a root that are created or replaced together: all of them, or none.
///
/// - When the process is killed in between, the first files of the set may be there without the others.
/// - The last file is there only with all the others as they were written with it.
/// - Other programs that write a set into the folder of the first file wait until this one ends.
class FileSet {
 public:
  /// A file of the set.
  struct Entry {
    Entry(std::filesystem::path path, BasicStringRef bytes) : name(std::move(path)), content(bytes) {}

    std::filesystem::path name;                  ///< below the root
    BasicStringRef content;                      ///< must live until write()
    files::OpenPlace place;                      ///< once open() was called
    std::optional<files::FileIdentity> found;    ///< the file found there then; empty when there is none
    std::optional<files::FileIdentity> written;  ///< what write() put there
    files::BackupFile old{place};
  };

  FileSet() = default;
  /// Removes the folders that were made for files that were not written.
  ~FileSet();
  FileSet(const FileSet&) = delete;
  FileSet& operator=(const FileSet&) = delete;

  /// Adds a file; links to another place below the root are followed. The entry lives as long as the set.
  Entry& add(std::filesystem::path name, BasicStringRef content);

  /// Opens the places below the folder `root`, creates the folders that they need, and waits for other
  /// programs. With `taken` the root must still be that folder.
  Result<void> open(const std::filesystem::path& root, const std::optional<files::FileIdentity>& taken = {});

  /// Writes the files in the order in which they were added. Before that, existing files other than the first
  /// are moved aside, the last one first. After a fault every file is as it was, unless the fault names one
  /// that could not be restored. Files that another program has put there since open() are not touched.
  Result<void> write();

 private:
  Result<void> openPlaces(const std::filesystem::path& root, const std::optional<files::FileIdentity>& taken);
  Result<files::OpenPlace> placeOf(const Entry& entry, const files::OpenRoot& root) const;
  Result<void> writeAll();
  Result<void> putOldAside();
  Result<void> replace(Entry& entry);
  static std::string removeWritten(Entry& entry);
  /// What could not be undone, as a text to append to a fault.
  std::string undo();
  std::string undo(Entry& entry);

  std::list<Entry> entries_;  // which stay where they are
  bool isDone_ = false;
};

}  // namespace Tal
