#pragma once

#include <string>

namespace Tal::Utilities {

/// The resource name of a model's visual: "NAME.visual" for "NAME.model", else the name followed by
/// ".visual". Usable on any thread.
std::string getVisualPath(const std::string& modelName);

}  // namespace Tal::Utilities
