#include <core/contains.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <core/white_space.h>
#include <model/gltf/reader.h>
#include <model/gltf/scene.h>
#include <model/gltf_import.h>
#include <model/material_kinds.h>
#include <model/model_files.h>
#include <model/model_names.h>
#include <resources/file_system.h>
#include <resources/resource_name.h>
#include <resources/storable_text.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <limits>
#include <map>
#include <new>
#include <set>

namespace Tal {
namespace {

using model_names::kHardPointPrefix;
using model_names::kModelExtension;

constexpr std::size_t kMaxNameLength = 1024;
constexpr const char* kExportAgain = "correct it where it was made, and export it again";
constexpr std::uint32_t kMaxKind = std::numeric_limits<std::int32_t>::max();

Fault refusal(std::string what, std::string remedy = {}) {
  return {FaultKind::refused, std::move(what), std::move(remedy)};
}

bool holdsControls(BasicStringRef name) {
  return std::any_of(name.begin(), name.end(), [](char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
  });
}

/// Makes a model out of what the file says and what the author adds to that.
class Importer {
 public:
  Importer(GltfScene scene, std::string glb, const GltfImportOptions& options)
      : scene_(std::move(scene)), options_(options) {
    description_.glb = std::move(glb);
  }

  Result<ImportedModel> run(BasicStringRef stem, const std::filesystem::path& root,
                            const std::optional<files::FileIdentity>& taken,
                            std::vector<std::string> warnings) {
    result_.warnings = std::move(warnings);
    Result<void> done = renameMaterials();
    if (done) done = nameHardPoints();
    if (done) done = checkNames();
    if (done) done = assignKinds();
    if (done) done = chooseSlots();
    if (done) done = chooseBspMaterials();
    if (done) done = write(stem, root, taken);
    if (!done) return std::move(done).fault();
    return std::move(result_);
  }

 private:
  using NamePair = std::pair<std::string, std::string>;

  Result<void> renameMaterials() {
    std::map<std::string, std::string> newNames;
    for (const auto& [oldName, newName] : options_.renamedMaterials) {
      const auto [entry, isNew] = newNames.emplace(oldName, newName);
      if (!isNew && entry->second != newName) {
        return refusal("cannot give the material " + quotedName(oldName) + " two names, " +
                       quotedName(entry->second) + " and " + quotedName(newName));
      }
    }
    for (const GltfUsedMaterial& material : scene_.materials) fileNames_.push_back(material.name);
    for (const auto& [oldName, newName] : newNames) {
      bool isFound = false;
      for (std::size_t index = 0; index < fileNames_.size(); ++index) {
        if (fileNames_[index] != oldName) continue;
        scene_.materials[index].name = newName;
        isFound = true;
      }
      if (!isFound) return unknownMaterial(oldName, fileNames_);
    }
    return {};
  }

  Result<void> nameHardPoints() {
    std::vector<std::string> names;
    for (const GltfSceneNode& node : scene_.nodes) names.push_back(node.name);
    std::set<std::size_t> named;
    for (const auto& [nodeName, pointName] : options_.hardPoints) {
      const auto found = onlyNode(names, nodeName);
      if (!found) return found.fault();
      const std::size_t node = *found;
      if (!pointName.starts_with(kHardPointPrefix)) {
        return refusal("cannot make " + quotedName(pointName) +
                       " a hard point; the name of a hard point begins with " + quotedName(kHardPointPrefix));
      }
      const bool isTaken =
          std::ranges::find(scene_.nodes, pointName, &GltfSceneNode::name) != scene_.nodes.end();
      if (isTaken && names[node] != pointName) {
        return refusal("has two nodes for the hard point " + quotedName(pointName));
      }
      if (!named.insert(node).second) {
        return refusal("cannot make the node " + quotedName(nodeName) + " two hard points");
      }
      scene_.nodes[node].name = pointName;
    }
    for (const GltfSceneNode& node : scene_.nodes) {
      if (node.name.starts_with(kHardPointPrefix)) result_.hardPoints.push_back(node.name);
    }
    return {};
  }

  static Result<std::size_t> onlyNode(const std::vector<std::string>& names, const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end() || name.empty()) return unknown("node", name, names);
    if (std::find(found + 1, names.end(), name) != names.end()) {
      return refusal("has several nodes named " + quotedName(name) + "; rename them in the file");
    }
    return static_cast<std::size_t>(found - names.begin());
  }

  Result<void> checkNames() {
    for (const GltfUsedMaterial& material : scene_.materials) {
      if (auto checked = checkName("material", material.name); !checked) return checked;
      if (material.name.find(' ') == std::string::npos || !material.isVisible) continue;
      result_.warnings.push_back("no destruction state can name the material " + quotedName(material.name) +
                                 ", since there is a space in it");
    }
    for (const GltfSceneNode& node : scene_.nodes)
      if (auto checked = checkName("node", node.name); !checked) return checked;
    return {};
  }

