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
  int index = -1;                     ///< its place in the file; -1 for what carries no material
  std::optional<std::uint32_t> kind;  ///< extras.materialKind
  bool isVisible = false;             ///< used by a mesh that is shown
  bool isCollision = false;           ///< used by a mesh of a collision node
};

/// A node of the scene.
struct GltfSceneNode {
  std::string name;  ///< may be empty
  int parent = -1;   ///< its place among the nodes; -1 at the top
};

/// What an import needs to know of a glTF file. Names are without surrounding white space.
struct GltfScene {
  std::vector<GltfSceneNode> nodes;          ///< of the default scene, every node behind its parent
  std::vector<GltfUsedMaterial> materials;   ///< by their place in the file; what carries none comes last
  std::vector<std::string> unusedMaterials;  ///< the names of those that no mesh of the scene uses
  BoundingBox box;                           ///< of the shown meshes, in the scene's space
};

/// Walks through the default scene of a document that was read whole (see readGltf). A fault when it shows
/// no mesh, or cannot be measured (see GltfBounds). Usable on any thread.
Result<GltfScene> sceneOf(const GltfDocument& document);

}  // namespace Tal
