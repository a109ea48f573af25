#include <authoring/stored_text.h>
#include <cli/commands.h>
#include <cli/table.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <model/gltf_import.h>
#include <model/gltf_limits.h>
#include <model/utilities.h>
#include <resources/file_system.h>
#include <resources/number_text.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Tal::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLongWork = 16U << 20U;  // bytes of a file whose import a person notices

struct ImportOptions {
  std::string gltf;
  std::string model;
  std::vector<std::string> kinds;
  std::vector<std::string> materials;
  std::vector<std::string> hardPoints;
  std::vector<std::string> sourceRoots;
  GltfImportOptions gltfOptions;
};

using NamePair = std::pair<std::string, std::string>;

// Numbers hold no sign of equality and names may: a kind's is the last one.
NamePair splitAt(const std::string& option, const std::string& form, const std::string& text,
                 std::size_t sign) {
  if (sign == std::string::npos || sign == 0 || sign + 1 == text.size())
    throw CLI::ValidationError(option, quotedName(text) + " is not of the form " + form);
  return {text.substr(0, sign), text.substr(sign + 1)};
}

std::vector<NamePair> namePairs(const std::string& option, const std::string& form,
                                const std::vector<std::string>& texts) {
  std::vector<NamePair> pairs;
  pairs.reserve(texts.size());
  for (const std::string& text : texts) pairs.push_back(splitAt(option, form, text, text.find('=')));
  return pairs;
}

std::vector<std::pair<std::string, std::uint32_t>> kindPairs(const std::vector<std::string>& texts) {
  std::vector<std::pair<std::string, std::uint32_t>> pairs;
  for (const std::string& text : texts) {
    const auto [material, digits] = splitAt("--kind", "MATERIAL=NUMBER", text, text.rfind('='));
    const std::optional<int> kind = parseInt(digits);
    if (!kind || *kind < 0) {
      throw CLI::ValidationError(
          "--kind", quotedName(text) + " is not of the form MATERIAL=NUMBER with a number from 0 to " +
                        std::to_string(std::numeric_limits<int>::max()));
    }
    pairs.emplace_back(material, *kind);
  }
  return pairs;
}

std::vector<fs::path> foldersOf(const std::vector<std::string>& names) {
  std::vector<fs::path> folders;
  for (const std::string& name : names) {
    std::error_code error;
    if (!fs::is_directory(name, error))
      throw CLI::ValidationError("--source-root", quotedName(name) + " is not a folder");
    folders.emplace_back(name);
  }
  return folders;
}

// The name is going to be a key of the database.
void checkModelName(const std::string& model) {
  const auto checked = authoring::checkModelName(model);
  if (!checked) throw Refusal(checked.fault().what + "; choose another name");
}

// One in the first root would come before it.
void refuseModelOfAnotherRoot(const std::string& model) {
  const auto place = FS::fileSystem()->find(model);
  const fs::path& first = FS::fileSystem()->roots().front();
  std::error_code error;
  if (!place) {
    // What the first root has in its place is for the import to look at.
    const fs::file_type own = fs::symlink_status(first / model, error).type();
    const bool isOfFirst = own != fs::file_type::not_found && own != fs::file_type::none;
    if (place.fault().kind == FaultKind::missing || isOfFirst) return;
    throw Refusal("the model name " + quotedName(model) + ' ' + textOf(place.fault()));
  }
  if (place->root == first) return;
  if (fs::exists(first / Utilities::getVisualPath(model), error)) return;  // perhaps of one that was cut off
  throw Refusal(quotedName(model) + " is in the root " + quotedName(place->root.native()) +
                " already; make one in the first root, which comes before it, with --force");
}

void sayLongWork(const std::string& gltf) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(gltf, error);
  const bool isRefusedAtOnce = error || size > kMaxGltfBytes;
  if (isRefusedAtOnce || size < kLongWork) return;
  Tool::say(Severity::information,
            "importing " + quotedName(gltf) + " (" + std::to_string(size >> 20U) + " MB)");
}

