#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <files/file_identity.h>
#include <model/bounding_box.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tal {

/// One material slot of a visual.
struct VisualMaterial {
  std::string identifier;
  std::uint32_t kind = 0;
  int geometryMaterial = -1;  ///< its index among the geometry's materials; -1 for what carries none
};

/// One node of a visual's skeleton.
struct VisualNode {
  std::string name;
  int parent = -1;  ///< the index of a node before this one; -1 at the top
};

/// The content of a model's files. XML can hold every text.
struct ModelDescription {
  std::string stem;  ///< the name that the three resources share, without extension
  std::string glb;   ///< the geometry's bytes
  BoundingBox box;
  std::vector<VisualMaterial> materials;
  std::vector<VisualNode> nodes;
  std::vector<std::string> bspMaterials;
};

/// The names of a model's three resources: `stem` with their extensions.
std::string modelNameOf(BasicStringRef stem);
std::string visualNameOf(BasicStringRef stem);
std::string geometryNameOf(BasicStringRef stem);

/// Writes the three files below the resource root `root`, all or none: after a fault the files are as they
/// were. With `taken` the root must still be that folder. Main thread only.
///
/// - When the process is killed in between there is no ".model", but a visual that shows this (see
/// ImportMark).
/// - Existing files are replaced when `overwrite` is true or such an import left them, else they are a fault.
/// - Files of a newer version are always a fault.
Result<void> writeModelFiles(const ModelDescription& description, const std::filesystem::path& root,
                             const std::optional<files::FileIdentity>& taken, bool overwrite);

}  // namespace Tal
