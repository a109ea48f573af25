#include "gltf_scene.h"

#include <model/gltf/container.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace sample {
namespace {

using nlohmann::ordered_json;

constexpr int kFloat = 5126;
constexpr int kUnsignedShort = 5123;
constexpr int kVertexData = 34962;
constexpr int kIndexData = 34963;
constexpr std::size_t kAlignment = 4;

/// Sines and cosines differ in the last digits from machine to machine; rounded to a tenth of a millimetre
/// they are equal.
float rounded(double number) {
  constexpr double kPerUnit = 10'000;
  const double steps = std::round(number * kPerUnit);
  return static_cast<float>(steps == 0 ? 0.0 : steps / kPerUnit);  // never minus zero
}

template <class Number>
void append(std::string& bytes, Number number) {
  const std::size_t end = bytes.size();
  bytes.resize(end + sizeof(number));
  std::memcpy(bytes.data() + end, &number, sizeof(number));
}

/// A document that grows mesh by mesh.
class DocumentBuilder {
 public:
  ordered_json root = ordered_json::object();
  std::string bin;

  /// Adds a mesh and gives its index. One that is never drawn needs no normals.
  std::size_t addMesh(const std::string& name, const Mesh& mesh, std::size_t material, bool withNormals) {
    ordered_json attributes = {{"POSITION", addVectors(mesh, &Mesh::Vertex::position, true)}};
    if (withNormals) attributes["NORMAL"] = addVectors(mesh, &Mesh::Vertex::normal, false);
    ordered_json primitive = {
        {"attributes", std::move(attributes)}, {"indices", addIndices(mesh)}, {"material", material}};
    root["meshes"].push_back({{"name", name}, {"primitives", ordered_json::array({std::move(primitive)})}});
    return root["meshes"].size() - 1;
  }

 private:
  std::size_t addVectors(const Mesh& mesh, Point Mesh::Vertex::*field, bool withBounds) {
    const std::size_t begin = bin.size();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    std::array<float, 3> min{kInfinity, kInfinity, kInfinity};
    std::array<float, 3> max{-kInfinity, -kInfinity, -kInfinity};
    for (const Mesh::Vertex& vertex : mesh.vertices()) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const float number = rounded((vertex.*field)[axis]);
        min[axis] = std::min(min[axis], number);
        max[axis] = std::max(max[axis], number);
        append(bin, number);
      }
    }
    ordered_json accessor = {{"bufferView", addView(begin, kVertexData)},
                             {"componentType", kFloat},
                             {"count", mesh.vertices().size()},
                             {"type", "VEC3"}};
    if (withBounds) {
      accessor["min"] = min;
      accessor["max"] = max;
    }
    root["accessors"].push_back(std::move(accessor));
    return root["accessors"].size() - 1;
  }

  std::size_t addIndices(const Mesh& mesh) {
    const std::size_t begin = bin.size();
    for (const std::uint16_t index : mesh.indices()) append(bin, index);
    root["accessors"].push_back({{"bufferView", addView(begin, kIndexData)},
                                 {"componentType", kUnsignedShort},
                                 {"count", mesh.indices().size()},
                                 {"type", "SCALAR"}});
    return root["accessors"].size() - 1;
  }

  std::size_t addView(std::size_t begin, int target) {
    root["bufferViews"].push_back(
        {{"buffer", 0}, {"byteOffset", begin}, {"byteLength", bin.size() - begin}, {"target", target}});
    bin.resize((bin.size() + kAlignment - 1) / kAlignment * kAlignment);
    return root["bufferViews"].size() - 1;
  }
};

ordered_json materialJson(const std::string& name, const Look& look) {
  ordered_json material = {{"name", name},
                           {"pbrMetallicRoughness",
                            {{"baseColorFactor", {look.colour[0], look.colour[1], look.colour[2], 1.0}},
                             {"metallicFactor", look.metallic},
                             {"roughnessFactor", look.roughness}}}};
  if (look.glows) material["emissiveFactor"] = look.colour;
  return material;
}

void writeFile(const std::filesystem::path& file, const std::string& content) {
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream << content;
  stream.close();
  if (!stream) throw std::runtime_error(file.string() + " cannot be written");
}

}  // namespace

void GltfScene::part(const std::string& material, const Look& look, Mesh mesh) {
  materials_.emplace_back(material, look);
  parts_.push_back({material, materials_.size() - 1, std::move(mesh), false});
}

void GltfScene::collision(const std::string& material, Mesh mesh) {
  parts_.push_back({"BSP_" + material, materialNamed(material), std::move(mesh), true});
}

void GltfScene::hardPoint(const std::string& name, const Point& place) {
  hardPoints_.push_back({name, place});
}

void GltfScene::writeGlb(const std::filesystem::path& folder) const {
  const Document written = document({});
  writeFile(folder / (name_ + ".glb"), Tal::joinGlb(written.json, written.bin));
}

void GltfScene::writeGltf(const std::filesystem::path& folder) const {
  const Document written = document(name_ + ".bin");
  writeFile(folder / (name_ + ".gltf"), written.json + "\n");
  writeFile(folder / (name_ + ".bin"), written.bin);
}

std::size_t GltfScene::materialNamed(const std::string& name) const {
  const auto found = std::find_if(materials_.begin(), materials_.end(),
                                  [&name](const auto& material) { return material.first == name; });
  if (found == materials_.end()) throw std::runtime_error(name_ + " has no material " + name);
  return static_cast<std::size_t>(found - materials_.begin());
}

GltfScene::Document GltfScene::document(const std::string& bufferUri) const {
  DocumentBuilder builder;
  ordered_json& root = builder.root;
  root["asset"] = {{"version", "2.0"}, {"generator", "generate_sample"}};
  root["scene"] = 0;
  // Braces around one value alone mean a list to one compiler and the value to another.
  root["scenes"] = ordered_json::array({{{"name", name_}, {"nodes", ordered_json::array({0})}}});
  root["nodes"] = ordered_json::array({{{"name", name_}, {"children", ordered_json::array()}}});
  const auto addNode = [&root](ordered_json node) {
    root["nodes"][0]["children"].push_back(root["nodes"].size());
    root["nodes"].push_back(std::move(node));
  };
  for (const auto& [name, look] : materials_) root["materials"].push_back(materialJson(name, look));
  for (const Part& part : parts_) {
    const std::size_t mesh = builder.addMesh(part.nodeName, part.mesh, part.material, !part.isCollision);
    addNode({{"name", part.nodeName}, {"mesh", mesh}});
  }
  for (const HardPoint& point : hardPoints_) addNode({{"name", point.name}, {"translation", point.place}});
  root["buffers"] = ordered_json::array({{{"byteLength", builder.bin.size()}}});
  if (bufferUri.empty()) return {root.dump(), builder.bin};
  root["buffers"][0]["uri"] = bufferUri;
  return {root.dump(1, '\t'), builder.bin};
}

}  // namespace sample
