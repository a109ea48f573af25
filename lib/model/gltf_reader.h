#pragma once

#include <model/gltf_bounds.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tal {

/// A material that a mesh of the scene uses.
struct GltfMaterial {
  std::string name;                   ///< "material_N" when the file names none
  int index = -1;                     ///< its place in the file; -1 for what carries no material
  std::optional<std::uint32_t> kind;  ///< extras.materialKind
  bool isVisible = false;             ///< used by a mesh that is shown
  bool isCollision = false;           ///< used by a mesh of a collision node
};

/// A node of the scene.
struct GltfNode {
  std::string name;  ///< may be empty
  int parent = -1;   ///< its place among the nodes; -1 at the top
};

/// What an import needs to know of a glTF file. Names are without surrounding white space.
struct GltfScene {
  std::vector<GltfNode> nodes;               ///< of the default scene, every node behind its parent
  std::vector<GltfMaterial> materials;       ///< by their place in the file; what carries none comes last
  std::vector<std::string> unusedMaterials;  ///< the names of those that no mesh of the scene uses
  BoundingBox box;                           ///< of the shown meshes, in the scene's space
  std::vector<std::string> warnings;         ///< what could not be taken in, a line each
  std::string glb;                           ///< the file as a .glb with everything that it refers to
};

/// Reads and checks a .glb or .gltf file and the files that it refers to. Throws GltfFault for whatever
/// cannot be imported. Usable on any thread.
GltfScene readGltf(const std::filesystem::path& file);

}  // namespace Tal
