#pragma once

#include <stdexcept>
#include <string>

namespace Tal {

/// What is wrong with a glTF file, without the file's name. It never leaves this room: the import turns it
/// into a result.
class GltfFault : public std::runtime_error {
 public:
  explicit GltfFault(const std::string& fault) : std::runtime_error(fault) {}
};

}  // namespace Tal
