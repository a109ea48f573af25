#pragma once

#include <core/string_ref.h>
#include <resources/files/backup_file.h>
#include <resources/files/open_place.h>

#include <list>
#include <string>

namespace Tal {

/// Several files that are made or replaced together: all of them, or none. When the process ends in between,
/// the first file may be there alone, or with the next ones that were written with it; the last file is there
/// only with all the others as they were written with it.
class FileSet {
 public:
  /// `content` must live until write(). Links to another place below the root are followed.
  void add(const RootedPath& place, BasicStringRef content);

  /// Writes the files, in the order in which they were added, with the folders that they need; before that,
  /// those that are there already are removed from the last one on, but for the first one. Empty when it is
  /// done; else one line that says what failed and what to do about it, and every file is as it was, but for
  /// one that the line says could not be put back.
  std::string write();

 private:
  struct Entry {
    Entry(const RootedPath& target, BasicStringRef bytes) : rooted(target), content(bytes) {}

    RootedPath rooted;
    BasicStringRef content;
    OpenPlace place;
    BackupFile old{place};  ///< keeps nothing when there is no old file
    bool isWritten = false;
  };

  void prepare();
  void removeOld();
  static void replace(Entry& entry);
  /// Adds to the fault what cannot be undone.
  void undo(std::string& fault);
  static void undo(Entry& entry, std::string& fault);

  std::list<Entry> entries_;  // which stay where they are
};

}  // namespace Tal
