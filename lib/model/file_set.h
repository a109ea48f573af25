#pragma once

#include <core/string_ref.h>
#include <resources/files/backup_file.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Tal {

/// Several files that are made or replaced together: all of them, or none. A crash in between leaves every
/// single file whole, the old one or the new one.
class FileSet {
 public:
  /// `content` must live until write().
  void add(std::filesystem::path target, BasicStringRef content);

  /// Writes the files, in the order in which they were added, with the folders that they need. Empty when it
  /// is done; else one line that says what failed and what to do about it, and every file is as it was, but
  /// for one that the line says could not be put back.
  std::string write();

 private:
  struct Entry {
    std::filesystem::path target;
    BasicStringRef content;
    BackupFile old;  ///< keeps nothing when there is no old file
    bool isWritten = false;
  };

  void makeFolders(const std::filesystem::path& folder);
  static void keepOld(Entry& entry);
  static void replace(Entry& entry);
  /// Adds to the fault what cannot be undone.
  void undo(std::string& fault);
  static void undo(Entry& entry, std::string& fault);

  std::vector<Entry> entries_;
  std::vector<std::filesystem::path> madeFolders_;
};

}  // namespace Tal
