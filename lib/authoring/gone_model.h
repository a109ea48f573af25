#pragma once

#include <authoring/description.h>
#include <authoring/outcome.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// A model that has database entries but no usable files: either no resource root has its file, or none has
/// the visual that the file names. No session can be opened on it, since a save without the model would drop
/// what only the model can confirm.
struct GoneModel {
  std::string modelName;
  std::string reason;                 ///< why it is gone and what to do, a line for a person
  bool hasModelFile = false;          ///< whether the visual alone is gone
  Description description;            ///< what a load takes from the entries
  std::vector<std::string> sections;  ///< the tag of the section of each entry, in the order of the file
};

/// What the database holds of a gone model. Empty if a root has, or may have, the model: a place that cannot
/// be examined or leads out of the root may have it. Also empty if no entry has exactly this name, if the
/// database cannot be opened, or if the name is empty. Main thread only.
std::optional<GoneModel> readGoneModel(const std::string& modelName);

/// What was removed.
struct Removal {
  Outcome outcome;
  GoneModel removed;  ///< as the file held it just before
};

/// Removes all entries of a gone model from the database and saves. The warnings list values that a new entry
/// might lack, as commands that restore them (see linesOfSave). Nothing else in the file changes: sections
/// stay, also those that have the model's <filename> themselves, and so does what "trees" holds. A fault,
/// with the file as it was, when the model is not gone, while a session of this program has it open, within
/// an open SaveGroup of the host and when the file cannot be written. Sessions learn of it as of a save by
/// another program. Main thread only.
Result<Removal> removeGoneModel(const std::string& modelName);

}  // namespace Tal::authoring