  static Result<void> checkName(BasicStringRef what, const std::string& name) {
    const std::string start = "has the " + std::string(what) + " name " + quotedName(name) + ", which ";
    if (name.size() > kMaxNameLength) {
      return refusal(start + "is longer than " + std::to_string(kMaxNameLength) + " bytes");
    }
    if (holdsControls(name) || !isStorable(name)) return refusal(start + "holds characters that no file can");
    if (trimmed(name) != name) return refusal(start + "has white space around it");
    if (name.empty() && what == "material") return refusal("cannot give a material an empty name");
    return {};
  }

  Result<void> assignKinds() {
    for (const GltfUsedMaterial& material : scene_.materials) {
      ImportedMaterial imported{material.name, material_kinds::kNone, ImportedMaterial::KindSource::name};
      if (material.kind) {
        imported.kind = *material.kind;
        imported.kindSource = ImportedMaterial::KindSource::file;
      } else {
        imported.kind = material_kinds::kindByName(material.name);
      }
      materials_.push_back(std::move(imported));
    }
    std::map<std::size_t, std::uint32_t> byOption;
    for (const auto& [name, kind] : options_.materialKinds) {
      if (kind > kMaxKind) return refusal("cannot give a material a kind above " + std::to_string(kMaxKind));
      const auto named = materialsNamed(name);
      if (!named) return named.fault();
      for (const std::size_t index : *named) {
        const auto [entry, isNew] = byOption.emplace(index, kind);
        if (!isNew && entry->second != kind) {
          return refusal("cannot give the material " + quotedName(name) + " two kinds, " +
                         std::to_string(entry->second) + " and " + std::to_string(kind));
        }
        materials_[index].kind = kind;
        materials_[index].kindSource = ImportedMaterial::KindSource::option;
      }
    }
    return {};
  }

  /// The materials that have a name now; when none has, those that have it in the file.
  Result<std::vector<std::size_t>> materialsNamed(const std::string& name) const {
    std::vector<std::size_t> found;
    std::vector<std::string> names;
    for (const GltfUsedMaterial& material : scene_.materials) names.push_back(material.name);
    for (const auto* const list : {&std::as_const(names), &fileNames_}) {
      for (std::size_t index = 0; index < list->size(); ++index)
        if ((*list)[index] == name) found.push_back(index);
      if (!found.empty()) return found;
    }
    return unknownMaterial(name, names);
  }

  Result<void> chooseSlots() {
    std::map<std::string, std::uint32_t> kinds;
    for (std::size_t index = 0; index < materials_.size(); ++index) {
      if (!scene_.materials[index].isVisible) continue;
      const ImportedMaterial& material = materials_[index];
      const auto [entry, isNew] = kinds.emplace(material.name, material.kind);
      if (!isNew && entry->second != material.kind) {
        return refusal("has two materials named " + quotedName(material.name) + " of the kinds " +
                       std::to_string(entry->second) + " and " + std::to_string(material.kind) +
                       "; give them one kind or different names");
      }
      const auto warn = [&](const std::string& text) {
        result_.warnings.push_back("the material " + quotedName(material.name) + text);
      };
      if (isOfPartBeyondTheLast(material))
        warn(" has no kind, since part numbers end at " + std::to_string(material_kinds::kLastPart));
      if (isNew && material_kinds::isOfNoPart(material.kind)) warn(material_kinds::noPartText(material.kind));
      if (isNew && material_kinds::isStaticName(material.name) && material_kinds::partOf(material.kind))
        warn(material_kinds::staticPartText(material.kind));
      result_.materials.push_back(material);
      description_.materials.push_back({material.name, material.kind, scene_.materials[index].index});
    }
    return {};
  }

  /// Whether the name is that of a part, but no kind was found for the part's number.
  static bool isOfPartBeyondTheLast(const ImportedMaterial& material) {
    return material.kindSource == ImportedMaterial::KindSource::name &&
           material.kind == material_kinds::kNone &&
           (material_kinds::isUndamagedName(material.name) || material_kinds::isDestroyedName(material.name));
  }

  Result<void> chooseBspMaterials() {
    std::vector<std::size_t> chosen;
    for (const std::string& name : options_.bspMaterials) {
      const auto named = materialsNamed(name);
      if (!named) return named.fault();
      chosen.insert(chosen.end(), named->begin(), named->end());
    }
    const bool hasCollision = std::ranges::any_of(scene_.materials, &GltfUsedMaterial::isCollision);
    for (std::size_t index = 0; index < scene_.materials.size() && options_.bspMaterials.empty(); ++index) {
      if (!hasCollision || scene_.materials[index].isCollision) chosen.push_back(index);
    }
    std::set<std::string> seen;
    for (const std::size_t index : chosen) {
      const std::string& name = scene_.materials[index].name;
      if (seen.insert(name).second) result_.bspMaterials.push_back(name);
    }
    return {};
  }