std::string kindText(const ImportedMaterial& material) {
  const std::string kind = "kind " + std::to_string(material.kind);
  switch (material.kindSource) {
    case ImportedMaterial::KindSource::option:
      return kind + " (from --kind)";
    case ImportedMaterial::KindSource::file:
      return kind + " (by the file)";
    case ImportedMaterial::KindSource::name:
      break;
  }
  return kind + " (by its name)";
}

std::string reportOf(const ImportedModel& imported) {
  const std::string names[] = {imported.modelName, imported.visualName, imported.geometryName};
  std::string text;
  for (const std::string& name : names) text += "made " + escapeControls(name) + "\n";
  Table table(2);
  for (const ImportedMaterial& material : imported.materials)
    table.add({"material", escapeControls(material.name), kindText(material)});
  for (const std::string& name : imported.bspMaterials) table.add({"BSP material", escapeControls(name)});
  for (const std::string& name : imported.hardPoints) table.add({"hard point", escapeControls(name)});
  return text + table.text();
}

void import(ImportOptions& options, Tool& tool) {
  GltfImportOptions& gltfOptions = options.gltfOptions;
  gltfOptions.materialKinds = kindPairs(options.kinds);
  gltfOptions.renamedMaterials = namePairs("--material", "OLD=NEW", options.materials);
  gltfOptions.hardPoints = namePairs("--hard-point", "NODE=NAME", options.hardPoints);
  gltfOptions.sourceRoots = foldersOf(options.sourceRoots);
  tool.setUpRoots();
  checkModelName(options.model);
  if (!gltfOptions.overwrite) refuseModelOfAnotherRoot(options.model);
  sayLongWork(options.gltf);
  const files::RootedPath root = FS::fileSystem()->firstRoot().value();
  gltfOptions.takenRoot = root.taken;
  const auto imported = [&] {
    const HeldInterrupts held;  // the three files belong together
    return importGltf(options.gltf, options.model, root.root, gltfOptions);
  }();
  if (!imported) throw Refusal(imported.fault());
  for (const std::string& warning : imported->warnings) Tool::say(Severity::warning, warning);
  tool.noteDone("the files were made");
  tool.print(reportOf(*imported));
}

void addRepeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                   const std::string& type, const std::string& text) {
  command.add_option(name, values, text)->type_name(type)->allow_extra_args(false);
}

}  // namespace

void addImport(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<ImportOptions>();
  CLI::App* const command =
      program.add_subcommand("import", "Make a model, its visual and its geometry from a glTF 2.0 file");
  command->add_option("GLTF", options->gltf, "The file (.glb, or .gltf with its buffers)")->required();
  command
      ->add_option("MODEL", options->model,
                   "The resource name of the new model, \"NAME.model\", in the first resource root")
      ->required();
  addRepeatable(*command, "--kind", options->kinds, "MATERIAL=NUMBER", "Give a material a kind");
  addRepeatable(*command, "--material", options->materials, "OLD=NEW", "Rename a material");
  addRepeatable(*command, "--hard-point", options->hardPoints, "NODE=NAME",
                "Make a node a hard point (HP_...)");
  addRepeatable(*command, "--bsp", options->gltfOptions.bspMaterials, "MATERIAL",
                "A collision material; default: those of the collision nodes, else all");
  addRepeatable(*command, "--source-root", options->sourceRoots, "DIR",
                "Another folder that images and buffers may come from");
  command->add_flag("--force", options->gltfOptions.overwrite, "Replace files that exist");
  command->footer(
      "Example:\n"
      "  destructibles import barrel.gltf content/props/barrel.model "
      "--material Material.001=n_wood --kind n_wood=73");
  command->callback([options, &tool] { import(*options, tool); });
}

}  // namespace Tal::cli
