#pragma once

#include <core/result.h>

#include <string>
#include <utility>

namespace Tal {

/// The fault of a malformed glTF file. `what` follows the file's name ("is empty"), with names from the file
/// escaped (see quotedName). Without a remedy the import adds one.
inline Fault gltfFault(std::string what, std::string remedy = {}) {
  return {FaultKind::malformed, std::move(what), std::move(remedy)};
}

}  // namespace Tal
