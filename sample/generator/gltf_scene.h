#pragma once

#include "mesh.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace sample {

/// How a material looks: colour from 0 to 1, rough or smooth, metal or not.
struct Look {
  std::array<double, 3> colour;
  double roughness = 0.9;
  double metallic = 0;
  bool glows = false;
};

/// One file of the sample before it is written: parts (a node with a mesh of one material each), collision
/// meshes and hard points, all below one node with the file's name.
class GltfScene {
 public:
  explicit GltfScene(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }

  /// A part of the model; the material is named `material`.
  void part(const std::string& material, const Look& look, Mesh mesh);

  /// A mesh that only collides, of a material that a part has.
  void collision(const std::string& material, Mesh mesh);

  /// An empty node.
  void hardPoint(const std::string& name, const Point& place);

  /// Writes NAME.glb, or NAME.gltf with its NAME.bin, to a folder. The same scene gives the same bytes on
  /// every machine. Throws std::runtime_error.
  void writeGlb(const std::filesystem::path& folder) const;
  void writeGltf(const std::filesystem::path& folder) const;

 private:
  struct Part {
    std::string nodeName;
    std::size_t material;
    Mesh mesh;
    bool isCollision;
  };
  struct HardPoint {
    std::string name;
    Point place;
  };
  struct Document {
    std::string json;
    std::string bin;
  };

  std::size_t materialNamed(const std::string& name) const;
  Document document(const std::string& bufferUri) const;

  std::string name_;
  std::vector<std::pair<std::string, Look>> materials_;
  std::vector<Part> parts_;
  std::vector<HardPoint> hardPoints_;
};

}  // namespace sample
