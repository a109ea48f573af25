#pragma once

#include <stdexcept>
#include <string>

namespace Tal {

/// What is wrong with a glTF file, in one line that goes on from the file's name ("is empty"). It never
/// leaves this room: importGltf turns it into a result.
class GltfFault : public std::runtime_error {
 public:
  /// What the file says must be escaped in `fault` already (see quotedName and escapeControls).
  explicit GltfFault(const std::string& fault) : std::runtime_error(fault) {}
};

}  // namespace Tal
