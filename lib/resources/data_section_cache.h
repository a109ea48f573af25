#pragma once

#include <core/string_ref.h>
#include <files/file_identity.h>

#include <memory>
#include <optional>

namespace Tal {

/// Keeps the documents that were opened by resource name. Opening compares the file's identity: device,
/// inode, size, modification time and change time. If the identity changed, the file is parsed again. If the
/// last change was too recent for the times to be reliable, the bytes are compared too. A document with
/// unsaved edits is not exchanged for a newer file: opens go on giving it, and saving it notices the other
/// change. Main thread only.
class DataSectionCache {
 public:
  /// Forgets the cached document of a resource, so that the next open reads the file anew; with `recursive`
  /// also of every resource below that path. Edits that nobody has asked to save are forgotten with it, but
  /// handles on it stay valid. A document whose save failed or waits for a SaveGroup is kept.
  static void purge(BasicStringRef path, bool recursive);

  /// Forgets the cached document of a resource and all its unsaved edits, even if a save of them failed.
  /// Meant for callers that keep the data elsewhere and will write it again to the current file.
  static void discard(BasicStringRef path);

  /// While the result lives, the file of a resource is examined once: every later open gives the document
  /// that the first one gave, until that is forgotten. For an operation that must see one version.
  static std::shared_ptr<const void> pin(BasicStringRef path);

  /// The version of a resource's file that its cached document was read from or saved as; empty when none is
  /// cached or it has no file yet.
  static std::optional<files::FileIdentity> version(BasicStringRef path);

  /// Forgets every document, unsaved edits included; for the end of a program or a test.
  static void clear();
};

}  // namespace Tal
