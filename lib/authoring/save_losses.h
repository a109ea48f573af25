#pragma once

#include <destructibles/ks_destructibles_helper.h>

#include <string>
#include <vector>

namespace Tal::authoring {

/// What the next save does not keep of the entry that the file has of a model of that category, each a line
/// for a person: whatever stands in its modules and states beside what a load takes from them (they are
/// written anew), and numbers that are none. Of very many only the first are named.
std::vector<std::string> lossesOfSave(const std::string& modelName, KsDestructibleType category);

}  // namespace Tal::authoring
