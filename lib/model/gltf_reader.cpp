#include <core/display_text.h>
#include <core/string_ref.h>
#include <core/white_space.h>
#include <model/gltf_check.h>
#include <model/gltf_container.h>
#include <model/gltf_embed.h>
#include <model/gltf_fault.h>
#include <model/gltf_file.h>
#include <model/gltf_indices.h>
#include <model/gltf_reader.h>
#include <model/model_names.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

namespace Tal {
namespace {

constexpr std::size_t kShownLoaderText = 160;
constexpr const char* kNoMaterialName = "unassigned";

std::string nodeText(std::size_t index) {
  return "nodes[" + std::to_string(index) + "]";
}

std::size_t asIndex(int index) {
  return static_cast<std::size_t>(index);
}

/// Images stay as they are; nothing is decoded.
bool ignoreImage(tinygltf::Image* /*image*/, const int /*index*/, std::string* /*error*/,
                 std::string* /*warning*/, int /*width*/, int /*height*/, const unsigned char* /*bytes*/,
                 int /*size*/, void* /*data*/) {
  return true;
}

/// The file holds everything by now, so nothing is looked for on disk.
tinygltf::FsCallbacks noFileSystem() {
  return {[](const std::string&, void*) { return false; },
          [](const std::string& path, void*) { return path; },
          [](std::vector<unsigned char>*, std::string*, const std::string&, void*) { return false; },
          [](std::string*, const std::string&, const std::vector<unsigned char>&, void*) { return false; },
          nullptr};
}

tinygltf::Model parseGlb(const std::string& glb) {
  tinygltf::TinyGLTF loader;
  loader.SetImageLoader(ignoreImage, nullptr);
  loader.SetFsCallbacks(noFileSystem());
  tinygltf::Model model;
  std::string error;
  std::string warning;
  const bool isLoaded = loader.LoadBinaryFromMemory(&model, &error, &warning,
                                                    reinterpret_cast<const unsigned char*>(glb.data()),
                                                    static_cast<unsigned>(glb.size()));
  if (!isLoaded) {
    // The loader's text may repeat whole names of the file.
    const std::size_t shown = std::min(error.find('\n'), kShownLoaderText);
    throw GltfFault("cannot be read: " + escapeControls(error.substr(0, shown)));
  }
  return model;
}

/// The parent of every node, -1 at the top. The nodes are known to make a forest afterwards.
std::vector<int> findParents(const tinygltf::Model& model) {
  std::vector<int> parents(model.nodes.size(), -1);
  for (std::size_t node = 0; node < model.nodes.size(); ++node) {
    for (const int child : model.nodes[node].children) {
      int& parent = parents[asIndex(child)];
      if (parent >= 0) {
        throw GltfFault("has " + nodeText(asIndex(child)) + " as the child of both " +
                        nodeText(asIndex(parent)) + " and " + nodeText(node));
      }
      parent = static_cast<int>(node);
    }
  }
  // Walking up from each node, a node met again on the same way closes a cycle.
  std::vector<std::size_t> walkOf(parents.size(), 0);
  for (std::size_t start = 0; start < parents.size(); ++start) {
    for (int node = static_cast<int>(start); node >= 0; node = parents[asIndex(node)]) {
      std::size_t& walk = walkOf[asIndex(node)];
      if (walk == start + 1) throw GltfFault("has " + nodeText(asIndex(node)) + " below itself");
      if (walk != 0) break;
      walk = start + 1;
    }
  }
  return parents;
}

/// The top nodes of the default scene, or of the file when it has no scene.
std::vector<int> findRoots(const tinygltf::Model& model, const std::vector<int>& parents) {
  std::vector<int> roots;
  if (model.scenes.empty()) {
    for (std::size_t node = 0; node < parents.size(); ++node) {
      if (parents[node] < 0) roots.push_back(static_cast<int>(node));
    }
    return roots;
  }
  roots = model.scenes[asIndex(std::max(model.defaultScene, 0))].nodes;
  for (const int root : roots) {
    if (parents[asIndex(root)] < 0) continue;
    throw GltfFault("has " + nodeText(asIndex(root)) + " at the top of its scene and as the child of " +
                    nodeText(asIndex(parents[asIndex(root)])));
  }
  std::vector<int> sorted = roots;
  std::sort(sorted.begin(), sorted.end());
  const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
  if (twice != sorted.end()) throw GltfFault("has " + nodeText(asIndex(*twice)) + " twice in its scene");
  return roots;
}

Affine fromTranslationRotationScale(const tinygltf::Node& node) {
  Affine local;
  if (node.rotation.size() == 4) {
    const double x = node.rotation[0];
    const double y = node.rotation[1];
    const double z = node.rotation[2];
    const double w = node.rotation[3];
    local.columns[0] = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)};
    local.columns[1] = {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)};
    local.columns[2] = {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)};
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (node.scale.size() == 3) {
      for (double& component : local.columns[axis]) component *= node.scale[axis];
    }
    if (node.translation.size() == 3) local.columns[3][axis] = node.translation[axis];
  }
  return local;
}

