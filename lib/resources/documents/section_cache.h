#pragma once

#include <core/result.h>
#include <files/rooted_path.h>
#include <resources/data_section.h>
#include <resources/documents/section_document.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Tal {

/// The process's documents by resource name; what DataSectionCache and FS::Utils::openSection stand on.
class SectionCache {
 public:
  static SectionCache& instance();

  /// Keeps what is opened to be saved from other programs, while a SaveGroup is open.
  static Result<void> lock(BasicStringRef resourceName);

  /// See FS::Utils::openSection; a fault of the kind `missing` when there is no such file.
  Result<SmartPointer<DataSection>> open(BasicStringRef resourceName, bool create,
                                         DataSectionCreator* creator);

  /// Logs the fault of an open; that of a malformed file once for each version of the file, of a missing one
  /// never.
  void report(BasicStringRef resourceName, const Fault& fault);

  /// See DataSectionCache.
  std::shared_ptr<const void> pin(BasicStringRef resourceName);

  /// See DataSectionCache.
  void purge(BasicStringRef resourceName, bool recursive);
  void discard(BasicStringRef resourceName);
  std::optional<files::FileIdentity> version(BasicStringRef resourceName) const;
  void clear();

  /// The file of a resource may have changed although its identity did not: the next open reads it.
  void markPossiblyStale(BasicStringRef resourceName);

  /// A file that is no document.
  struct Refused {
    files::FileIdentity version;
    Fault fault;
    bool isRecent;            ///< another version may have the same identity
    bool isReported = false;  ///< that fault of it was logged
  };

  struct Entry {
    SmartPointer<SectionDocument> document;
    std::optional<Refused> refused;
    std::optional<SectionDocument::SavedContent> saved;  ///< of the document that was forgotten last
    bool isFlushPending = false;                         ///< by that document
    std::weak_ptr<const void> pin;
    bool isPinned = false;  ///< the document was given out since it was pinned
  };

 private:
  Result<SmartPointer<SectionDocument>> documentOf(const std::shared_ptr<DocumentSource>& source,
                                                   const files::RootedPath& place,
                                                   const files::FileIdentity& identity);
  /// The document of a file that is not there yet.
  SmartPointer<SectionDocument> newDocument(const std::shared_ptr<DocumentSource>& source,
                                            const files::RootedPath& place);

  std::map<std::string, Entry, std::less<>> entries_;
};

}  // namespace Tal
