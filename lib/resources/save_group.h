#pragma once

#include <core/string_ref.h>

#include <memory>

namespace Tal {

class FileLock;

/// Gathers the saves of a scope: while a group is open, DataSection::save only notes the document, and each
/// noted document is written once when the group is committed. A file that is opened while a group is open is
/// locked until that closes: another program that saves it waits, and reads what this one has written before
/// it makes its own edits. A group within a group joins the outer one.
/// Main thread only.
class SaveGroup {
 public:
  SaveGroup();
  /// A group that was not committed writes nothing; the edits stay in the documents, unsaved.
  ~SaveGroup();
  SaveGroup(const SaveGroup&) = delete;
  SaveGroup& operator=(const SaveGroup&) = delete;

  /// Writes every noted document and closes the group. False when a value was refused while it was open: then
  /// nothing is written and one critical message says so. False also when a document could not be written;
  /// that was reported, its old file is whole and its edits are kept. In an inner group: true, and the outer
  /// group's commit writes.
  [[nodiscard]] bool commit();

  /// Whether a group of the process is open.
  static bool isAnyOpen() noexcept;

 private:
  bool isOpen_ = true;
};

/// Keeps other programs from saving a resource between reading and saving it, before a SaveGroup that does so
/// is opened. It ends with the scope, or when the file is replaced by the first save.
///
/// A SaveLock, and a file that an open SaveGroup holds, do not wait for one another within this process: they
/// share one lock, and other programs are kept out until the last of them ends. Main thread only.
class SaveLock {
 public:
  /// Waits up to ten seconds for another program that is saving the resource. One that no root holds, and one
  /// whose name is refused, needs no lock; so does every resource while there is no file system.
  explicit SaveLock(BasicStringRef resourceName);
  ~SaveLock() = default;
  SaveLock(const SaveLock&) = delete;
  SaveLock& operator=(const SaveLock&) = delete;

  /// False when another program did not come to an end with its save; one critical message has named it. True
  /// also when no lock is needed.
  [[nodiscard]] bool isHeld() const noexcept { return isHeld_; }

 private:
  std::shared_ptr<const FileLock> lock_;  ///< null when none is needed or there is none to be had
  bool isHeld_ = true;
};

}  // namespace Tal
