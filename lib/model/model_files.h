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
  int geometryMaterial = -1;  ///< its place among the geometry's materials; -1 for what carries none
};

/// One node of a visual's skeleton.
struct VisualNode {
  std::string name;
  int parent = -1;  ///< its place among the nodes, where it stands before this one; -1 at the top
};

/// What the files of a model say. Every text is one that XML can hold.
struct ModelDescription {
  std::string stem;  ///< the name that the three resources share, without extension
  std::string glb;   ///< the geometry's bytes
  BoundingBox box;
  std::vector<VisualMaterial> materials;
  std::vector<VisualNode> nodes;
  std::vector<std::string> bspMaterials;
};

/// The names of a model's three resources, whose names without extensions are `stem`.
std::string modelNameOf(BasicStringRef stem);
std::string visualNameOf(BasicStringRef stem);
std::string geometryNameOf(BasicStringRef stem);

/// Makes the three files below the resource root `root`, all or none: after a fault the files are as they
/// were. With `taken` the root has to be that folder still. When the process is ended in between there is no
/// ".model", but a visual that tells that it was (see ImportMark). Files that are already there are replaced
/// when `overwrite` is true or such an import left them, else they are a fault. Those of a newer version
/// always are. Main thread only.
Result<void> writeModelFiles(const ModelDescription& description, const std::filesystem::path& root,
                             const std::optional<files::FileIdentity>& taken, bool overwrite);

}  // namespace Tal
