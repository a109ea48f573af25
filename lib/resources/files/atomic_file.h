#pragma once

#include <core/string_ref.h>
#include <resources/bytes/pieced_text.h>
#include <resources/file_identity.h>
#include <resources/files/file_failure.h>
#include <resources/files/open_place.h>

#include <optional>
#include <string>

namespace Tal {

/// Replaces a file's content, or makes the file: a reader, and a crash at any moment, finds the old content
/// or the new one, whole. When it returns without a failure the new content has reached the disk. The file
/// keeps its permissions, POSIX access control list and users' attributes, and where possible its owner; one
/// that nobody may write, or this process may not, is refused. After a failure the old file is as it was,
/// unless the failure says otherwise, and nothing is left beside it; what a process that was killed a minute
/// ago or earlier left there is removed. Returns why it failed; empty when it succeeded. Usable on any
/// thread.
[[nodiscard]] std::optional<FileFailure> replaceFile(const OpenPlace& place, const PiecedText& content);
[[nodiscard]] inline std::optional<FileFailure> replaceFile(const OpenPlace& place, BasicStringRef content) {
  return replaceFile(place, PiecedText(content));
}

/// The same for the version of a file that has the identity `version`, empty for a file that is not there
/// yet. When another one is found just before the replacement, nothing is done and the failure says
/// `isChanged`; a file that was not there yet is not put in the place of one at all, where the file system
/// can tell. `version` receives the identity of the new file, empty after a failure or when somebody else has
/// changed that meanwhile.
[[nodiscard]] std::optional<FileFailure> replaceVersion(const OpenPlace& place, const PiecedText& content,
                                                        std::optional<FileIdentity>& version);

/// The same with the permissions and all else that the file `pattern` in the same folder has; as a new one
/// when `pattern` is empty.
[[nodiscard]] std::optional<FileFailure> replaceVersionLike(const std::string& pattern,
                                                            const OpenPlace& place, BasicStringRef content,
                                                            std::optional<FileIdentity>& version);

/// Why the file that is there must not be replaced: it is a folder, or protected. Empty when it may be, and
/// when there is none. Usable on any thread.
[[nodiscard]] std::optional<FileFailure> refusalToReplace(const OpenPlace& place);

/// Removes a file, if it is there, and returns when the disk knows that. Returns why it failed; empty when it
/// succeeded. Usable on any thread.
[[nodiscard]] std::optional<FileFailure> removeFile(const OpenPlace& place);

/// A name for another file beside one of the name `fileName`, that isTemporaryName knows; each call gives
/// another one.
std::string temporaryNameFor(BasicStringRef fileName);

/// Whether a file name is one of those that replaceFile uses while it writes.
bool isTemporaryName(BasicStringRef fileName);

}  // namespace Tal
