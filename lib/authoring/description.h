#pragma once

#include <destructibles/ks_destructibles_helper.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// Everything that the database holds, or would after a save, of one model. Of an open model also the records
/// of other categories that conversions have left behind.
struct Description {
  using Modules = std::map<std::string, KsDestructibleModuleDesc>;
  using States = std::map<std::string, std::vector<std::string>>;

  KsDestructibleType category = DT_NON_DESTRUCTIBLE;
  std::string achievementTag;                        ///< a structure's; empty for other models
  Modules modules;                                   ///< by material name
  States states;                                     ///< the named states and their materials, in order
  std::optional<KsDestructibleFragileDesc> fragile;  ///< while the model is a fragile
  std::optional<KsDestructibleFallingAtomDesc> fallingAtom;  ///< while the model is a falling atom
};

/// The description without what belongs to other categories than its own.
Description ofItsCategory(Description description);

/// The description without the records of its category.
Description withoutItsRecords(Description description);

/// The description with the record of its category, and for a structure each of the new modules, from
/// `newEntries` as far as it lacks them.
Description completed(Description description, const Description& newEntries);

/// Whether two descriptions agree in everything, numbers exactly.
bool isSame(const Description& a, const Description& b);

}  // namespace Tal::authoring
