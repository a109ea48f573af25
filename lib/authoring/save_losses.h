#pragma once

#include <authoring/description.h>
#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <map>
#include <string>
#include <vector>

namespace Tal {
class DataSection;
}

namespace Tal::authoring {

/// The modules that a save of a helper's model drops of these, each with the reason and what to do.
std::map<std::string, std::string> droppedModules(const KsDestructiblesHelper& helper,
                                                  const Description::Modules& modules);

/// What a save would discard from the model's entry, one readable line each. Modules and states are
/// rewritten, so anything in them that a load ignores is lost. So are values that should be numbers but are
/// not. Of very many only the first are named.
std::vector<std::string> lossesOfSave(const DataSection& database, const std::string& modelName,
                                      KsDestructibleType category);

/// How often the entry that a save as a model of this category would rewrite has a key; 0 when there is none.
int countInOwnEntry(const DataSection& database, const std::string& modelName, KsDestructibleType category,
                    BasicStringRef key);

/// An entry whose values a save does not leave in the file as they are.
struct LostEntry {
  KsDestructibleType category = DT_NON_DESTRUCTIBLE;  ///< of its section
  Description values;                                 ///< what a load takes from it
  std::vector<std::string> losses;  ///< of one that is removed: what no load takes, each a line for a person
};

/// The model's entries that a save with this category would remove or rewrite, in file order. For
/// DT_NON_DESTRUCTIBLE, all of them.
std::vector<LostEntry> entriesLostBySave(const DataSection& database, const std::string& modelName,
                                         KsDestructibleType category);

/// A child of the database's root that a save of a model removes whole.
struct RemovedSection {
  std::string tag;
  std::string foreign;  ///< the first thing in it that is not the model's, for a message; empty without any
};

/// What a save of a model, whatever its category, removes whole from an opened database: every child of the
/// root that has the model's <filename> itself, as only an entry should.
std::vector<RemovedSection> sectionsRemovedBySave(const DataSection& database, const std::string& modelName);

}  // namespace Tal::authoring
