#pragma once

#include <core/result.h>
#include <destructibles/ks_destructibles_helper.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// One model of the database.
struct CatalogueEntry {
  std::string model;
  KsDestructibleType category = DT_NON_DESTRUCTIBLE;  ///< as a session on the model would find it
  std::optional<bool> hasModelFile = false;           ///< empty when its place cannot be examined
};

/// A fault when no model can have this name: it names no resource, or is not spelled as in the database. Its
/// text goes on from the name.
Result<void> checkSpelling(const std::string& modelName);

/// Whether a model can be of this name, see checkSpelling.
bool canNameModel(const std::string& modelName);

/// Every model that the database names, in ascending order. Main thread only.
Result<std::vector<CatalogueEntry>> readCatalogue();

/// Every "*.model" file below the resource roots, by resource name, in ascending order. Walks the folders.
std::vector<std::string> modelFiles();

/// The models of the database and the model files, in ascending order, each once.
std::vector<std::string> knownModels();

}  // namespace Tal::authoring
