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

/// Everything that the values have and their replacement has not, a line each for a person. Commands that
/// would give it back stand behind "thrown away: ", or behind "thrown away (MARK): " where something has to
/// be done first or nothing helps; no mark holds a colon. A command lacks the name of the program and is
/// quoted for a shell. What no command gives back is told in a sentence. Empty when nothing is lost.
///
/// What a command would refuse stands in one of its own, behind the others, so that it takes no other value
/// with it. Scales that an edit takes as equal are no difference; a module that the replacement lacks is
/// given with all its values.
std::vector<std::string> linesOf(const ThrownAway& thrownAway, const RestoreTarget& target);

/// The same of every entry of the target that a save as a model of this category would remove from an opened
/// database, and of one that did not count and would be rewritten; with the keys and numbers that no load
/// takes. The save's own record is compared with what the file says, not with what is edited.
std::vector<std::string> linesOfSave(const DataSection& database, KsDestructibleType category,
                                     const RestoreTarget& target);

}  // namespace Tal::authoring
