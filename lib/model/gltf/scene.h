#pragma once

#include <core/result.h>
#include <model/bounding_box.h>
#include <model/gltf/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tal {

/// A material that a mesh of the scene uses.
struct GltfUsedMaterial {
  std::string name;                   ///< "material_N" when the file names none
  int index = -1;                     ///< its index in the file; -1 for what carries no material
  std::optional<std::uint32_t> kind;  ///< extras.materialKind
  bool isVisible = false;             ///< used by a mesh that is shown
  bool isCollision = false;           ///< used by a mesh of a collision node
};

/// A node of the scene.
struct GltfSceneNode {
  std::string name;  ///< may be empty
  int parent = -1;   ///< its index among the nodes; -1 at the top
};

/// What an import takes from a glTF file. Names have no surrounding white space.
struct GltfScene {
  std::vector<GltfSceneNode> nodes;          ///< of the default scene, parents first
  std::vector<GltfUsedMaterial> materials;   ///< in file order; what carries none comes last
  std::vector<std::string> unusedMaterials;  ///< names that no mesh of the scene uses
  BoundingBox box;                           ///< of the shown meshes, in the scene's space
};

/// Reads the default scene of a document from readGltf. A fault when it shows no mesh or cannot be measured
/// (see GltfBounds). Usable on any thread.
Result<GltfScene> sceneOf(const GltfDocument& document);

}  // namespace Tal
