#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <files/file_identity.h>
#include <files/open_place.h>

#include <optional>
#include <string>

namespace Tal::files {

class FileLock;

/// Replaces a file's content, or makes the file: a reader, and a crash at any moment, finds the old content
/// or the new one, whole. After a success the new content has reached the disk. The file keeps its
/// permissions, POSIX access control list and users' attributes, and where possible its owner; one that
/// nobody may write, or this process may not, is refused. After a fault the old file is as it was, unless its
/// kind is `unflushed`, and nothing is left beside it. What a process that was killed a minute ago or earlier
/// left there is removed. Usable on any thread.
Result<void> replaceFile(const OpenPlace& place, BasicStringRef content);

/// A file that was replaced.
struct Replaced {
  /// The identity of the new file; empty when somebody else has changed that meanwhile.
  std::optional<FileIdentity> version;
  Result<void> flushed;  ///< a fault of the kind `unflushed` when a power cut may undo the replacement
};

/// The same for one version of a file, empty for a file that is not there yet. When another one is found
/// before the replacement, nothing is done and the fault's kind is `changed`. A file that was not there yet
/// is not put in the place of one at all, where the file system can do that. A lock on that version, if any,
/// goes over to the new file; without it, the new file has none.
Result<Replaced> replaceVersion(const OpenPlace& place, BasicStringRef content,
                                const std::optional<FileIdentity>& version, FileLock* lock = nullptr);

/// The same, but with the permissions and all else that the file `pattern` in the same folder has; as a new
/// one when `pattern` is empty.
Result<Replaced> replaceVersionLike(const std::string& pattern, const OpenPlace& place,
                                    BasicStringRef content, const std::optional<FileIdentity>& version);

/// What stands at a place now. A fault when it must not be replaced: it is a folder, or protected. Usable on
/// any thread.
Result<Standing> checkReplaceable(const OpenPlace& place);

/// Removes a file, if it is there, and returns when the disk knows that. Usable on any thread.
Result<void> removeFile(const OpenPlace& place);

/// A name for another file beside one of the name `fileName`, that isTemporaryName knows; each call gives
/// another one.
std::string temporaryNameFor(BasicStringRef fileName);

/// Whether a file name is one of those that replaceFile uses while it writes.
bool isTemporaryName(BasicStringRef fileName);

}  // namespace Tal::files
