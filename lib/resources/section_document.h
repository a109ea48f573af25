#pragma once

#include <core/reference_count.h>
#include <core/smart_pointer.h>
#include <resources/file_identity.h>
#include <resources/xml_encoding.h>
#include <resources/xml_tree.h>

#include <filesystem>
#include <optional>
#include <string>

namespace Tal {

/// A document of the XML room: its tree, and the resource that it belongs to. Its sections hold it.
class SectionDocument : public SafeReferenceCount {
 public:
  /// Why a file could not be opened as a document; one line, what to do included.
  using Refusal = std::string;

  /// Reads and parses a file. Null when that fails; `refusal` then says why.
  static SmartPointer<SectionDocument> read(std::string resourceName, const std::filesystem::path& file,
                                            Refusal& refusal);

  /// A document that is in no file yet.
  static SmartPointer<SectionDocument> make(std::string resourceName);

  Xml::Tree& tree() noexcept { return tree_; }
  const Xml::Tree& tree() const noexcept { return tree_; }

  /// The version of the file that this document equals but for its unsaved edits; empty when there is no
  /// file.
  const std::optional<FileIdentity>& identity() const noexcept { return identity_; }

 private:
  SectionDocument(std::string resourceName, Xml::Tree tree, Xml::Encoding encoding,
                  std::optional<FileIdentity> identity);

  std::string resourceName_;
  Xml::Tree tree_;
  Xml::Encoding encoding_;
  std::optional<FileIdentity> identity_;
};

}  // namespace Tal
