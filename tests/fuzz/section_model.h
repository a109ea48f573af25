#pragma once

#include <resources/data_section.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// What a section has to read as after edits, kept beside it and edited alike.
struct SectionModel {
  using Pointer = std::unique_ptr<SectionModel>;

  std::string tag;
  std::string value;
  /// Whether white space within the value may differ: children came or went beside its text.
  bool isLoose = false;
  bool isMade = false;  ///< by an edit
  std::vector<Pointer> children = {};

  /// The section as it reads now, with everything below.
  static Pointer of(const Tal::DataSection& section);

  /// The place of the first child of that tag; the number of children when there is none.
  std::size_t placeOf(std::string_view childTag) const;
};

/// Requires that the section, and everything below, reads as the model says.
void requireReads(const Tal::DataSection& section, const SectionModel& model, std::string_view promise);

/// Every section's tag and value, in document order, for comparison.
std::string outlineOf(const Tal::DataSection& section);

/// `text` without the white space around it.
std::string_view trimmed(std::string_view text);

}  // namespace fuzz
