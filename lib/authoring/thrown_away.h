#pragma once

#include <authoring/description.h>
#include <authoring/outcome.h>
#include <destructibles/ks_destructibles_helper.h>

#include <string>
#include <vector>

namespace Tal::authoring {

/// The entry that would be made for a helper's model, of the category that it has, if it had none; nothing
/// but the category for a model of none. The tables are loaded.
Description newDescription(KsDestructiblesHelper& helper);

/// A description with the same records and modules as `entries`, but each as it is read where every key is
/// absent: what to compare with when the model is not there to say what a new entry would hold.
Description withDefaultsOf(const Description& entries);

/// Everything that the entry of one description of a model has and that of another has not, as the commands
/// that would give it back: "set MODEL KEY=VALUE...", the same with "--module NAME", "state MODEL add NAME"
/// and "state MODEL add-material NAME MATERIAL...". They are quoted for a shell, and lack the name of the
/// program. A module that the other description lacks is given with all its values. Empty when nothing
/// differs.
std::vector<std::string> commandsToRestore(const std::string& modelName, const Description& mine,
                                           const Description& other);

/// Adds these commands to the warnings of an outcome, each behind "thrown away: ".
void warnOfThrownAway(const std::string& modelName, const Description& mine, const Description& other,
                      Outcome& outcome);

}  // namespace Tal::authoring