  Result<void> write(BasicStringRef stem, const std::filesystem::path& root,
                     const std::optional<files::FileIdentity>& taken) {
    description_.stem = stem;
    description_.box = scene_.box;
    description_.bspMaterials = result_.bspMaterials;
    for (GltfSceneNode& node : scene_.nodes)
      description_.nodes.push_back({std::move(node.name), node.parent});
    // Nothing may fail once the files are written.
    result_.modelName = modelNameOf(stem);
    result_.visualName = visualNameOf(stem);
    result_.geometryName = geometryNameOf(stem);
    result_.boxMin = scene_.box.min;
    result_.boxMax = scene_.box.max;
    Result<void> written = writeModelFiles(description_, root, taken, options_.overwrite);
    if (!written) {
      // The fault's own place is another file than the source.
      Fault fault = std::move(written).fault();
      fault.what = "cannot be imported: " + textOf(fault);
      fault.remedy.clear();
      fault.file.clear();
      fault.line = fault.column = 0;
      return fault;
    }
    return {};
  }

  Fault unknownMaterial(const std::string& name, const std::vector<std::string>& existing) const {
    if (contains(scene_.unusedMaterials, name))
      return refusal("has the material " + quotedName(name) + " on no mesh of its scene");
    return unknown("material", name, existing);
  }

  static Fault unknown(const std::string& what, const std::string& name,
                       const std::vector<std::string>& existing) {
    std::set<std::string> names(existing.begin(), existing.end());
    names.erase("");
    return refusal("has no " + what + " " + quotedName(name) +
                   nameSuggestion(name, {names.begin(), names.end()}));
  }

  GltfScene scene_;
  const GltfImportOptions& options_;
  std::vector<std::string> fileNames_;       // of the materials, as the file has them
  std::vector<ImportedMaterial> materials_;  // parallel to the scene's
  ModelDescription description_;
  ImportedModel result_;
};

/// Whether a file system takes every step of a path.
bool isEveryStepShort(BasicStringRef name) {
  constexpr std::size_t kLongestStep = 255;
  const std::filesystem::path path(name);
  return std::all_of(path.begin(), path.end(),
                     [](const std::filesystem::path& step) { return step.native().size() <= kLongestStep; });
}

Result<ImportedModel> importNamed(const std::filesystem::path& source, BasicStringRef modelName,
                                  const std::filesystem::path& root, const GltfImportOptions& options) {
  std::string stem = normalisedName(modelName);
  stem.resize(stem.size() - kModelExtension.size());
  const auto taken = options.takenRoot ? options.takenRoot : files::identityAt(root);
  const GltfSources sources{source.has_parent_path() ? source.parent_path() : ".", options.sourceRoots};
  std::vector<std::string> warnings;
  const auto document = readGltf(source, sources, warnings);
  if (!document) return document.fault();
  auto scene = sceneOf(**document);
  if (!scene) return std::move(scene).fault();
  return Importer(*std::move(scene), std::move((*document)->glb), options)
      .run(stem, root, taken, std::move(warnings));
}

}  // namespace

Result<void> checkImportedName(BasicStringRef modelName) {
  if (const Result<void> checked = FS::MultiFileSystem::checkName(modelName); !checked)
    return refusal("is not a resource name, it " + checked.fault().what);
  if (modelName.size() > kMaxNameLength || !isEveryStepShort(modelName)) return refusal("is too long a name");
  if (holdsControls(modelName) || !isStorable(modelName) || trimmed(modelName) != modelName)
    return refusal("is not a name that files can hold");
  const BasicStringRef file = modelName.substr(modelName.rfind('/') + 1);
  if (file.ends_with(kModelExtension) && file.size() > kModelExtension.size()) return {};
  return refusal("is not a model name, which must end in " + quotedName(kModelExtension));
}

Result<ImportedModel> importGltf(const std::filesystem::path& source, BasicStringRef modelName,
                                 const std::filesystem::path& root, const GltfImportOptions& options) {
  Fault fault;
  try {
    if (auto checked = checkImportedName(modelName); !checked) {
      fault = std::move(checked).fault();
      fault.file = quotedName(modelName);
      return fault;
    }
    auto imported = importNamed(source, modelName, root, options);
    if (imported) return imported;
    fault = std::move(imported).fault();
    if (fault.kind == FaultKind::malformed && fault.remedy.empty()) fault.remedy = kExportAgain;
  } catch (const std::bad_alloc&) {
    fault = {FaultKind::system, "needs more memory than there is",
             "close some programs, or split the model, and import again"};
  } catch (const std::exception& exception) {
    fault = {FaultKind::system, std::string("cannot be imported: ") + exception.what(),
             "see that its files can be read, and import again"};
  }
  fault.file = shownName(source.string());
  return fault;
}

}  // namespace Tal
