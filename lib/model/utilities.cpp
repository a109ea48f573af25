#include <core/string_ref.h>
#include <model/utilities.h>

namespace Tal::Utilities {
namespace {

constexpr BasicStringRef kModelExtension = ".model";
constexpr BasicStringRef kVisualExtension = ".visual";

}  // namespace

std::string getVisualPath(const std::string& modelName) {
  BasicStringRef stem = modelName;
  if (stem.ends_with(kModelExtension)) stem.remove_suffix(kModelExtension.size());
  return std::string(stem).append(kVisualExtension);
}

}  // namespace Tal::Utilities
