#pragma once

#include <authoring/description.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// Names one field of a description: of a module, the materials of a state, or of the model itself.
struct FieldName {
  std::string module = {};  ///< empty when it is no module's
  std::string state = {};   ///< empty when it is no state's
  std::string key = {};     ///< as in the database, or "category"; empty for the materials of a state

  bool operator==(const FieldName&) const = default;
};

/// The field that holds the category.
FieldName categoryField();

/// A field that two have changed since both had the same, as texts; one that is absent has none.
struct Conflict {
  FieldName field;
  std::optional<std::string> base;    ///< what both had
  std::optional<std::string> mine;    ///< what is kept
  std::optional<std::string> theirs;  ///< what the file holds
};

/// The conflict in one line for a person, which says that mine is kept.
std::string lineOf(const Conflict& conflict);

/// Two edits of one description, put together.
struct Merge {
  Description merged;
  std::vector<Conflict> conflicts;  ///< by field
};

/// `theirs` with everything that `mine` changed since `base`, field by field, module by module and state by
/// state. The materials of a state are one value. The category is that of `mine`; while theirs is another,
/// that is the one conflict.
Merge merge(const Description& base, const Description& mine, const Description& theirs);

/// The conflicts that two merges have found, each field once: the earlier one knows what both had.
std::vector<Conflict> joined(std::vector<Conflict> earlier, const std::vector<Conflict>& later);

/// Those conflicts that are still some, with what the two have now.
std::vector<Conflict> unsettled(std::vector<Conflict> conflicts, const Description& mine,
                                const Description& theirs);

}  // namespace Tal::authoring
