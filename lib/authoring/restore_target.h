#pragma once

#include <authoring/description.h>
#include <destructibles/ks_destructibles_helper.h>

#include <map>
#include <set>
#include <string>

namespace Tal::authoring {

/// The model that values are given back to: what it would have anyway, and what it would refuse.
struct RestoreTarget {
  std::string modelName;
  Description newEntries;                 ///< what newly made entries would hold: records of every category
  bool isHealthUncertain = false;         ///< the size that decides it could not be read
  std::set<std::string> unknownKeys;      ///< the keys of new entries whose values only the model can tell
  std::set<std::string> namedMaterials;   ///< those that a record can name
  std::map<std::string, bool> materials;  ///< those of states; whether one takes them unforced
  std::set<std::string> modules;          ///< those of a new structure that a save keeps
  bool isThere = true;                    ///< else nothing is known of materials and modules
  std::string need;                       ///< what to do before anything is given back; may be empty
  std::string verdict;                    ///< why nothing can be given back; empty when it can
};

/// The target that a helper's model is. The tables are loaded; logs nothing.
RestoreTarget targetOf(KsDestructiblesHelper& helper);

/// The target that a model without files would be, which has these entries.
RestoreTarget targetOfGone(const std::string& modelName, const Description& entries);

}  // namespace Tal::authoring
