#include <core/string_ref.h>
#include <model/model_names.h>
#include <model/utilities.h>

namespace Tal::Utilities {

using model_names::kModelExtension;
using model_names::kVisualExtension;

std::string getVisualPath(const std::string& modelName) {
  BasicStringRef stem = modelName;
  if (stem.ends_with(kModelExtension)) stem.remove_suffix(kModelExtension.size());
  return std::string(stem).append(kVisualExtension);
}

}  // namespace Tal::Utilities