Affine localTransform(const tinygltf::Node& node) {
  if (node.matrix.size() != 16) return fromTranslationRotationScale(node);
  Affine local;
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 3; ++row) local.columns[column][row] = node.matrix[column * 4 + row];
  }
  return local;
}

std::string trimmedName(const std::string& name) {
  return std::string(trimmed(name));
}

/// Modelling programs without a Boolean type for custom values write 1.
bool isMarkedAsCollision(const tinygltf::Node& node) {
  if (trimmedName(node.name).starts_with(model_names::kCollisionPrefix)) return true;
  if (!node.extras.IsObject()) return false;
  const tinygltf::Value& mark = node.extras.Get("bsp");
  return (mark.IsBool() && mark.Get<bool>()) || (mark.IsNumber() && mark.GetNumberAsDouble() != 0);
}

class SceneReader {
 public:
  explicit SceneReader(const tinygltf::Model& model) : model_(model), bounds_(model) {}

  void read(GltfScene& scene) {
    visitNodes(scene);
    collectMaterials(scene);
    const auto box = bounds_.box();
    if (!box) throw GltfFault("shows no mesh");
    scene.box = *box;
  }

 private:
  struct Visit {
    int node;
    int parent;  // its place among the scene's nodes
    bool isCollision;
    Affine world;
  };

  /// Walks without recursion, since nodes may be nested as deeply as a file can say.
  void visitNodes(GltfScene& scene) {
    const std::vector<int> roots = findRoots(model_, findParents(model_));
    std::vector<Visit> open;
    for (auto root = roots.rbegin(); root != roots.rend(); ++root)
      open.push_back({*root, -1, false, Affine()});
    while (!open.empty()) {
      const Visit visit = open.back();
      open.pop_back();
      const tinygltf::Node& node = model_.nodes[asIndex(visit.node)];
      const int place = static_cast<int>(scene.nodes.size());
      scene.nodes.push_back({trimmedName(node.name), visit.parent});
      const bool isCollision = visit.isCollision || isMarkedAsCollision(node);
      const Affine world = visit.world * localTransform(node);
      if (node.mesh >= 0) addMesh(node, isCollision, world);
      for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) {
        open.push_back({*child, place, isCollision, world});
      }
    }
  }

  void addMesh(const tinygltf::Node& node, bool isCollision, const Affine& world) {
    auto& [isShown, isCollided] = meshUses_[node.mesh];
    (isCollision ? isCollided : isShown) = true;
    if (isCollision) return bounds_.check(node.mesh);
    // A skin places its mesh by the joints; at rest the mesh stands as it was modelled.
    bounds_.add(node.mesh, node.skin >= 0 ? Affine() : world);
  }

  void collectMaterials(GltfScene& scene) {
    std::map<int, GltfMaterial> materials;
    for (const auto& [mesh, uses] : meshUses_) {
      for (const tinygltf::Primitive& primitive : model_.meshes[asIndex(mesh)].primitives) {
        GltfMaterial& material = materials[primitive.material];
        material.isVisible |= uses.first;
        material.isCollision |= uses.second;
      }
    }
    for (auto& [index, material] : materials) {
      material.index = index;
      if (index >= 0) describe(model_.materials[asIndex(index)], material);
    }
    for (std::size_t index = 0; index < model_.materials.size(); ++index) {
      if (materials.contains(static_cast<int>(index))) continue;
      scene.unusedMaterials.push_back(trimmedName(model_.materials[index].name));
    }
    auto unassigned = materials.extract(-1);
    for (auto& [index, material] : materials) scene.materials.push_back(std::move(material));
    if (unassigned.empty()) return;
    unassigned.mapped().name = kNoMaterialName;
    scene.materials.push_back(std::move(unassigned.mapped()));
  }

  static void describe(const tinygltf::Material& source, GltfMaterial& material) {
    material.name = trimmedName(source.name);
    if (material.name.empty()) material.name = "material_" + std::to_string(material.index);
    if (!source.extras.IsObject()) return;
    const tinygltf::Value& kind = source.extras.Get("materialKind");
    if (kind.IsNumber()) material.kind = static_cast<std::uint32_t>(kind.GetNumberAsDouble());
  }

  const tinygltf::Model& model_;
  GltfBounds bounds_;
  std::map<int, std::pair<bool, bool>> meshUses_;  // shown, collided with
};

}  // namespace

GltfScene readGltf(const std::filesystem::path& file) {
  GltfScene scene;
  {
    const std::string bytes = readGltfFile(file, {});
    const GltfContainer container = splitGltf(bytes);
    checkGltfJson(container.json);
    scene.glb =
        embedGltfData(container, bytes, file.has_parent_path() ? file.parent_path() : ".", scene.warnings);
  }
  const tinygltf::Model model = parseGlb(scene.glb);
  checkGltfIndices(model);
  SceneReader(model).read(scene);
  return scene;
}

}  // namespace Tal
