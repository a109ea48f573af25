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

  /// Writes every noted document and closes the group. A fault when a value was refused while it was open,
  /// and then nothing is written; also when a document could not be written: its old file is whole and its
  /// edits are kept. In an inner group the outer group's commit writes.
  Result<void> commit();

  /// The same for who can only say whether: the fault is logged as one critical message.
  [[nodiscard]] bool commitOrReport();

  /// Whether a group of the process is open.
  static bool isAnyOpen() noexcept;

 private:
  bool isOpen_ = true;
};

/// Keeps other programs from saving a resource between reading and saving it, before a SaveGroup that does so
/// is opened. It ends with the scope; a save within takes it over to the new file.
///
/// A SaveLock, and a file that an open SaveGroup holds, do not wait for one another within this process: they
/// share one lock, and other programs are kept out until the last of them ends. While it lives, opening the
/// resource does not ask for its file by name again; what somebody changes who ignores locks, the save finds
/// out.
/// Main thread only.
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
