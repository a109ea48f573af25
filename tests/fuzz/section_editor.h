#pragma once

#include <fuzz/fuzz_support.h>
#include <fuzz/kept_bytes.h>
#include <fuzz/section_model.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {

/// Edits a document through its sections as choices say, and requires after each edit that the sections read
/// as they should and that the document's bytes kept what was not edited.
class SectionEditor {
 public:
  /// `bytes` are those of the document as it stands.
  SectionEditor(Tal::SmartPointer<Tal::DataSection> root, std::string bytes);

  /// Makes one edit.
  void editAnything(Choices& choices);

  /// Requires that everything reads as it should, handles on what was removed too.
  void requireAllReads() const;

  /// The document's bytes after the edits so far.
  const std::string& bytes() const noexcept { return bytes_; }

 private:
  using Handle = Tal::SmartPointer<Tal::DataSection>;
  using Removed = std::pair<Handle, SectionModel::Pointer>;
  /// What an edit did; empty when it did nothing.
  using Change = std::optional<Edit>;

  /// A section to edit, and what it has to read as.
  struct Subject {
    Handle section;
    SectionModel* model;
    ElementBytes::Path path;
    bool isAttached;  ///< false for one that was removed, or is below such
  };

  Subject anySubject(Choices& choices) const;
  std::string anyTag(Choices& choices) const;
  std::string anyPath(Choices& choices) const;

  /// Where a path leads from a section, as far as there is something; `missing` are the steps that are left.
  static Subject follow(Subject from, std::string_view path, std::vector<std::string>& missing);

  Change edit(std::size_t kind, const Subject& subject, Choices& choices);
  static Change setValue(const Subject& subject, const std::string& text);
  static Change append(const Subject& subject, const std::string& tag);
  Change removeOne(const Subject& subject, Choices& choices);
  Change removeFirst(const Subject& subject, const std::string& tag);
  Change removeAll(const Subject& subject);
  Change deletePath(const Subject& subject, const std::string& path, bool isEvery);
  static Change open(const Subject& subject, const std::string& path);
  static Change write(const Subject& subject, const std::string& path, Choices& choices);
  static Change repeat(const Subject& subject);

  /// Notes in the model what was removed, and keeps the handles on it.
  Change takeOut(const Subject& subject, const std::vector<bool>& removed,
                 const std::vector<Handle>& handles);
  static std::vector<Handle> childrenOf(const Subject& subject);
  /// Notes in the model that the steps of a path were made.
  static Change noteMade(const Subject& deepest, const std::vector<std::string>& steps);
  /// Notes in the model that a section's value is now that of the section.
  static Change noteValue(const Subject& subject);

  Tal::SmartPointer<Tal::DataSection> root_;
  SectionModel::Pointer model_;
  std::vector<Removed> removed_;
  std::string bytes_;
};

}  // namespace fuzz
