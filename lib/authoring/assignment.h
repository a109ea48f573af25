#pragma once

#include <string>

namespace Tal::authoring {

/// A field, by its XML key or the name that panels display, and the text that it is to be set from.
struct Assignment {
  std::string key;
  std::string value;
};

}  // namespace Tal::authoring
