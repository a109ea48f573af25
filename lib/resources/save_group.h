#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <memory>
#include <utility>

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

  /// Writes every noted document and closes the group. Fails without writing anything if a value was refused
  /// while the group was open. Also fails if a document cannot be written; its old file stays intact and its
  /// edits are kept. In an inner group the outer group's commit writes.
  Result<void> commit();

  /// Like commit, for callers that can only return a bool: logs the fault as one critical message.
  [[nodiscard]] bool commitOrReport();

  /// Whether a group of the process is open.
  static bool isAnyOpen() noexcept;

 private:
  bool isOpen_ = true;
};

/// Keeps other programs from saving a resource between reading and saving it, before a SaveGroup that does so
/// is opened. It ends with the scope; a save within takes it over to the new file.
///
/// Within this process, a SaveLock and an open SaveGroup share one lock per file and never wait for each
/// other. Other programs wait until both have ended. While it lives, opening the resource does not look up
/// its file again. Changes by programs that ignore locks are detected by the save. Main thread only.
class SaveLock {
 public:
  /// Waits up to ten seconds for another program that is saving the resource; a fault names it when it does
  /// not come to an end. A resource that no root holds needs no lock, nor does any while there is no file
  /// system; one that cannot be used is a fault.
  static Result<SaveLock> acquire(BasicStringRef resourceName);

 private:
  SaveLock(std::shared_ptr<const void> lock, std::shared_ptr<const void> pin) noexcept
      : lock_(std::move(lock)), pin_(std::move(pin)) {}

  std::shared_ptr<const void> lock_;  ///< null when none is needed or there is none to be had
  std::shared_ptr<const void> pin_;   ///< of the document
};

}  // namespace Tal
