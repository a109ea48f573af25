#pragma once

#include <string>

namespace Tal::Utilities {

/// The resource name of the visual of a model: "NAME.visual" for "NAME.model"; for any other name the name
/// with ".visual" behind it. Usable on any thread.
std::string getVisualPath(const std::string& modelName);

}  // namespace Tal::Utilities
