// Makes the seeds of the glTF fuzzer that no hand can write: gltf_seeds FOLDER.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "../model/gltf_compression.h"

namespace {

using support::DracoMethod;
using support::GltfBuilder;

/// The form that the fuzzer takes apart: the document, and behind it its buffer, for a .glb.
void write(const std::filesystem::path& folder, const std::string& name, const GltfBuilder& builder) {
  std::ofstream file(folder / (name + ".txt"), std::ios::binary);
  file << builder.json() << "\n#fuzz glb\n#fuzz bin\n" << builder.bin;
  if (!file.flush()) throw std::runtime_error("cannot write " + name);
}

GltfBuilder instances() {
  GltfBuilder builder = support::indexedBuilder();
  auto& attributes = builder.root["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"];
  attributes["TRANSLATION"] = builder.addPositions({{0, 0, 0}, {10, 0, 0}});
  attributes["SCALE"] = builder.addPositions({{1, 1, 1}, {2, 2, 2}});
  attributes["ROTATION"] = builder.addWeights({{0, 0, 0, 1}, {0, 0, 1, 0}});
  builder.root["extensionsUsed"] = {"EXT_mesh_gpu_instancing"};
  return builder;
}

GltfBuilder skin() {
  GltfBuilder builder = support::indexedBuilder();
  auto& attributes = builder.root["meshes"][0]["primitives"][0]["attributes"];
  attributes["JOINTS_0"] = builder.addJoints(std::vector<support::FourBytes>(8, {0, 1, 0, 0}));
  attributes["WEIGHTS_0"] = builder.addWeights(std::vector<support::FourFloats>(8, {0.75F, 0.25F, 0, 0}));
  builder.addChild(builder.addNode("first"), "second");
  builder.root["nodes"][0]["skin"] = 0;
  builder.root["skins"] = {{{"joints", {1, 2}}, {"inverseBindMatrices", builder.addMatrices({{}, {}})}}};
  return builder;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: gltf_seeds FOLDER\n";
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  write(folder, "draco_edgebreaker", support::dracoBuilder(DracoMethod::edgebreaker, true));
  write(folder, "draco_sequential", support::dracoBuilder(DracoMethod::sequential, true));
  write(folder, "meshopt", support::meshoptBuilder());
  write(folder, "meshopt_khr", support::meshoptBuilder("KHR_meshopt_compression"));
  write(folder, "meshopt_filter", support::filteredBuilder());
  write(folder, "instances", instances());
  write(folder, "skin", skin());
  return 0;
}
