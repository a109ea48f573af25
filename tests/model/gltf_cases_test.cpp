// The imports that are data: every case in a file of cases/ is a test, a transcript of how a glTF document is
// put together and what its import says.
//
//   cube                        begins with a cube of the material "wall" at node 0
//   indexedCube BITS INDEX...   the same with normals (accessor 1) and indices (accessor and view 2)
//   skinnedCube                 a cube at x = 100 with two joints, the nodes 1 and 2, of which the first
//   places all empty                       begins with nothing cubeNode NAME [MATERIAL]    adds a unit cube
//   at a node of its own; also boxNode NAME X,Y,Z pointNode NAME X,Y,Z...     adds a mesh of points without a
//   material node NAME                   adds a node without a mesh positions X,Y,Z...          adds an
//   accessor; also weights, joints, matrices, and view BYTE...;
//                               N*X,Y,Z is N times the same
//   set POINTER JSON            also remove POINTER, and copy POINTER POINTER; the element "-" is the next
//   one file NAME [TEXT]            makes a file beside the source write NAME                  writes the
//   document into a file of that name, without its buffer import [OPTION...]          the options are those
//   of the command line, with = in place of spaces visual                      shows the visual that was
//   made; also model

#include <support/case_file.h>
#include <support/words.h>

#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using nlohmann::json;
using support::GltfBuilder;

template <class Number>
Number numberOf(const std::string& text) {
  return static_cast<Number>(std::stod(text));
}

/// Groups of numbers, "1,2,3" each; one of the form "8*1,2,3" stands there eight times.
template <class Number, std::size_t kSize>
std::vector<std::array<Number, kSize>> groupsOf(const std::vector<std::string>& words) {
  std::vector<std::array<Number, kSize>> groups;
  for (const std::string& word : words) {
    const auto star = word.find('*');
    const std::size_t count = star == std::string::npos ? 1 : std::stoul(word.substr(0, star));
    std::istringstream numbers(star == std::string::npos ? word : word.substr(star + 1));
    std::array<Number, kSize> group{};
    for (Number& number : group) {
      std::string text;
      std::getline(numbers, text, ',');
      number = numberOf<Number>(text);
    }
    groups.insert(groups.end(), count, group);
  }
  return groups;
}

template <class Index>
int addIndices(GltfBuilder& builder, const std::vector<std::string>& words) {
  std::vector<Index> indices;
  for (const std::string& word : words) indices.push_back(numberOf<Index>(word));
  return builder.addIndices(indices);
}

std::pair<std::string, std::string> keyAndValue(const std::string& word) {
  const auto sign = word.find('=');
  if (sign == std::string::npos) throw std::invalid_argument("no value: " + word);
  return {word.substr(0, sign), word.substr(sign + 1)};
}

GltfImportOptions optionsOf(const std::vector<std::string>& words) {
  GltfImportOptions options;
  for (const std::string& word : words) {
    const auto [option, argument] = keyAndValue(word);
    if (option == "--bsp") {
      options.bspMaterials.push_back(argument);
      continue;
    }
    const auto [key, value] = keyAndValue(argument);
    if (option == "--kind") {
      options.materialKinds.emplace_back(key, numberOf<std::uint32_t>(value));
    } else if (option == "--material") {
      options.renamedMaterials.emplace_back(key, value);
    } else if (option == "--hard-point") {
      options.hardPoints.emplace_back(key, value);
    } else {
      throw std::invalid_argument("there is no option " + option);
    }
  }
  return options;
}

/// Rounded to what single precision holds after a few products.
std::string textOf(const Vector3& point) {
  std::ostringstream text;
  for (const float number : {point.x, point.y, point.z}) text << ' ' << std::round(number * 1e5) / 1e5 + 0.0;
  return text.str();
}

std::string textOf(const ImportedModel& model) {
  constexpr const char* kSources[] = {"option", "file", "name"};
  std::string text;
  for (const ImportedMaterial& material : model.materials) {
    text += "material \"" + material.name + "\" " + std::to_string(material.kind) + " (" +
            kSources[static_cast<std::size_t>(material.kindSource)] + ")\n";
  }
  for (const std::string& name : model.bspMaterials) text += "BSP material \"" + name + "\"\n";
  for (const std::string& name : model.hardPoints) text += "hard point \"" + name + "\"\n";
  for (const std::string& warning : model.warnings) text += "warning: " + warning + '\n';
  return text + "box" + textOf(model.boxMin) + " to" + textOf(model.boxMax) + '\n';
}

class ImportCase : public support::ImportFixture {
 public:
  explicit ImportCase(const support::Case& given) : case_(given) {}

 private:
  using Strings = std::vector<std::string>;

  void TestBody() override {
    support::expectTranscript(case_, [this](const std::string& command) { return run(command); });
  }

  std::string run(const std::string& command) {
    words_ = support::Words(command);
    const auto known = commands_.find(words_.take());
    if (known == commands_.end()) throw std::invalid_argument("unknown command " + command);
    const std::string text = known->second();
    if (words_.areLeft()) throw std::invalid_argument("there are words that nothing uses");
    return text;
  }

  std::string begin(GltfBuilder builder) {
    builder_ = std::move(builder);
    isWritten_ = false;
    return "";
  }

  std::string beginIndexedCube() {
    begin(support::cubeBuilder());
    json& primitive = builder_.root["meshes"][0]["primitives"][0];
    primitive["attributes"]["NORMAL"] = builder_.addPositions(support::Points(8, {0, 1, 0}));
    const std::string bits = words_.take();
    const Strings indices = words_.takeAll();
    primitive["indices"] = bits == "8"    ? addIndices<std::uint8_t>(builder_, indices)
                           : bits == "16" ? addIndices<std::uint16_t>(builder_, indices)
                                          : addIndices<std::uint32_t>(builder_, indices);
    return "";
  }

