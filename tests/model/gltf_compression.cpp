#include "gltf_compression.h"

#include <draco/compression/expert_encode.h>
#include <meshoptimizer.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace support {
namespace {

const Points kCube = boxPoints({0, 0, 0}, {1, 1, 1});

template <class Number, std::size_t count>
int addToMesh(draco::Mesh& mesh, draco::GeometryAttribute::Type type, draco::DataType dataType,
              const std::vector<std::array<Number, count>>& values) {
  draco::GeometryAttribute description;
  description.Init(type, nullptr, count, dataType, false, sizeof(values[0]), 0);
  const int id = mesh.AddAttribute(description, true, static_cast<std::uint32_t>(values.size()));
  for (std::uint32_t index = 0; index < values.size(); ++index)
    mesh.attribute(id)->SetAttributeValue(draco::AttributeValueIndex(index), values[index].data());
  return id;
}

std::string encoded(const draco::Mesh& mesh, DracoMethod method) {
  draco::ExpertEncoder encoder(mesh);
  encoder.SetEncodingMethod(method == DracoMethod::sequential ? draco::MESH_SEQUENTIAL_ENCODING
                                                              : draco::MESH_EDGEBREAKER_ENCODING);
  encoder.SetAttributeQuantization(0, 14);
  draco::EncoderBuffer buffer;
  if (!encoder.EncodeToBuffer(&buffer).ok()) throw std::runtime_error("Draco cannot encode the mesh");
  return {buffer.data(), buffer.size()};
}

}  // namespace

std::vector<std::uint16_t> someTriangles() {
  return {0, 1, 2, 1, 3, 2, 4, 6, 5, 5, 6, 7, 0, 4, 1, 1, 4, 5};
}

GltfBuilder indexedBuilder() {
  GltfBuilder builder = cubeBuilder();
  builder.root["meshes"][0]["primitives"][0]["indices"] = builder.addIndices(someTriangles());
  return builder;
}

GltfBuilder dracoBuilder(DracoMethod method, bool isSkinned) {
  GltfBuilder builder = indexedBuilder();
  auto& primitive = builder.root["meshes"][0]["primitives"][0];
  draco::Mesh mesh;
  const std::vector<std::uint16_t> triangles = someTriangles();
  mesh.SetNumFaces(triangles.size() / 3);
  for (std::uint32_t face = 0; face < mesh.num_faces(); ++face) {
    mesh.SetFace(draco::FaceIndex(face),
                 {draco::PointIndex(triangles[face * 3]), draco::PointIndex(triangles[face * 3 + 1]),
                  draco::PointIndex(triangles[face * 3 + 2])});
  }
  mesh.set_num_points(static_cast<std::uint32_t>(kCube.size()));
  nlohmann::json attributes = {
      {"POSITION", addToMesh(mesh, draco::GeometryAttribute::POSITION, draco::DT_FLOAT32, kCube)}};
  if (isSkinned) {
    const std::vector<FourBytes> joints(kCube.size());
    const std::vector<FourFloats> weights(kCube.size(), {1, 0, 0, 0});
    primitive["attributes"]["JOINTS_0"] = builder.addJoints(joints);
    primitive["attributes"]["WEIGHTS_0"] = builder.addWeights(weights);
    attributes["JOINTS_0"] = addToMesh(mesh, draco::GeometryAttribute::GENERIC, draco::DT_UINT8, joints);
    attributes["WEIGHTS_0"] = addToMesh(mesh, draco::GeometryAttribute::GENERIC, draco::DT_FLOAT32, weights);
    builder.addNode("joint");
    builder.root["nodes"][0]["skin"] = 0;
    builder.root["skins"] = {{{"joints", {1}}}};
    builder.root["nodes"][1]["translation"] = {5, 0, 0};
  }
  for (auto& accessor : builder.root["accessors"]) accessor.erase("bufferView");
  builder.root["bufferViews"].clear();
  builder.bin.clear();
  primitive["extensions"]["KHR_draco_mesh_compression"] = {
      {"bufferView", builder.addView(encoded(mesh, method))}, {"attributes", attributes}};
  builder.root["extensionsUsed"] = {"KHR_draco_mesh_compression"};
  builder.root["extensionsRequired"] = builder.root["extensionsUsed"];
  return builder;
}

void compressView(GltfBuilder& builder, std::size_t view, const std::string& mode, std::size_t stride,
                  const std::string& extension) {
  auto& described = builder.root["bufferViews"][view];
  const auto offset = described["byteOffset"].get<std::size_t>();
  const auto length = described["byteLength"].get<std::size_t>();
  const std::string bytes = builder.bin.substr(offset, length);
  const std::size_t count = length / stride;
  std::vector<unsigned char> out(length * 2 + 1024);
  if (mode == "ATTRIBUTES") {
    meshopt_encodeVertexVersion(0);
    out.resize(meshopt_encodeVertexBuffer(out.data(), out.size(), bytes.data(), count, stride));
  } else {
    std::vector<std::uint32_t> indices(count);
    for (std::size_t index = 0; index < count; ++index)
      indices[index] = stride == 2 ? reinterpret_cast<const std::uint16_t*>(bytes.data())[index]
                                   : reinterpret_cast<const std::uint32_t*>(bytes.data())[index];
    out.resize(mode == "TRIANGLES"
                   ? meshopt_encodeIndexBuffer(out.data(), out.size(), indices.data(), count)
                   : meshopt_encodeIndexSequence(out.data(), out.size(), indices.data(), count));
  }
  const int stored = builder.addView({reinterpret_cast<const char*>(out.data()), out.size()});
  auto& root = builder.root;
  const nlohmann::json place = root["bufferViews"][static_cast<std::size_t>(stored)];
  root["bufferViews"].erase(static_cast<std::size_t>(stored));
  if (root["buffers"].size() == 1)
    root["buffers"].push_back(
        {{"byteLength", builder.bin.size()}, {"extensions", {{extension, {{"fallback", true}}}}}});
  root["bufferViews"][view]["buffer"] = 1;
  root["bufferViews"][view]["extensions"][extension] = {{"buffer", 0},
                                                        {"byteOffset", place["byteOffset"]},
                                                        {"byteLength", place["byteLength"]},
                                                        {"byteStride", stride},
                                                        {"count", count},
                                                        {"mode", mode}};
  root["extensionsUsed"] = {extension};
  root["extensionsRequired"] = {extension};
}

GltfBuilder meshoptBuilder(const std::string& extension) {
  GltfBuilder builder = indexedBuilder();
  compressView(builder, 0, "ATTRIBUTES", 12, extension);
  compressView(builder, 1, "TRIANGLES", 2, extension);
  return builder;
}

GltfBuilder filteredBuilder() {
  GltfBuilder builder = cubeBuilder();
  std::string numbers(kCube.size() * 12, '\0');
  meshopt_encodeFilterExp(numbers.data(), kCube.size(), 12, 12, kCube[0].data());
  builder.bin.replace(0, numbers.size(), numbers);
  compressView(builder, 0, "ATTRIBUTES", 12);
  builder.root["bufferViews"][0]["extensions"]["EXT_meshopt_compression"]["filter"] = "EXPONENTIAL";
  return builder;
}

}  // namespace support
