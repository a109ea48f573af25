#pragma once

#include <authoring/description.h>
#include <authoring/restore_target.h>
#include <destructibles/ks_destructibles_helper.h>

#include <string>
#include <vector>

namespace Tal {
class DataSection;
}

namespace Tal::authoring {

/// Values of one category that a model loses.
struct ThrownAway {
  KsDestructibleType category = DT_NON_DESTRUCTIBLE;
  Description values;             ///< of these, only what belongs to the category
  Description replacement;        ///< what the model has of that category instead
  bool isOfAnotherEntry = false;  ///< the values are of an entry that did not count beside another one
  bool isOtherCategory = false;   ///< the model has to be converted to have them again
};

/// One readable line for each value that the replacement lacks. Commands that would give it back stand behind
/// "thrown away: ", or behind "thrown away (MARK): " where something has to be done first or nothing helps;
/// no mark holds a colon. A command lacks the name of the program and is quoted for a shell. What no command
/// gives back is told in a sentence. Empty when nothing is lost.
///
/// A value that would be refused gets a command of its own, after the others, so that those still succeed.
/// Scales that an edit takes as equal are no difference; a module that the replacement lacks is given with
/// all its values.
std::vector<std::string> linesOf(const ThrownAway& thrownAway, const RestoreTarget& target);

/// The same lines for each entry of the model that a save with this category would remove. They also cover
/// the rewritten entry if a later entry overrode it. Keys and numbers that a load ignores are included.
/// Values are compared with the record in the file, not with unsaved edits.
std::vector<std::string> linesOfSave(const DataSection& database, KsDestructibleType category,
                                     const RestoreTarget& target);

}  // namespace Tal::authoring
