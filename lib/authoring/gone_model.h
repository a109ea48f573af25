#pragma once

#include <authoring/description.h>
#include <authoring/outcome.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// A model that has entries in the database, while no resource root holds a file of its name, or none the
/// visual that the file names. No session can be opened on it, since a save without the model would drop what
/// only the model can confirm.
struct GoneModel {
  std::string modelName;
  std::string reason;                 ///< why it is gone and what to do, a line for a person
  bool hasModelFile = false;          ///< whether the visual alone is gone
  Description description;            ///< what a load takes from the entries
  std::vector<std::string> sections;  ///< the tag of the section of each entry, in the order of the file
};

/// What the database holds of a gone model. Nothing when a root has the model or may have it in a place that
/// cannot be examined or leads out of the root, when no entry has exactly this name or the database cannot be
/// opened, and for the empty name: entries without a name are nobody's. Main thread only.
std::optional<GoneModel> readGoneModel(const std::string& modelName);

/// What was removed.
struct Removal {
  Outcome outcome;
  GoneModel removed;  ///< as the file held it just before
};

/// Removes every entry of a gone model from the database, whatever the category, and saves; the warnings name
/// their values that a new entry is not known to have as commands that would set them again (see
/// linesOfSave). Nothing else in the file changes: sections stay, also those that have the model's <filename>
/// themselves, and so does what "trees" holds. A fault, with the file as it was, when the model is not gone,
/// while a session of this program has it open, within an open SaveGroup of the host and when the file cannot
/// be written. Sessions learn of it as of a save by another program. Main thread only.
Result<Removal> removeGoneModel(const std::string& modelName);

}  // namespace Tal::authoring
