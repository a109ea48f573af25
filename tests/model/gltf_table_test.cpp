// One document with something of everything that a glTF 2.0 file can hold, and a table of single edits of it:
// what the format makes of each, and how an import refuses those that it does not allow.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using nlohmann::json;
using support::boxPoints;
using support::FourBytes;
using support::FourFloats;
using support::GltfBuilder;
using support::Points;

void addMeshes(GltfBuilder& builder) {
  json& root = builder.root;
  const int positions = builder.addPositions(boxPoints({0, 0, 0}, {1, 1, 1}));
  const int normals = builder.addPositions(Points(8, {0, 1, 0}));
  const int colours = builder.addWeights(std::vector<FourFloats>(8, {1, 1, 1, 1}));
  const int indices = builder.addIndices(std::vector<std::uint16_t>{0, 1, 2, 7, 6, 5});
  root["accessors"].push_back({{"componentType", 5126}, {"count", 8}, {"type", "VEC3"}});
  root["accessors"][4]["sparse"] = {
      {"count", 2},
      {"indices", {{"bufferView", builder.addView({"\1\0\2\0", 4})}, {"componentType", 5123}}},
      {"values", {{"bufferView", builder.addView(std::string(24, '\0'))}}}};
  const int joints = builder.addJoints(std::vector<FourBytes>(8, {0, 1, 0, 0}));
  const int weights = builder.addWeights(std::vector<FourFloats>(8, {1, 0, 0, 0}));
  root["meshes"] = {
      {{"name", "cube"},
       {"weights", {0}},
       {"primitives",
        {{{"attributes", {{"COLOR_0", colours}, {"NORMAL", normals}, {"POSITION", positions}}},
          {"indices", indices},
          {"material", 0},
          {"mode", 4},
          {"targets", {{{"POSITION", 4}}}}}}}},
      {{"primitives",
        {{{"attributes", {{"JOINTS_0", joints}, {"POSITION", positions}, {"WEIGHTS_0", weights}}},
          {"material", 0}}}}},
      {{"primitives", {{{"attributes", {{"POSITION", positions}}}, {"material", 1}}}}}};
}

void addNodes(GltfBuilder& builder) {
  json& root = builder.root;
  root["skins"] = {
      {{"joints", {3, 4}}, {"inverseBindMatrices", builder.addMatrices({{}, {}})}, {"skeleton", 3}}};
  const json instances = {{"ROTATION", builder.addWeights({{0, 0, 0, 1}, {0, 0, 1, 0}})},
                          {"SCALE", builder.addPositions({{1, 1, 1}, {2, 2, 2}})},
                          {"TRANSLATION", builder.addPositions({{0, 0, 0}, {9, 0, 0}})}};
  root["cameras"] = {{{"type", "perspective"}, {"perspective", {{"yfov", 1}, {"znear", 0.1}}}}};
  root["nodes"] = {
      {{"name", "top"},
       {"mesh", 0},
       {"children", {1}},
       {"translation", {1, 2, 3}},
       {"rotation", {0, 0, 0, 1}},
       {"scale", {1, 2, 1}}},
      {{"name", "HP_1"}, {"camera", 0}, {"matrix", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1}}},
      {{"name", "skinned"}, {"mesh", 1}, {"skin", 0}},
      {{"name", "joint"}, {"children", {4}}},
      {{"name", "tip"}},
      {{"name", "BSP_1"}, {"mesh", 2}, {"extras", {{"bsp", true}}}},
      {{"name", "row"},
       {"mesh", 0},
       {"extensions", {{"EXT_mesh_gpu_instancing", {{"attributes", instances}}}}}}};
  root["scenes"] = {{{"name", "all"}, {"nodes", {0, 2, 3, 5, 6}}}};
  const int times = builder.addIndices(std::vector<std::uint32_t>{0, 0x3f800000U});
  root["accessors"][static_cast<std::size_t>(times)]["componentType"] = 5126;
  root["animations"] = {{{"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}},
                         {"samplers", {{{"input", times}, {"output", instances["TRANSLATION"]}}}}}};
}

