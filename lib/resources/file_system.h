#pragma once

#include <core/result.h>
#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <files/rooted_path.h>
#include <resources/data_section.h>
#include <resources/document_source.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tal::FS {

class MonitorThreadBase;

/// The resource roots, in the order in which a name is looked up. Main thread only.
///
/// A resource name is relative, with forward slashes; empty steps and "." mean nothing. One that is empty or
/// absolute, holds "..", a backslash or a NUL, or reaches a place outside its root through a link is refused.
class MultiFileSystem {
 public:
  /// All of `roots`, which are existing folders. If one is not a folder or cannot be examined, a message of
  /// priority 5 names it and there are no roots at all. Otherwise files of a later root could be mistaken for
  /// its files.
  explicit MultiFileSystem(std::vector<std::filesystem::path> roots);

  /// The same, with a fault instead of a message; never null.
  static Result<std::unique_ptr<MultiFileSystem>> open(std::vector<std::filesystem::path> roots);
  ~MultiFileSystem();
  MultiFileSystem(const MultiFileSystem&) = delete;
  MultiFileSystem& operator=(const MultiFileSystem&) = delete;

  const std::vector<std::filesystem::path>& roots() const noexcept;

  /// The place of the resource, a regular file, in the first root that holds it, by that root and the
  /// resource's normalised name. A fault of the kind `missing` when no root holds it. Other kinds mean that
  /// the name is refused or that the first match is unusable: a dangling link, one that leads out of the
  /// root, or what cannot be examined. The text continues a sentence that begins with the name ("leads out of
  /// its root through a link").
  Result<files::RootedPath> find(BasicStringRef resourceName) const;

  /// The first root, in which resources are made, as it was taken; empty without roots.
  std::optional<files::RootedPath> firstRoot() const;

  /// Whether it is certain that no root has a file in the place of the resource: nothing is there, no regular
  /// file, or a link that leads to nothing. False where a place cannot be examined, which may hold one.
  bool holdNoFile(BasicStringRef resourceName) const;

  /// Where a resource is, or would be made in the first root. The faults of find; `missing` without roots.
  Result<files::RootedPath> locationFor(BasicStringRef resourceName) const;

  /// Where data sections come from and are saved to; never null. The files below the roots, unless the host
  /// has set another source.
  const std::shared_ptr<DocumentSource>& documents() const noexcept;

  /// Has data sections come from `source` from now on; from the files below the roots again when it is null.
  /// The section cache is cleared, unsaved edits included. The files of models have to be below the roots all
  /// the same.
  void setDocuments(std::shared_ptr<DocumentSource> source);

  /// A fault when the name can never name a resource: a clause about it ("is absolute").
  static Result<void> checkName(BasicStringRef resourceName);

  /// The change monitor of the roots; never null, owned by this object. It starts watching on the first call.
  MonitorThreadBase* getFilesystemMonitor();

  /// Delivers, on this thread, every change that the monitor has collected; the host calls it once a frame.
  void pump();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The process's file system; null before the host set one up and after it took it down.
MultiFileSystem* fileSystem() noexcept;

/// Makes `replacement` (may be null) the process's file system and destroys the previous one. The section
/// cache is cleared, unsaved edits included, since names may now mean other files.
///
/// The previous file system's monitor ends with it: what it has not delivered is lost, and its listeners are
/// called no more. They hear from the new monitor when they are added there. Pointers from fileSystem() and
/// getFilesystemMonitor() dangle afterwards. Not to be called by a listener, or while pump() runs. Destroy
/// helpers and sessions first: those that stay learn of no more changes. A session must not be used while
/// there is no file system.
void setFileSystem(std::unique_ptr<MultiFileSystem> replacement);

/// Logs, with priority 5, why a resource cannot be used; nothing when it is only missing. `fault` is a clause
/// about the name, as from find.
void reportRefused(BasicStringRef resourceName, const Fault& fault);

namespace Utils {

/// Opens a resource as a data section, from the cache when the file has not changed. Null if the resource is
/// missing, refused, unreadable or malformed, or if there is no file system; within a save group also if
/// another program keeps the file locked. Every failure but a missing resource is reported, a malformed file
/// once per version, with resource, line, column and reason. When it is missing and `create` is true, an
/// empty document (by `creator` if not null) is made in memory; saving it makes the file.
SmartPointer<DataSection> openSection(BasicStringRef path, bool create, DataSectionCreator* creator);

/// The same for a resource that is there, with a fault instead of a message; never null.
Result<SmartPointer<DataSection>> openResource(BasicStringRef path);

/// Reads a file as a document of its own, whatever the roots are and what is kept of it. Never null; a fault
/// of the kind `malformed` when the file is no document.
Result<SmartPointer<DataSection>> readSection(const files::RootedPath& place);

}  // namespace Utils
}  // namespace Tal::FS
