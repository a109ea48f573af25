#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <files/atomic_file.h>
#include <files/file_identity.h>
#include <files/file_read.h>
#include <files/rooted_path.h>
#include <watch/resource_change.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Tal {

/// Where a document is, or would be made.
struct Location {
  files::RootedPath place;                  ///< a source without roots has the name alone
  std::optional<files::FileIdentity> file;  ///< the version there; empty when there is none yet
};

/// Where documents come from and are saved to. The files below the resource roots are one; a host may supply
/// another, such as documents in memory or a version-control store, by MultiFileSystem::setDocuments. Main
/// thread only.
///
/// A FileIdentity distinguishes the versions of a document: its size is that of the bytes, and the source
/// chooses the rest. Two versions with equal identities must hold equal bytes, unless files::isRecent says
/// that the identity is not certain yet.
class DocumentSource {
 public:
  DocumentSource() = default;
  DocumentSource(const DocumentSource&) = delete;
  DocumentSource& operator=(const DocumentSource&) = delete;
  virtual ~DocumentSource() = default;

  /// Where the document of that name is; with `mayBeNew` else where it would be made. The fault is a clause
  /// about the name, of the kind `missing` when there is no such document, of another one when its name or
  /// its place cannot be used.
  virtual Result<Location> find(BasicStringRef name, bool mayBeNew) = 0;

  /// The version at a place; empty when there is none.
  virtual Result<std::optional<files::FileIdentity>> identity(const files::RootedPath& place) = 0;

  /// The document's bytes, at most `largest`, with their version.
  virtual Result<files::FileContent> read(const files::RootedPath& place, std::size_t largest) = 0;

  /// Hands the document's bytes to `take` piece by piece, as long as that returns true. The version that they
  /// are; a fault when `take` ended it, when they cannot be read, and when they were changed meanwhile. A
  /// source may have large documents compared by it without a copy of them.
  virtual Result<files::FileIdentity> readPieces(const files::RootedPath& place,
                                                 const std::function<bool(BasicStringRef)>& take);

  /// Replaces that version of the document, as a whole or not at all; makes it when `version` is empty.
  /// A fault of the kind `changed` when another version is there by then.
  virtual Result<files::Replaced> replace(const files::RootedPath& place, BasicStringRef bytes,
                                          const std::optional<files::FileIdentity>& version) = 0;

  /// Keeps others from replacing a document until the result ends; null where nothing can, or nobody would.
  /// A fault of the kind `busy` names the one who does not let go of it.
  virtual Result<std::shared_ptr<const void>> lock(const Location& /*location*/) {
    return std::shared_ptr<const void>();
  }

  /// What has changed since the last call, for the listeners of the change monitor. MultiFileSystem::pump
  /// asks once for each frame, from when the monitor was first asked for; changes of files below the roots
  /// are found anyway.
  virtual std::vector<watch::ResourceChange> takeChanges() { return {}; }
};

}  // namespace Tal