void addMaterials(GltfBuilder& builder) {
  json& root = builder.root;
  root["images"] = {{{"bufferView", builder.addView("\x89PNG")}, {"mimeType", "image/png"}},
                    {{"uri", "data:image/png;base64,iVBORw=="}}};
  root["samplers"] = {{{"magFilter", 9729}, {"minFilter", 9987}, {"wrapS", 10497}, {"wrapT", 33071}}};
  root["textures"] = {{{"source", 0}, {"sampler", 0}}};
  root["materials"] = {{{"name", "n_wall_1"},
                        {"pbrMetallicRoughness",
                         {{"baseColorFactor", {1, 0.5, 0, 1}},
                          {"metallicFactor", 0},
                          {"roughnessFactor", 0.9},
                          {"baseColorTexture", {{"index", 0}, {"texCoord", 0}}},
                          {"metallicRoughnessTexture", {{"index", 0}}}}},
                        {"normalTexture", {{"index", 0}, {"scale", 1}}},
                        {"occlusionTexture", {{"index", 0}, {"strength", 1}}},
                        {"emissiveTexture", {{"index", 0}}},
                        {"emissiveFactor", {0, 0, 0}},
                        {"alphaMode", "MASK"},
                        {"alphaCutoff", 0.5},
                        {"doubleSided", true},
                        {"extras", {{"materialKind", 74}}}},
                       {{"name", "hull"}}};
}

GltfBuilder wholeBuilder() {
  GltfBuilder builder;
  builder.root["asset"] = {{"version", "2.0"}, {"minVersion", "2.0"}, {"generator", "by hand"}};
  builder.root["extensionsUsed"] = {"EXT_mesh_gpu_instancing", "KHR_materials_unlit"};
  builder.root["extensionsRequired"] = {"KHR_materials_unlit"};
  addMeshes(builder);
  addNodes(builder);
  addMaterials(builder);
  return builder;
}

/// A line of the table: "VERDICT POINTER = VALUE" or "VERDICT POINTER removed", behind " -> " the refusal.
struct Edit {
  std::string line;
  std::string
      verdict;  ///< "valid"; "invalid" and refused; "tolerated": not valid and taken, since it harms nothing
  std::string pointer;
  json value;  ///< discarded when the member is removed
  std::string refusal;
};

Edit editOf(const std::string& line) {
  constexpr std::string_view kArrow = " -> ";
  constexpr std::string_view kRemoved = " removed";
  Edit edit{line, line.substr(0, line.find(' ')), {}, json(json::value_t::discarded), {}};
  const std::size_t arrow = std::min(line.rfind(kArrow), line.size());
  if (arrow < line.size()) edit.refusal = line.substr(arrow + kArrow.size());
  const std::string change = line.substr(edit.verdict.size() + 1, arrow - edit.verdict.size() - 1);
  edit.pointer = change.substr(0, change.find(' '));
  const std::string what = change.substr(edit.pointer.size());
  if (what != kRemoved) edit.value = json::parse(what.substr(std::string_view(" = ").size()));
  return edit;
}

/// The lines of the table but for comments and empty ones.
std::vector<Edit> edits() {
  std::ifstream file(std::string(MODEL_TEST_DATA) + "/gltf_edits.txt");
  std::vector<Edit> all;
  for (std::string line; std::getline(file, line);)
    if (!line.empty() && !line.starts_with('#')) all.push_back(editOf(line));
  return all;
}

GltfBuilder edited(const Edit& edit) {
  GltfBuilder builder = wholeBuilder();
  const json::json_pointer pointer(edit.pointer);
  if (!edit.value.is_discarded()) {
    builder.root[pointer] = edit.value;
  } else if (builder.root[pointer.parent_pointer()].is_array()) {
    builder.root[pointer.parent_pointer()].erase(std::stoul(pointer.back()));
  } else {
    EXPECT_EQ(builder.root[pointer.parent_pointer()].erase(pointer.back()), 1U) << edit.line;
  }
  return builder;
}

using ADocumentOfEverything = support::ImportFixture;

TEST_F(ADocumentOfEverything, IsImported) {
  writeSource(wholeBuilder().glb());
  EXPECT_TRUE(import()) << error_;
}

TEST_F(ADocumentOfEverything, IsTakenOrRefusedByWhatIsEdited) {
  for (const Edit& edit : edits()) {
    writeSource(edited(edit).glb());
    std::filesystem::remove_all(root() / "content");
    if (edit.verdict == "invalid") {
      EXPECT_EQ(refusal(), edit.refusal) << edit.line;
    } else {
      EXPECT_TRUE(import()) << edit.line << "\n" << error_;
    }
  }
}

TEST(TheTableOfEdits, HasManyLinesEachOnceAndWhole) {
  const std::vector<Edit> all = edits();
  EXPECT_GE(all.size(), 250U);
  std::set<std::string> changes;
  for (const Edit& edit : all) {
    EXPECT_TRUE(changes.insert(edit.pointer + " " + edit.value.dump()).second) << edit.line;
    EXPECT_TRUE(edit.verdict == "valid" || edit.verdict == "tolerated" || edit.verdict == "invalid")
        << edit.line;
    EXPECT_EQ(edit.verdict == "invalid", !edit.refusal.empty()) << edit.line;
  }
}

}  // namespace
}  // namespace Tal
