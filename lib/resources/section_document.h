#pragma once

#include <core/reference_count.h>
#include <core/smart_pointer.h>
#include <resources/file_identity.h>
#include <resources/fingerprint.h>
#include <resources/pieced_text.h>
#include <resources/xml_encoding.h>
#include <resources/xml_tree.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace Tal {

/// A document of the XML room: its tree, and the resource that it belongs to. Its sections hold it.
class SectionDocument : public SafeReferenceCount {
 public:
  struct SavedContent {
    Fingerprint bytes;
    std::uint64_t stamp;
  };

  /// Why a file could not be opened as a document.
  struct Refusal {
    std::string text;          ///< one line, what to do included
    bool isOfContent = false;  ///< the file is refused as long as it stays as it is
  };

  /// Reads and parses a file. Null when that fails; `refusal` then says why.
  static SmartPointer<SectionDocument> read(std::string resourceName, const std::filesystem::path& file,
                                            Refusal& refusal);

  /// A document that is in no file yet; saving makes it.
  static SmartPointer<SectionDocument> make(std::string resourceName, const std::filesystem::path& file);

  Xml::Tree& tree() noexcept { return tree_; }
  const Xml::Tree& tree() const noexcept { return tree_; }

  Xml::Encoding encoding() const noexcept { return encoding_; }

  /// The version of the file that this document equals but for its unsaved edits; empty when there is no
  /// file.
  const std::optional<FileIdentity>& identity() const noexcept { return identity_; }

  /// Whether `file`, whose identity is now `now`, is this document's and still holds the bytes that it goes
  /// back to. The file is read when its identity does not tell.
  bool isCurrent(const std::filesystem::path& file, const FileIdentity& now);

  /// Makes the identity tell nothing until the file was read again.
  void doubt() noexcept { isRecent_ = true; }

  /// See DataSection::contentStamp.
  std::uint64_t contentStamp();

  /// What the file's bytes are recognised by, and the stamp of what they stand for; empty when that is not
  /// known, when a save is owed, and when the document has been edited since the last one.
  std::optional<SavedContent> savedContent();

  /// Takes over the stamp when the file that this document was just read from holds these bytes.
  void recognise(const SavedContent& saved);

  /// Whether edits were made that no save has brought to the file.
  bool isEdited() const noexcept { return tree_.revision() != savedRevision_; }

  /// Whether a save was asked for that has not succeeded yet.
  bool isSaveOwed() const noexcept { return isSaveOwed_; }
  void oweSave() noexcept { isSaveOwed_ = true; }

  /// Whether the file holds what was saved, but has perhaps not reached the disk. The next save writes it
  /// then, also when nothing is new.
  bool isFlushOwed() const noexcept { return isFlushOwed_; }
  void oweFlush() noexcept { isFlushOwed_ = true; }

  /// Writes the document to its own file (empty name) or to another resource; see DataSection::save. A save
  /// group does not delay it.
  bool write(BasicStringRef resourceName);

 private:
  class Bytes;

  SectionDocument(std::string resourceName, std::filesystem::path file, Xml::Tree tree,
                  Xml::Encoding encoding, std::optional<FileIdentity> identity);

  bool writeOwn();
  bool writeOther(BasicStringRef resourceName) const;
  /// Takes the version of the file that is there now as the one to replace. False when that cannot be read or
  /// is somebody else's work, which is reported.
  bool adoptFile(const Bytes& bytes);
  /// Whether the bytes are the version of the file that this document was last in step with.
  bool isBase(const Bytes& bytes) const;
  /// The same of the file, whose identity is taken over when it is.
  bool isBaseInFile();
  bool replaceOwn(const Bytes& bytes);
  void noteIdentity(const std::optional<FileIdentity>& identity);
  void noteSaved() noexcept;

  std::string resourceName_;
  std::filesystem::path file_;
  Xml::Tree tree_;
  Xml::Encoding encoding_;
  std::optional<FileIdentity> identity_;
  std::optional<Fingerprint> base_;  ///< of the file's bytes; without it they are the tree's source
  std::uint64_t savedRevision_ = 0;
  std::uint64_t contentStamp_ = 0;     ///< 0: none was given yet
  std::uint64_t stampedRevision_ = 0;  ///< the one that the stamp stands for
  bool isRecent_ = false;              ///< the file was changed just before it was read or written
  bool isSaveOwed_ = false;
  bool isFlushOwed_ = false;
};

}  // namespace Tal
