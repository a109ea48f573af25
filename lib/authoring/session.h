#pragma once

#include <authoring/assignment.h>
#include <authoring/description.h>
#include <authoring/health_explanation.h>
#include <authoring/materials.h>
#include <authoring/merge.h>
#include <authoring/outcome.h>
#include <authoring/value_warnings.h>
#include <core/result.h>
#include <destructibles/ks_destructibles_helper.h>
#include <ks/connection.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tal {
class DataSection;
}

namespace Tal::authoring {

class OpenModel;
struct CheckedSave;

/// Something that the next save does and the author may not expect.
struct SaveWarning {
  enum class Code {
    droppedModule,  ///< a module that the save does not write
    noModules,      ///< a structure of which the save writes no module at all
    unknownHealth,  ///< a health of -1, which stands for "could not be estimated"
    removedEntry,   ///< another entry of the model, or a whole section, that the save removes from the file
    addedModule,    ///< a module that the structure in the file lacks
    conflict,       ///< a value that another program has changed, too, since it was edited (see conflicts)
    lostContent,    ///< something within the entry that the save does not keep
    thrownAway,     ///< what entries hold that the save removes, as commands (see linesOfSave)
  };
  Code code;
  std::string module;  ///< the module it is about; empty when it is about the model
  std::string text;    ///< one line for a person
};

/// An author's work on one model of the resource roots.
///
/// A session keeps what the file said and what the author has made of it, and shows the latter in the tables
/// by its helper. So the model's own achievement tag, the hard points of its modules and edits that are not
/// saved outlive every load, opening and conversion. It never writes the file but by save. Sessions on
/// several models may be open at a time, but only one on each. Main thread only.
class Session {
 public:
  /// Opens a model by its resource name. Refused when no root holds it, when it or the database cannot be
  /// read, when its name is not spelled as the database would spell it, and while another session has it
  /// open: the tables hold the edits of one only. May load the database anew, which drops unsaved edits of
  /// helpers that belong to no session.
  static Result<std::unique_ptr<Session>> open(const std::string& modelName);

  /// Edits that were not saved are dropped.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// @name Reading
  /// @{

  const std::string& modelName() const;
  KsDestructibleType category() const;
  /// The category that the materials suggest.
  KsDestructibleType suggestedCategory() const;
  /// Everything that the database would hold of the model after a save, but for what saveWarnings names.
  Description description();
  /// The tag of the section of each entry that the file has of the model, in the order of the file.
  std::vector<std::string> sections() const;
  /// Whether the model has entries that were made in memory and are not in the file.
  bool isMissingInDatabase();
  bool hasUnsavedEdits();
  /// What another program has changed meanwhile that was edited here, too. The edits are kept: a save
  /// replaces what the file holds. The list ends with the save, and as soon as both have the same.
  const std::vector<Conflict>& conflicts() const;

  std::vector<Material> materials() const;
  std::vector<MaterialWarning> materialWarnings() const;
  /// What is questionable about the values that the model's entry has now.
  std::vector<ValueWarning> valueWarnings();
  /// What the entry names and the model lacks, a line each.
  std::vector<std::string> namesLacking() const;
  /// Valid until the model's files change.
  const std::vector<std::string>& hardPoints() const;
  const std::set<std::string>& bspMaterials() const;

  /// "undamaged", the named states in ascending order, "destroyed".
  std::vector<std::string> stateNames();
  std::vector<std::string> materialsForState(const std::string& state);
  /// Each of stateNames with its materials.
  std::vector<std::pair<std::string, std::vector<std::string>>> states();
  /// The state that the model shows.
  const std::string& shownState() const;

  /// A fault when the size that decides it cannot be read.
  Result<HealthExplanation> explainHealth();

  /// @}
  /// @name Editing
  /// Every edit is checked as a whole before the first part of it is made; a name that does not exist is
  /// refused with the nearest one that does.
  /// @{

  /// Makes the model of a category; nothing changes when it is of it already. DT_NON_DESTRUCTIBLE drops its
  /// entries. Variants are refused any category, and a model without an undamaged part that of structures: it
  /// would have no module that could break. The warnings name the values that were not saved and go with it,
  /// but for those that a new entry has anyway, as commands that set them again (see linesOf); what leaves
  /// the file is named by the save.
  Result<Outcome> convert(KsDestructibleType to);

  /// Converts the model to the category that its materials suggest. Refused when they suggest none, with the
  /// kind that is missing.
  Result<Outcome> convertAsSuggested();

