#pragma once

#include <destructibles/ks_destructibles_helper.h>

#include <string>
#include <vector>

namespace Tal::authoring {

/// What the next save does not keep of the entry that the file has of a model of that category, each a line
/// for a person: whatever stands in its modules and states beside what a load takes from them (they are
/// written anew), and numbers that are none. Of very many only the first are named.
std::vector<std::string> lossesOfSave(const std::string& modelName, KsDestructibleType category);

/// A child of the database's root that a save of a model removes whole.
struct RemovedSection {
  std::string tag;
  std::string otherModel;  ///< the first other model with an entry in it; empty when there is none
};

/// What the next save of a model, whatever its category, removes whole: every child of the root that has the
/// model's <filename> itself, as only an entry should. Empty when the database cannot be opened.
std::vector<RemovedSection> sectionsRemovedBySave(const std::string& modelName);

}  // namespace Tal::authoring
