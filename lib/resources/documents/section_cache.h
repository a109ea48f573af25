#pragma once

#include <resources/data_section.h>
#include <resources/documents/section_document.h>
#include <resources/files/rooted_path.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Tal {

/// The process's documents by resource name; what DataSectionCache and FS::Utils::openSection stand on.
class SectionCache {
 public:
  static SectionCache& instance();

  /// See FS::Utils::openSection.
  SmartPointer<DataSection> open(BasicStringRef resourceName, bool create, DataSectionCreator* creator);

  /// See DataSectionCache.
  void purge(BasicStringRef resourceName, bool recursive);
  void discard(BasicStringRef resourceName);
  void clear();

  /// The file of a resource may have changed although its identity did not: the next open reads it.
  void markPossiblyStale(BasicStringRef resourceName);

  /// A file that is no document, which was reported.
  struct Refused {
    FileIdentity version;
    std::string text;
    bool isRecent;  ///< another version may have the same identity
  };

  struct Entry {
    SmartPointer<SectionDocument> document;
    std::optional<Refused> refused;
    std::optional<SectionDocument::SavedContent> saved;  ///< of the document that was forgotten last
    bool isFlushPending = false;                         ///< by that document
  };

 private:
  SmartPointer<SectionDocument> documentOf(const RootedPath& place, const FileIdentity& identity);
  /// The document of a file that is not there yet.
  SmartPointer<SectionDocument> newDocument(const RootedPath& place);

  std::map<std::string, Entry, std::less<>> entries_;
};

}  // namespace Tal
