#pragma once

#include <support/temporary_folder.h>

#include <string>
#include <utility>
#include <vector>

namespace support {

/// What the files of a model say.
struct ModelFiles {
  std::vector<std::pair<std::string, unsigned>> materials = {};  ///< identifier and kind, in slot order
  std::vector<std::string> bsp = {};                             ///< the collision materials
  std::vector<std::string> nodes = {};                           ///< the skeleton, in order
  std::string corner = "1 1 1";                                  ///< of the bounding box, opposite the origin
};

/// Writes "STEM.model" and "STEM.visual" below a resource root. The names must not need escaping.
void writeModel(const TemporaryFolder& root, const std::string& stem, const ModelFiles& files);

}  // namespace support
