#pragma once

#include <core/reference_count.h>
#include <core/result.h>
#include <core/smart_pointer.h>
#include <files/file_identity.h>
#include <files/fingerprint.h>
#include <resources/derivation.h>
#include <resources/document_source.h>
#include <xml/encoding.h>
#include <xml/transcoding.h>
#include <xml/tree.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Tal {

/// An XML document: its tree, and the resource that it belongs to. Its sections hold it.
class SectionDocument : public SafeReferenceCount {
 public:
  struct SavedContent {
    files::Fingerprint bytes;
    std::uint64_t stamp;
  };

  /// Reads and parses the file of a resource, by its place and normalised name. Never null. A fault of the
  /// kind `malformed` lasts as long as the file stays as it is.
  static Result<SmartPointer<SectionDocument>> read(std::shared_ptr<DocumentSource> source,
                                                    const files::RootedPath& place);

  /// A document that is in no file yet; saving makes it.
  static SmartPointer<SectionDocument> make(std::shared_ptr<DocumentSource> source,
                                            const files::RootedPath& place);

  xml::Tree& tree() noexcept { return tree_; }
  const xml::Tree& tree() const noexcept { return tree_; }

  xml::Encoding encoding() const noexcept { return encoding_; }

  /// The version of the file that this document equals but for its unsaved edits; empty when there is no
  /// file.
  const std::optional<files::FileIdentity>& identity() const noexcept { return identity_; }

  /// Whether the file at `place`, whose identity is now `now`, is this document's and still holds the bytes
  /// that it goes back to. The file is read when its identity is not certain.
  bool isCurrent(const files::RootedPath& place, const files::FileIdentity& now);

  /// Makes the identity uncertain until the file was read again.
  void markPossiblyStale() noexcept { isRecent_ = true; }

  /// What a save writes now.
  std::string encoded() const { return xml::fromUtf8(tree_.serialise(), encoding_); }

  /// See DataSection::contentStamp.
  std::uint64_t contentStamp();

  /// See DataSection::derived; `section` is a handle on the node.
  std::shared_ptr<const void> derived(const AnyDerivation& derivation, xml::NodeIndex node,
                                      const DataSection& section);

  /// The fingerprint of the file's bytes, and the content stamp of the document that they were read as or
  /// written from. Empty when the fingerprint is not known, when the document has unsaved edits, and when a
  /// save was asked for that has not succeeded yet.
  std::optional<SavedContent> savedContent();

  /// Takes over the content stamp if the file that this document was just read from holds these bytes.
  void recognise(const SavedContent& saved);

  /// Whether edits were made that no save has brought to the file.
  bool isEdited() const noexcept { return tree_.revision() != savedRevision_; }

  /// Whether a save was asked for that has not succeeded yet.
  bool isSavePending() const noexcept { return isSavePending_; }
  void markSavePending() noexcept { isSavePending_ = true; }

  /// Whether the file holds what was saved, but has perhaps not reached the disk. The next save writes it
  /// then, also when nothing is new.
  bool isFlushPending() const noexcept { return isFlushPending_; }
  void markFlushPending() noexcept { isFlushPending_ = true; }

  /// Writes the document to its own file (empty name) or to another resource; see DataSection::save. A save
  /// group does not delay it.
  Result<void> write(BasicStringRef resourceName);

 private:
  SectionDocument(std::shared_ptr<DocumentSource> source, const files::RootedPath& place, xml::Tree tree,
                  xml::Encoding encoding, std::optional<files::FileIdentity> identity);

  const std::string& resourceName() const noexcept { return place_.name.native(); }
  Result<void> writeOwn();
  Result<void> replaceOwn(BasicStringRef bytes);
  Result<void> writeOther(BasicStringRef resourceName) const;
  /// Takes the version of the file that is there now as the one to replace. A fault when that is somebody
  /// else's work, and when it cannot be read or is not well-formed, in which case it is not taken.
  Result<void> adoptFile(BasicStringRef bytes);
  /// Whether the bytes are the version of the file that this document was last in step with.
  bool isBase(BasicStringRef bytes) const;
  /// The same of the file, whose identity is taken over when it is.
  bool isBaseInFile();
  void noteReplaced(BasicStringRef bytes, const files::Replaced& replaced);
  void noteIdentity(const std::optional<files::FileIdentity>& identity);
  void noteSaved() noexcept;

  std::shared_ptr<DocumentSource> source_;
  files::RootedPath place_;
  xml::Tree tree_;
  xml::Encoding encoding_;
  std::optional<files::FileIdentity> identity_;
  std::optional<files::Fingerprint> base_;  ///< of the file's bytes; without it they are the tree's source
  std::uint64_t savedRevision_ = 0;
  std::uint64_t contentStamp_ = 0;     ///< 0: none was given yet
  std::uint64_t stampedRevision_ = 0;  ///< the one that the stamp stands for
  std::shared_ptr<DerivedValues> derived_;
  std::uint64_t derivedRevision_ = 0;  ///< the one that those values are of
  bool isRecent_ = false;              ///< the file was changed just before it was read or written
  bool isSavePending_ = false;
  bool isFlushPending_ = false;
};

}  // namespace Tal