  /// A cube at x = 100 of which joint 1 places all and joint 2 nothing: the accessors 1 and 2.
  std::string beginSkinnedCube() {
    begin(support::cubeBuilder());
    builder_.addNode("first");
    builder_.addNode("second");
    builder_.root["nodes"][0]["translation"] = {100, 0, 0};
    builder_.root["nodes"][0]["skin"] = 0;
    builder_.root["skins"] = {{{"joints", {1, 2}}}};
    json& attributes = builder_.root["meshes"][0]["primitives"][0]["attributes"];
    attributes["JOINTS_0"] = builder_.addJoints(std::vector<support::FourBytes>(8, {0, 1, 0, 0}));
    attributes["WEIGHTS_0"] = builder_.addWeights(std::vector<support::FourFloats>(8, {1, 0, 0, 0}));
    return "";
  }

  std::string addMatrices() {
    std::vector<support::Matrix4> matrices;
    for (const auto& numbers : groupsOf<float, 16>(words_.takeAll())) matrices.push_back({numbers});
    return accessor(builder_.addMatrices(matrices));
  }

  std::string addCube(const std::array<float, 3>& corner, const std::string& name) {
    const int material = words_.areLeft() ? builder_.addMaterial(words_.take()) : -1;
    builder_.addNode(name, builder_.addMesh(support::boxPoints({0, 0, 0}, corner), material));
    return "";
  }

  std::string addBox() {
    const std::string name = words_.take();
    return addCube(groupsOf<float, 3>({words_.take()}).front(), name);
  }

  std::string addPoints() {
    const std::string name = words_.take();
    builder_.addNode(name, builder_.addMesh(groupsOf<float, 3>(words_.takeAll()), -1));
    return "";
  }

  std::string addView() {
    std::string bytes;
    for (const std::string& byte : words_.takeAll()) bytes += static_cast<char>(numberOf<int>(byte));
    return "view " + std::to_string(builder_.addView(bytes)) + '\n';
  }

  static std::string accessor(int index) { return "accessor " + std::to_string(index) + '\n'; }

  /// "FOLDER" in a value stands for the folder of the files.
  std::string set() {
    const json::json_pointer pointer(words_.take());
    std::string value = words_.takeRest();
    constexpr std::string_view kFolder = "FOLDER";
    if (const auto place = value.find(kFolder); place != std::string::npos)
      value.replace(place, kFolder.size(), folder_.path().string());
    builder_.root[pointer] = json::parse(value);
    return "";
  }

  std::string remove() {
    const json::json_pointer pointer(words_.take());
    if (builder_.root[pointer.parent_pointer()].erase(pointer.back()) != 1)
      throw std::invalid_argument("nothing is there to be removed");
    return "";
  }

  std::string copy() {
    const json value = builder_.root.at(json::json_pointer(words_.take()));
    builder_.root[json::json_pointer(words_.take())] = value;
    return "";
  }

  std::string writeFile() {
    const std::string name = words_.take();
    folder_.write(name, words_.takeRest());
    return "";
  }

  std::string writeDocument() {
    writeSource(builder_.json(), words_.take());
    isWritten_ = true;
    return "";
  }

  std::string importIt() {
    const GltfImportOptions options = optionsOf(words_.takeAll());
    std::filesystem::remove_all(root() / "content");
    if (!isWritten_) writeSource(builder_.glb());
    if (const auto imported = import(options)) return textOf(*imported);
    std::string text = "refused: " + refusal(options) + '\n';
    const std::string folder = folder_.path().string();
    if (const auto place = text.find(folder); place != std::string::npos)
      text.replace(place, folder.size(), "FOLDER");
    return text;
  }

  support::Case case_;
  support::Words words_;
  GltfBuilder builder_;
  bool isWritten_ = false;
  const std::map<std::string, std::function<std::string()>> commands_ = {
      {"cube", [this] { return begin(support::cubeBuilder()); }},
      {"indexedCube", [this] { return beginIndexedCube(); }},
      {"skinnedCube", [this] { return beginSkinnedCube(); }},
      {"empty", [this] { return begin(GltfBuilder()); }},
      {"cubeNode",
       [this] {
         return addCube({1, 1, 1}, words_.take());
       }},
      {"boxNode", [this] { return addBox(); }},
      {"pointNode", [this] { return addPoints(); }},
      {"node", [this] { return builder_.addNode(words_.take()), std::string(); }},
      {"positions", [this] { return accessor(builder_.addPositions(groupsOf<float, 3>(words_.takeAll()))); }},
      {"weights", [this] { return accessor(builder_.addWeights(groupsOf<float, 4>(words_.takeAll()))); }},
      {"joints",
       [this] { return accessor(builder_.addJoints(groupsOf<std::uint8_t, 4>(words_.takeAll()))); }},
      {"matrices", [this] { return addMatrices(); }},
      {"view", [this] { return addView(); }},
      {"set", [this] { return set(); }},
      {"remove", [this] { return remove(); }},
      {"copy", [this] { return copy(); }},
      {"file", [this] { return writeFile(); }},
      {"write", [this] { return writeDocument(); }},
      {"import", [this] { return importIt(); }},
      {"skeleton", [this] { return visual().substr(visual().find("\t<skeleton>")); }},
      {"model", [this] { return model(); }}};
};

[[maybe_unused]] const bool kAreRegistered =
    support::registerCases<support::ImportFixture, ImportCase>(IMPORT_CASES);

}  // namespace
}  // namespace Tal