  /// Replaces the records by newly made ones of the same category. The achievement tag of a structure, the
  /// hard points of its modules and its states stay; the warnings name what does not, saved or not, as those
  /// of convert. Refused for a model of no category.
  Result<Outcome> reset();

  /// Sets fields of the model's own record, by their XML keys or the names that panels display: of a fragile,
  /// a falling atom, or, for a structure, its "achievementTag".
  Result<Outcome> set(const std::vector<Assignment>& assignments);

  /// Sets fields of one module of a structure. Refused for a module that a save would drop.
  Result<Outcome> setModule(const std::string& module, const std::vector<Assignment>& assignments);

  /// Refused when the model is no structure, which alone can have named states, and the file holds none of it
  /// either.
  Result<void> checkStates() const;

  /// The named states of a structure.
  Result<Outcome> addState(const std::string& state);
  Result<Outcome> removeState(const std::string& state);
  /// Adds materials in the given order behind those that are there. One that the state cannot show destroyed,
  /// since its kind is no undamaged part's, is refused; when forced, it is added with a warning.
  Result<Outcome> addMaterials(const std::string& state, const std::vector<std::string>& materials,
                               bool isForced = false);
  Result<Outcome> removeMaterials(const std::string& state, const std::vector<std::string>& materials);

  /// Shows the model in a state; refused, with nothing changed, when there is none of that name.
  Result<void> showState(const std::string& state);

  /// @}
  /// @name Saving
  /// @{

  /// What a save at this moment would drop or remove, and what is probably not meant to be saved.
  std::vector<SaveWarning> saveWarnings();

  /// Writes the model's entries to the database, or removes them when it has no category. When refused, the
  /// file is as it was and the edits are kept; saving again tries again. What another program wrote into the
  /// entry meanwhile is kept where this session changed nothing.
  ///
  /// Refused once when another program has given the model another category since it was edited here; the
  /// next save replaces that. Refused as long as a section of the file has the model's <filename> itself and
  /// holds anything that is not the model's, which would be removed with it.
  ///
  /// Once saved, the outcome has the warnings of this save (see saveWarnings) as they were just before the
  /// file was written, while no other program could save it. Refused within an open SaveGroup of the host,
  /// since the tables would be reloaded from a document that is written only afterwards.
  Result<Outcome> save();

  /// Saves several sessions as save does, but with one replacement of the file and one load of the database.
  /// The outcomes are in the order of the sessions. When one of them is refused, or given twice, none is
  /// saved.
  static Result<std::vector<Outcome>> saveAll(const std::vector<Session*>& sessions);

  /// @}
  /// @name Following
  /// Slots are called between the operations of sessions, never within one. They may open, edit, save and
  /// close sessions, but close none that is in the middle of a call of its own.
  /// @{

  /// Calls `slot` after an edit, once what was edited is in place.
  ks::Connection connectEdited(std::function<void()> slot) const;

  /// Calls `slot` when the session has read another content of the database, also that of its own save, or
  /// the model's own files anew. Its edits are in place by then; `namesLacking` tells what of them the model
  /// has no more.
  ks::Connection connectReloaded(std::function<void()> slot) const;

  /// @}

  /// The helper, for reading; replaced when the model's files change (see connectReloaded).
  KsDestructiblesHelper& helper() const noexcept;

 private:
  explicit Session(std::unique_ptr<OpenModel> model);

  // Edits.
  Result<void> checkEdit() const;
  Result<void> checkCategory() const;
  Result<void> checkConversion(KsDestructibleType to) const;
  Result<Outcome> convertTo(KsDestructibleType to);
  Result<Outcome> setAchievementTag(const std::vector<Assignment>& assignments);
  Result<void> checkEditableStates() const;
  Result<void> checkState(const std::string& state);
  Change editStates(const std::function<void(Description::States&)>& edit);

  // Saving.
  std::map<std::string, std::string> droppedModules();
  std::vector<SaveWarning> warningsOf(const DataSection& database);
  Result<void> checkSave(const DataSection& database) const;
  static Result<std::vector<Outcome>> saveTogether(const std::vector<Session*>& sessions);
  static Result<std::vector<CheckedSave>> checkedSaves(const std::vector<Session*>& sessions);
  Result<CheckedSave> checkedSave(const DataSection& database);

  std::unique_ptr<OpenModel> model_;
};

}  // namespace Tal::authoring
