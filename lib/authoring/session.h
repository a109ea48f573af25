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
    droppedModule,  ///< a module that is not written
    noModules,      ///< a structure is written without any module
    unknownHealth,  ///< a health of -1: "could not be estimated"
    removedEntry,   ///< another entry of the model, or a whole section, leaves the file
    addedModule,    ///< a module that the file lacks
    conflict,       ///< a value that replaces another program's (see conflicts)
    lostContent,    ///< something in the entry that is not kept
    thrownAway,     ///< values that leave the file, as commands (see linesOfSave)
  };
  Code code;
  std::string module;  ///< empty when it is about the model
  std::string text;    ///< one line for a person
};

/// An author's work on one model. Edits are kept here and shown in the tables: they outlive every load,
/// opening and conversion, and reach the file by save alone. Several sessions may be open, one for each
/// model. Main thread only.
class Session {
 public:
  /// Refused when no root holds the model, when it or the database cannot be read, when the database would
  /// spell the name otherwise, and while another session has it open. Unsaved edits of helpers that belong to
  /// no session may be lost.
  static Result<std::unique_ptr<Session>> open(const std::string& modelName);

  /// Drops unsaved edits.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// @name Reading
  /// @{

  const std::string& modelName() const;
  KsDestructibleType category() const;
  /// The category that the materials suggest.
  KsDestructibleType suggestedCategory() const;
  /// What the database would hold of the model after a save, but for what saveWarnings names.
  Description description();
  /// The section of each entry that the file has of the model.
  std::vector<std::string> sections() const;
  /// Whether the file has no entry of the model's category.
  bool isMissingInDatabase();
  bool hasUnsavedEdits();
  /// What both this session and another program have changed. A save writes what was edited here. A conflict
  /// ends with that, or when both are equal.
  const std::vector<Conflict>& conflicts() const;

  std::vector<Material> materials() const;
  std::vector<MaterialWarning> materialWarnings() const;
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
  const std::string& shownState() const;

  /// A fault when the size that decides it cannot be read.
  Result<HealthExplanation> explainHealth();

  /// @}
  /// @name Editing
  /// An edit is done as a whole or refused. An unknown name is refused with the nearest known one. Warnings
  /// name values that go, as commands that set them again (see linesOf).
  /// @{

  /// Makes the model of a category, and of none with DT_NON_DESTRUCTIBLE. Refused for variants, and for a
  /// structure without an undamaged part.
  Result<Outcome> convert(KsDestructibleType to);

  /// Converts to suggestedCategory; refused when there is none.
  Result<Outcome> convertAsSuggested();

  /// Makes the records anew; a structure keeps its tag, its states and the hard points of its modules.
  Result<Outcome> reset();

  /// Sets fields of the model's own record, by XML key or display name; a structure has "achievementTag".
  Result<Outcome> set(const std::vector<Assignment>& assignments);

  /// The same of a module; refused for one that a save drops.
  Result<Outcome> setModule(const std::string& module, const std::vector<Assignment>& assignments);

  /// A fault when the model is no structure, and the file has no states of it either.
  Result<void> checkStates() const;

  /// The named states of a structure.
  Result<Outcome> addState(const std::string& state);
  Result<Outcome> removeState(const std::string& state);
  /// Adds materials behind those that are there. One that cannot look destroyed is refused; when forced, it
  /// is added with a warning.
  Result<Outcome> addMaterials(const std::string& state, const std::vector<std::string>& materials,
                               bool isForced = false);
  Result<Outcome> removeMaterials(const std::string& state, const std::vector<std::string>& materials);

  /// Shows the model in a state.
  Result<void> showState(const std::string& state);

  /// @}
  /// @name Saving
  /// @{

  /// What a save would do now that may not be meant. A fault when the database cannot be read.
  Result<std::vector<SaveWarning>> saveWarnings();

  /// Writes the model's entries, or removes those of a model without category; what another program wrote
  /// meanwhile stays where nothing was edited here. The outcome has the warnings of this save. A fault leaves
  /// the file and the edits as they are. Refused:
  /// - once, when another program has given the model another category;
  /// - while a section has the model's <filename> itself and holds what is not the model's;
  /// - within an open SaveGroup.
  Result<Outcome> save();

  /// Saves several sessions with one replacement of the file: all of them or, when one is refused or given
  /// twice, none. The outcomes are in their order.
  static Result<std::vector<Outcome>> saveAll(const std::vector<Session*>& sessions);

  /// @}
  /// @name Following
  /// Slots are called between operations of sessions. They may open, edit, save and close sessions, but close
  /// none that is in a call of its own.
  /// @{

  /// Calls `slot` after an edit.
  ks::Connection connectEdited(std::function<void()> slot) const;

  /// Calls `slot` when the database, also as saved here, or the model's own files were read anew. Unsaved
  /// edits are in place by then (see conflicts, namesLacking).
  ks::Connection connectReloaded(std::function<void()> slot) const;

  /// @}

  /// For reading; replaced when the model's files change (see connectReloaded).
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
