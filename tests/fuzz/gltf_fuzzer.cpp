// A glTF file and options of its import: either all three files of the model are made, and are what the
// import says of them, or none is made or changed and one line says why.
//
// The input is the document, .glb when it begins like one, else .gltf. Behind the line "#fuzz bin" stands its
// buffer "in.bin", behind "#fuzz options" the options ("rename A B", "kind A 5", "hardpoint A HP_B", "bsp A",
// "overwrite", and "existing" for files that are there before). "#fuzz glb" puts document and buffer into a
// .glb.

#include <fuzz/fuzz_support.h>
#include <fuzz/json_mutation.h>
#include <model/gltf_import.h>
#include <model/super_model.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using fuzz::require;
using fuzz::requireEqual;
using fuzz::Root;
using Tal::GltfImportOptions;
using Tal::ImportedModel;

constexpr char kModel[] = "content/house.model";
constexpr std::size_t kLongestError = 8192;  // it may name several materials of 1,024 bytes

/// A folder with the source, and one that is the resource root.
struct Place {
  Place() {
    for (const fs::path& folder : {root, root.parent_path() / "source"}) {
      fs::create_directories(folder);
      for (const fs::directory_entry& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
    }
    static const bool isMounted =
        (Tal::FS::setFileSystem(std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{root})),
         true);
    require(isMounted, "a root can be mounted");
    Tal::DataSectionCache::clear();
  }

  fs::path root = Root::instance().path() / "root";
};

/// A number of 32 bits as .glb files hold it.
std::string littleEndian(std::size_t number) {
  std::string bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFFU);
  return bytes;
}

std::string chunk(const char* type, std::string_view content, char padding) {
  std::string padded(content);
  padded.resize((padded.size() + 3) / 4 * 4, padding);
  return littleEndian(padded.size()) + std::string(type, 4) + padded;
}

std::string glbOf(const fuzz::Input& input) {
  const std::string chunks = chunk("JSON", input.document, ' ') + chunk("BIN\0", input.part("bin"), '\0');
  return "glTF" + littleEndian(2) + littleEndian(12 + chunks.size()) + chunks;
}

/// Writes the source and returns its name.
std::string writeSource(const fuzz::Input& input) {
  const bool isPacked = std::any_of(input.parts.begin(), input.parts.end(),
                                    [](const fuzz::Input::Part& part) { return part.name == "glb"; });
  const bool isGlb = isPacked || input.document.starts_with("glTF");
  std::string name = isGlb ? "source/in.glb" : "source/in.gltf";
  Root::instance().write("source/in.bin", input.part("bin"));
  Root::instance().write(name, isPacked ? glbOf(input) : std::string(input.document));
  return name;
}

struct Request {
  GltfImportOptions options;
  bool isExisting = false;  ///< whether files of the model are there before

  explicit Request(std::string_view text) {
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) add(line);
  }

 private:
  void add(const std::string& line) {
    std::istringstream words(line);
    std::string what;
    std::string first;
    std::string second;
    words >> what >> first >> second;
    if (what == "rename") options.renamedMaterials.emplace_back(first, second);
    const auto number = static_cast<std::uint32_t>(std::strtoul(second.c_str(), nullptr, 10));
    if (what == "kind") options.materialKinds.emplace_back(first, number);
    if (what == "hardpoint") options.hardPoints.emplace_back(first, second);
    if (what == "bsp") options.bspMaterials.push_back(first);
    if (what == "overwrite") options.overwrite = true;
    if (what == "existing") isExisting = true;
  }
};

void requireRefusal(const std::string& error, const fs::path& source) {
  require(error.starts_with(source.string() + ": "), "a refusal names the file");
  require(error.size() < kLongestError, "a refusal is short");
  require(std::none_of(error.begin(), error.end(),
                       [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }),
          "a refusal is one line that a terminal can show");
}

bool isFiniteBox(const Tal::Vector3& min, const Tal::Vector3& max) {
  const bool isFinite = std::isfinite(min.x) && std::isfinite(min.y) && std::isfinite(min.z) &&
                        std::isfinite(max.x) && std::isfinite(max.y) && std::isfinite(max.z);
  return isFinite && min.x <= max.x && min.y <= max.y && min.z <= max.z;
}

/// Requires that the files of a model say what the import says.
void requireMade(const ImportedModel& imported) {
  require(isFiniteBox(imported.boxMin, imported.boxMax), "the box of a model is finite");
  const auto visual = Tal::FS::Utils::openSection(imported.visualName, false, nullptr);
  require(visual.get() != nullptr, "the visual that was made can be read");
  require(visual->readVector3("boundingBox/min") == imported.boxMin &&
              visual->readVector3("boundingBox/max") == imported.boxMax,
          "the visual holds the box");
  const auto loaded = Tal::SuperModel::load(imported.modelName);
  requireEqual(loaded ? "" : textOf(loaded.fault()), "", "the model that was made can be loaded");
  const std::unique_ptr<Tal::SuperModel>& model = *loaded;
  const Tal::ModelMaterials::Slots slots(model->materials_.begin(), model->materials_.end());
  require(slots.size() == imported.materials.size(), "a model has the materials that were imported");
  for (std::size_t i = 0; i < slots.size(); ++i) {
    requireEqual(slots[i]->identifier(), imported.materials[i].name, "a material has its name");
    require(slots[i]->materialKind_ == imported.materials[i].kind, "a material has its kind");
  }
  require(model->topModel()->bspData()->materialNames_ == imported.bspMaterials,
          "a model has the collision materials that were imported");
}

/// The geometry that an import wrote is a glTF file of the same shape.
void requireGeometryImports(const ImportedModel& imported, const Place& place) {
  const auto again =
      Tal::importGltf(place.root / imported.geometryName, "content/again.model", place.root, {});
  requireEqual(again ? "" : textOf(again.fault()), "", "the geometry that was made can be imported");
  require(again->boxMin == imported.boxMin && again->boxMax == imported.boxMax,
          "the geometry that was made has the same box");
  require(again->materials.size() == imported.materials.size(), "the geometry has the same materials");
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return fuzz::mutateJson(data, size, maxSize, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Messages messages;
  const fuzz::Input input(std::string_view(reinterpret_cast<const char*>(data), size));
  const Place place;
  const std::string sourceName = writeSource(input);
  const fs::path source = Root::instance().path() / sourceName;
  const Request request(input.part("options"));
  for (const char* const name : {"house.model", "house.visual", "house.glb"})
    if (request.isExisting) Root::instance().write(place.root / "content" / name, "old");
  const std::string before = Root::instance().listing();

  const auto imported = Tal::importGltf(source, kModel, place.root, request.options);
  if (!imported) {
    requireRefusal(textOf(imported.fault()), source);
    requireEqual(Root::instance().listing(), before, "a refusal leaves every file as it was");
    return 0;
  }
  require(!request.isExisting || request.options.overwrite, "files are replaced on demand alone");
  const auto count = std::distance(fs::directory_iterator(place.root / "content"), fs::directory_iterator());
  require(count == 3, "an import makes three files");
  requireMade(*imported);
  requireGeometryImports(*imported, place);
  return 0;
}
