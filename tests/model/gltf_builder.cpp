#include "gltf_builder.h"

#include <cstdint>
#include <utility>

namespace support {
namespace {

void appendUint32(std::string& bytes, std::size_t value) {
  for (unsigned index = 0; index < 4; ++index) bytes += static_cast<char>(value >> (8U * index) & 0xffU);
}

void appendChunk(std::string& bytes, std::string_view type, std::string_view data, char padding) {
  const std::size_t padded = (data.size() + 3) / 4 * 4;
  appendUint32(bytes, padded);
  bytes += type;
  bytes += data;
  bytes.append(padded - data.size(), padding);
}

}  // namespace

Points boxPoints(const std::array<float, 3>& min, const std::array<float, 3>& max) {
  Points points;
  for (unsigned corner = 0; corner < 8; ++corner) {
    points.push_back({(corner & 1U) != 0 ? max[0] : min[0], (corner & 2U) != 0 ? max[1] : min[1],
                      (corner & 4U) != 0 ? max[2] : min[2]});
  }
  return points;
}

GltfBuilder::GltfBuilder() {
  root = {{"asset", {{"version", "2.0"}}},
          {"scene", 0},
          {"scenes", {{{"nodes", nlohmann::json::array()}}}},
          {"buffers", {{{"byteLength", 0}}}}};
}

int GltfBuilder::push(const char* list, nlohmann::json element) {
  root[list].push_back(std::move(element));
  return static_cast<int>(root[list].size()) - 1;
}

int GltfBuilder::addView(std::string_view bytes) {
  bin.resize((bin.size() + 3) / 4 * 4);
  const std::size_t begin = bin.size();
  bin += bytes;
  root["buffers"][0]["byteLength"] = bin.size();
  return push("bufferViews", {{"buffer", 0}, {"byteOffset", begin}, {"byteLength", bytes.size()}});
}

int GltfBuilder::addAccessor(std::string_view bytes, nlohmann::json description) {
  description["bufferView"] = addView(bytes);
  return push("accessors", std::move(description));
}

int GltfBuilder::addPositions(const Points& points) {
  return addAccessor({reinterpret_cast<const char*>(points.data()), points.size() * sizeof(points[0])},
                     {{"componentType", 5126}, {"count", points.size()}, {"type", "VEC3"}});
}

int GltfBuilder::addJoints(const std::vector<FourBytes>& joints) {
  return addAccessor({reinterpret_cast<const char*>(joints.data()), joints.size() * sizeof(joints[0])},
                     {{"componentType", 5121}, {"count", joints.size()}, {"type", "VEC4"}});
}

int GltfBuilder::addWeights(const std::vector<FourFloats>& weights) {
  return addAccessor({reinterpret_cast<const char*>(weights.data()), weights.size() * sizeof(weights[0])},
                     {{"componentType", 5126}, {"count", weights.size()}, {"type", "VEC4"}});
}

int GltfBuilder::addMatrices(const std::vector<Matrix4>& matrices) {
  return addAccessor({reinterpret_cast<const char*>(matrices.data()), matrices.size() * sizeof(matrices[0])},
                     {{"componentType", 5126}, {"count", matrices.size()}, {"type", "MAT4"}});
}

int GltfBuilder::addMaterial(const std::string& name) {
  return push("materials", {{"name", name}});
}

int GltfBuilder::addMesh(const Points& points, int material) {
  nlohmann::json primitive = {{"attributes", {{"POSITION", addPositions(points)}}}};
  if (material >= 0) primitive["material"] = material;
  return push("meshes", {{"primitives", {primitive}}});
}

int GltfBuilder::addNode(const std::string& name, int mesh) {
  nlohmann::json node = {{"name", name}};
  if (mesh >= 0) node["mesh"] = mesh;
  const int index = push("nodes", std::move(node));
  root["scenes"][0]["nodes"].push_back(index);
  return index;
}

int GltfBuilder::addChild(int parent, const std::string& name, int mesh) {
  const int index = addNode(name, mesh);
  auto& roots = root["scenes"][0]["nodes"];
  roots.erase(roots.size() - 1);
  root["nodes"][static_cast<std::size_t>(parent)]["children"].push_back(index);
  return index;
}

std::string GltfBuilder::glb() const {
  return glbOf(json(), bin);
}

GltfBuilder cubeBuilder() {
  GltfBuilder builder;
  builder.addNode("cube", builder.addMesh(boxPoints({0, 0, 0}, {1, 1, 1}), builder.addMaterial("wall")));
  return builder;
}

std::string glbOf(std::string_view json, std::string_view bin) {
  std::string chunks;
  appendChunk(chunks, "JSON", json, ' ');
  if (!bin.empty()) appendChunk(chunks, std::string_view("BIN\0", 4), bin, '\0');
  std::string glb = "glTF";
  appendUint32(glb, 2);
  appendUint32(glb, 12 + chunks.size());
  return glb + chunks;
}

}  // namespace support
