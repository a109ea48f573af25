#include <core/debug_message.h>
#include <core/display_text.h>
#include <model/import_mark.h>
#include <model/model_names.h>
#include <model/super_model.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/number_text.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace Tal {
namespace {

constexpr BasicStringRef kNoParent = "-1";

/// Opens a file of the model; null, with the fault and what to do in `error`, when that is not possible.
SmartPointer<DataSection> openModelFile(BasicStringRef name, const std::string& advice, std::string& error) {
  const FS::MultiFileSystem* files = FS::fileSystem();
  if (files == nullptr) {
    error = quotedName(name) + ": cannot be opened, no resource roots are set; set some first";
    return nullptr;
  }
  const std::string refusal = FS::MultiFileSystem::refusalOf(name);
  if (!refusal.empty()) {
    error = quotedName(name) + ": is no name of a resource, it " + refusal + advice;
    return nullptr;
  }
  if (!files->find(name)) {
    error = quotedName(name) + ": no resource root holds this file" + advice;
    return nullptr;
  }
  SmartPointer<DataSection> section = FS::Utils::openSection(name, false, nullptr);
  if (section == nullptr) error = quotedName(name) + ": cannot be read as XML" + advice;
  return section;
}

SmartPointer<Model> readModel(const SmartPointer<DataSection>& file) {
  auto bsp = makeSmart<BspData>();
  if (const auto materials = file->openSection("bspMaterials")) {
    for (const SmartPointer<DataSection> material : *materials) {
      bsp->materialNames_.push_back(material->value());
    }
  }
  return makeSmart<Model>(std::move(bsp));
}

/// The materials of a visual; none, with the fault in `error`, when one of them is not as it must be.
ModelMaterials::Slots readMaterials(const SmartPointer<DataSection>& visual, BasicStringRef visualName,
                                    std::string& error) {
  ModelMaterials::Slots slots;
  const auto materials = visual->openSection("materials");
  if (materials == nullptr) return slots;
  for (const SmartPointer<DataSection> material : *materials) {
    std::string identifier = material->readString("identifier");
    const int kind = material->readInt("kind", -1);
    if (identifier.empty() || kind < 0) {
      error =
          quotedName(visualName) + ": material number " + std::to_string(slots.size() + 1) +
          (identifier.empty() ? " has no \"identifier\"" : " has no \"kind\" that is a number from 0 up") +
          "; import the model again";
      return {};
    }
    slots.push_back(
        std::make_shared<MaterialInstance>(std::move(identifier), static_cast<std::uint32_t>(kind)));
  }
  return slots;
}

/// The skeleton of a visual; empty, with the fault in `error`, when a node has no parent before it.
Skeleton::SkeletonInstance readSkeleton(const SmartPointer<DataSection>& visual, BasicStringRef visualName,
                                        std::string& error) {
  std::vector<interned_string> nodeNames;
  const auto skeleton = visual->openSection("skeleton");
  if (skeleton == nullptr) return Skeleton::SkeletonInstance();
  for (const SmartPointer<DataSection> node : *skeleton) {
    const std::string parent = node->readString("parent", kNoParent);
    const std::optional<int> place = parseInt(parent);
    if (!place || *place < -1 || *place >= static_cast<int>(nodeNames.size())) {
      error = quotedName(visualName) + ": node number " + std::to_string(nodeNames.size() + 1) +
              " has the parent " + quotedName(parent) +
              ", which is no place of a node before it and not -1; import the model again";
      return Skeleton::SkeletonInstance();
    }
    nodeNames.emplace_back(node->readString("name"));
  }
  return Skeleton::SkeletonInstance(std::move(nodeNames));
}

/// What is wrong with the bounding box of a visual; empty when nothing is. A corner may be absent.
std::string faultOfBox(const SmartPointer<DataSection>& visual, BasicStringRef visualName) {
  for (const char* name : {"boundingBox/min", "boundingBox/max"}) {
    const SmartPointer<DataSection> corner = visual->openSection(name);
    if (corner == nullptr || parseVector3(corner->value())) continue;
    return quotedName(visualName) + ": " + quotedName(name) + " is " + quotedName(corner->value()) +
           ", which is not three numbers; import the model again";
  }
  return {};
}

/// Warns when the geometry is not the one that was imported with the visual, as far as its size tells.
/// Nothing here reads it.
void checkGeometry(const DataSection& visual, BasicStringRef visualName) {
  constexpr int kWarningPriority = 4;
  const std::optional<ImportMark> mark = importMarkIn(visual);
  if (!mark || mark->version > ImportMark::kVersion) return;
  const std::string name = visual.readString("geometry");
  std::string refusal;
  const std::optional<RootedPath> place = FS::fileSystem()->find(name, &refusal);
  std::error_code error;
  const auto size = place ? std::filesystem::file_size(place->path(), error) : 0;
  if (place && !error && size == mark->geometrySize) return;
  const std::string fault = place ? "has " + std::to_string(size) + " bytes" : "is not there";
  DebugMessageHelper({0, kWarningPriority}, "", 0)
      .message(quotedName(visualName) + " was imported with a geometry of " +
               std::to_string(mark->geometrySize) + " bytes, but " + quotedName(name) + ' ' + fault +
               "; import the model again (--force)");
}

/// Why a model of one root must not be put together with the visual of another; empty when it may. An import
/// over a model of a later root that was cut off has left its visual alone.
std::string faultOfRoots(BasicStringRef modelName, BasicStringRef visualName, const DataSection& visual) {
  std::string refusal;
  const std::optional<RootedPath> model = FS::fileSystem()->find(modelName, &refusal);
  const std::optional<RootedPath> place = FS::fileSystem()->find(visualName, &refusal);
  if (!model || !place || model->root == place->root || !importMarkIn(visual)) return {};
  std::error_code error;
  std::filesystem::path own = place->path();
  if (std::filesystem::exists(own.replace_extension(model_names::kModelExtension), error)) return {};
  return quotedName(visualName) + ": an import into the root " + quotedName(place->root.native()) +
         " was cut off; import the model again, or remove that file";
}

std::unique_ptr<SuperModel> loadModel(BasicStringRef modelName, std::string& error) {
  const SmartPointer<DataSection> model = openModelFile(modelName, "; import the model again", error);
  if (model == nullptr) return nullptr;
  const std::string visualName = model->readString("visual");
  if (visualName.empty()) {
    error = quotedName(modelName) + ": names no \"visual\"; import the model again";
    return nullptr;
  }
  const SmartPointer<DataSection> visual = openModelFile(
      visualName, ", and " + quotedName(modelName) + " names it as its visual; import the model again",
      error);
  if (visual == nullptr) return nullptr;
  error = faultOfRoots(modelName, visualName, *visual);
  if (!error.empty()) return nullptr;
  ModelMaterials::Slots materials = readMaterials(visual, visualName, error);
  if (!error.empty()) return nullptr;
  Skeleton::SkeletonInstance skeleton = readSkeleton(visual, visualName, error);
  if (!error.empty()) return nullptr;
  error = faultOfBox(visual, visualName);
  if (!error.empty()) return nullptr;
  checkGeometry(*visual, visualName);
  return std::make_unique<SuperModel>(readModel(model), std::move(skeleton),
                                      ModelMaterials(std::move(materials)));
}

}  // namespace

SuperModel::SuperModel(SmartPointer<Model> topModel, Skeleton::SkeletonInstance skeleton,
                       ModelMaterials materials)
    : materials_(std::move(materials)), topModel_(std::move(topModel)), skeleton_(std::move(skeleton)) {}

std::unique_ptr<SuperModel> SuperModel::load(BasicStringRef modelName, std::string* error) {
  std::string fault;
  std::unique_ptr<SuperModel> superModel = loadModel(modelName, fault);
  if (error != nullptr) *error = fault;
  return superModel;
}

}  // namespace Tal
