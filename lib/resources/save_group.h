#pragma once

#include <core/string_ref.h>

#include <filesystem>

namespace Tal {

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
  bool commit();

 private:
  bool isOpen_ = true;
};

/// Keeps other programs from saving a resource that is to be read first and saved then, as a SaveGroup does
/// that is opened meanwhile. It ends with the scope, or with the first save of the resource. Main thread
/// only, and one at a time for a resource.
class SaveLock {
 public:
  /// Waits for a program that is saving it. What no root holds needs no lock.
  explicit SaveLock(BasicStringRef resourceName);
  ~SaveLock();
  SaveLock(const SaveLock&) = delete;
  SaveLock& operator=(const SaveLock&) = delete;

  /// False when another program did not come to an end with its save; one critical message has named it.
  bool isHeld() const noexcept { return isHeld_; }

 private:
  std::filesystem::path file_;
  bool isHeld_ = true;
};

}  // namespace Tal
