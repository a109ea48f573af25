#include "sample.h"

#include "models.h"

#include <model/gltf_import.h>

#include <array>
#include <stdexcept>

namespace sample {
namespace {

/// A source that is imported, and the model that it becomes.
struct Import {
  const char* source;
  const char* model;
};

constexpr std::array<Import, 8> kImports = {{
    {"house.glb", "content/buildings/house.model"},
    {"house_distant.glb", "content/buildings/lod1/house.model"},
    {"street_lamp.gltf", "content/props/street_lamp.model"},
    {"crate.glb", "content/props/crate.model"},
    {"crate_stack.glb", "content/props/crate_stack.model"},
    {"gate_wood.glb", "content/gatesandfences/gate_wood.model"},
    {"gate_stone.glb", "content/gatesandfences/gate_stone.model"},
    {"rock.glb", "content/environment/rock.model"},
}};

void writeSources(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  makeHouse().writeGlb(folder);
  makeDistantHouse().writeGlb(folder);
  makeStreetLamp().writeGltf(folder);
  makeCrate().writeGlb(folder);
  makeCrateStack().writeGlb(folder);
  makeBarrel().writeGlb(folder);
  makeWoodenGate().writeGlb(folder);
  makeStoneGate().writeGlb(folder);
  makeRock().writeGlb(folder);
}

}  // namespace

void generateSample(const std::filesystem::path& folder) {
  const std::filesystem::path sources = folder / "source";
  writeSources(sources);
  Tal::GltfImportOptions options;
  options.overwrite = true;
  for (const Import& import : kImports) {
    const auto imported = Tal::importGltf(sources / import.source, import.model, folder, options);
    if (!imported) throw std::runtime_error(textOf(imported.fault()));
  }
}

}  // namespace sample
