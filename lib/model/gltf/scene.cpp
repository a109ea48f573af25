#include <model/gltf/bounds.h>
#include <model/gltf/fault.h>
#include <model/gltf/scene.h>

#include <map>
#include <utility>

namespace Tal {
namespace {

constexpr const char* kNoMaterialName = "unassigned";

class SceneReader {
 public:
  explicit SceneReader(const GltfDocument& document) : document_(document), bounds_(document) {}

  Result<GltfScene> read() {
    const auto walked =
        walkGltfScene(document_, [this](const GltfVisit& visit) -> Result<void> { return add(visit); });
    if (!walked) return walked.fault();
    collectMaterials();
    const auto box = bounds_.box();
    if (!box) return gltfFault("shows no mesh");
    scene_.box = *box;
    return std::move(scene_);
  }

 private:
  Result<void> add(const GltfVisit& visit) {
    const GltfNode& node = document_.nodes[visit.node];
    scene_.nodes.push_back({node.name, visit.parent ? static_cast<int>(*visit.parent) : -1});
    if (!node.mesh) return {};
    auto& [isShown, isCollided] = meshUses_[*node.mesh];
    (visit.isCollision ? isCollided : isShown) = true;
    return visit.isCollision ? bounds_.check(*node.mesh) : bounds_.add(node, visit.world);
  }

  void collectMaterials() {
    std::map<int, GltfUsedMaterial> materials;
    for (const auto& [mesh, uses] : meshUses_) {
      for (const GltfPrimitive& primitive : document_.meshes[mesh].primitives) {
        const int index = primitive.material ? static_cast<int>(*primitive.material) : -1;
        GltfUsedMaterial& material = materials[index];
        material.index = index;
        material.isVisible |= uses.first;
        material.isCollision |= uses.second;
      }
    }
    for (std::size_t index = 0; index < document_.materials.size(); ++index) {
      const GltfMaterial& source = document_.materials[index];
      const auto used = materials.find(static_cast<int>(index));
      if (used == materials.end()) {
        scene_.unusedMaterials.push_back(source.name);
        continue;
      }
      used->second.name = source.name.empty() ? "material_" + std::to_string(index) : source.name;
      used->second.kind = source.kind;
    }
    auto unassigned = materials.extract(-1);
    for (auto& [index, material] : materials) scene_.materials.push_back(std::move(material));
    if (unassigned.empty()) return;
    unassigned.mapped().name = kNoMaterialName;
    scene_.materials.push_back(std::move(unassigned.mapped()));
  }

  const GltfDocument& document_;
  GltfBounds bounds_;
  GltfScene scene_;
  std::map<std::uint32_t, std::pair<bool, bool>> meshUses_;  // shown, collided with
};

}  // namespace

Result<GltfScene> sceneOf(const GltfDocument& document) {
  return SceneReader(document).read();
}

}  // namespace Tal
