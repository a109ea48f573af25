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

/// Several files below a root that are made or replaced together: all of them, or none. When the process ends
/// in between, the first file may be there alone, or with the next ones that were written with it; the last
/// file is there only with all the others as they were written with it. Until it ends, other programs that
/// write a set into the folder of the first file wait.
class FileSet {
 public:
  /// A file of the set.
  struct Entry {
    Entry(std::filesystem::path path, BasicStringRef bytes) : name(std::move(path)), content(bytes) {}

    std::filesystem::path name;                  ///< below the root
    BasicStringRef content;                      ///< must live until write()
    files::OpenPlace place;                      ///< once open() was called
    std::optional<files::FileIdentity> found;    ///< the file that is there then; empty when none is
    std::optional<files::FileIdentity> written;  ///< what write() has put there
    files::BackupFile old{place};
  };

  FileSet() = default;
  /// Removes the folders that were made for nothing.
  ~FileSet();
  FileSet(const FileSet&) = delete;
  FileSet& operator=(const FileSet&) = delete;

  /// Links to another place below the root are followed. The entry lives as long as the set.
  Entry& add(std::filesystem::path name, BasicStringRef content);

  /// Opens the places below the folder `root`, with the folders that they need, and waits for other programs.
  /// With `taken` it has to be that folder still.
  Result<void> open(const std::filesystem::path& root, const std::optional<files::FileIdentity>& taken = {});

  /// Writes the files, in the order in which they were added; before that, those that are there already are
  /// put aside from the last one on, but for the first one. After a fault every file is as it was, but for
  /// one that the fault says could not be put back. What another program has put there since open() is left
  /// alone.
  Result<void> write();

 private:
  Result<void> openPlaces(const std::filesystem::path& root, const std::optional<files::FileIdentity>& taken);
  Result<files::OpenPlace> placeOf(const Entry& entry, const files::OpenRoot& root) const;
  Result<void> writeAll();
  Result<void> putOldAside();
  Result<void> replace(Entry& entry);
  static std::string removeWritten(Entry& entry);
  /// What cannot be undone, to be added to what is said of a fault.
  std::string undo();
  std::string undo(Entry& entry);

  std::list<Entry> entries_;  // which stay where they are
  bool isDone_ = false;
};

}  // namespace Tal
