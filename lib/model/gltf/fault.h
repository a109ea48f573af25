#pragma once

#include <core/result.h>

#include <string>
#include <utility>

namespace Tal {

/// The fault of a glTF file that is not as the format demands. `what` goes on from the file's name ("is
/// empty"), with what the file says escaped (see quotedName); without a remedy the import adds one.
inline Fault gltfFault(std::string what, std::string remedy = {}) {
  return {FaultKind::malformed, std::move(what), std::move(remedy)};
}

}  // namespace Tal
