#pragma once

#include <destructibles/ks_destructibles_helper.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Tal {

/// What a load of the database left behind, so that a load of the same content need not read it again: the
/// tables hold it still, but for the models that were edited since.
struct KsDestructiblesHelper::LastLoad_t {
  /// A model's entries in the four tables; empty where a table had none.
  struct Entries_t {
    std::optional<DestrStates_t> states;
    std::optional<ModuleTable> modules;
    std::optional<KsDestructibleFragileDesc> fragile;
    std::optional<KsDestructibleFallingAtomDesc> fallingAtom;
  };

  std::uint64_t contentStamp = 0;  ///< see DataSection::contentStamp; 0: the tables are no load's
  std::optional<std::string> lastAchievementTag;  ///< of the last structure; empty when there was none
  std::map<std::string, Entries_t> edited;        ///< how the entries of the edited models were
  std::uint64_t savedStamp = 0;                   ///< of what that content has become by saving models
  std::vector<std::string> savedModels;           ///< whose entries alone are different there
  /// Helpers whose flags were cleared by a save that has not succeeded, with the category of the entries that
  /// the file lacks still.
  std::map<const KsDestructiblesHelper*, KsDestructibleType> stillMissing;
};

/// The contents of the class-wide tables while they are out of place.
struct KsDestructiblesHelper::Tables_t {
  std::map<std::string, DestrStates_t> states;
  std::map<std::string, ModuleTable> modules;
  std::map<std::string, KsDestructibleFragileDesc> fragiles;
  std::map<std::string, KsDestructibleFallingAtomDesc> fallingAtoms;
  LastLoad_t lastLoad;
};

}  // namespace Tal
