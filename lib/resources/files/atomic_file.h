#pragma once

#include <core/string_ref.h>
#include <resources/bytes/pieced_text.h>
#include <resources/file_identity.h>
#include <resources/files/file_failure.h>

#include <filesystem>
#include <optional>
#include <string>

namespace Tal {

/// Replaces a file's content, or makes the file: a reader, and a crash at any moment, finds the old content
/// or the new one, whole. When it returns without a failure the new content has reached the disk. A symbolic
/// link is followed: its target is replaced. The file keeps its permissions, POSIX access control list and
/// users' attributes, and where possible its owner; one that nobody may write, or this process may not, is
/// refused. Folders that are missing above it are made. After a failure the old file is as it was, unless the
/// failure says otherwise, and nothing is left beside it; what a process that was killed a minute ago or
/// earlier left there is removed. Returns why it failed; empty when it succeeded. Usable on any thread.
[[nodiscard]] std::optional<FileFailure> replaceFile(const std::filesystem::path& file,
                                                     const PiecedText& content);
[[nodiscard]] inline std::optional<FileFailure> replaceFile(const std::filesystem::path& file,
                                                            BasicStringRef content) {
  return replaceFile(file, PiecedText(content));
}

/// The same for the version of a file that has the identity `version`, empty for a file that is not there
/// yet. When another one is found just before the replacement, nothing is done and the failure says
/// `isChanged`. `version` receives the identity of the new file, empty after a failure or when somebody else
/// has changed that meanwhile.
[[nodiscard]] std::optional<FileFailure> replaceVersion(const std::filesystem::path& file,
                                                        const PiecedText& content,
                                                        std::optional<FileIdentity>& version);

/// A path beside `file` that nothing else has, of a name that isTemporaryName knows.
std::filesystem::path temporaryBeside(const std::filesystem::path& file);

/// Whether a file name is one of those that replaceFile uses while it writes.
bool isTemporaryName(BasicStringRef fileName);

}  // namespace Tal
