#include <core/debug_message.h>
#include <core/display_text.h>
#include <files/place_status.h>
#include <model/import_mark.h>
#include <model/model_names.h>
#include <model/super_model.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/number_text.h>

#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace Tal {
namespace {

constexpr BasicStringRef kNoParent = "-1";

Fault faultOf(BasicStringRef file, std::string what, std::string remedy = "import the model again") {
  return {FaultKind::malformed, std::move(what), std::move(remedy), quotedName(file)};
}

/// Opens a file of the model; never null. `context` says how it belongs to the model.
Result<SmartPointer<DataSection>> openModelFile(BasicStringRef name, const std::string& context) {
  if (FS::fileSystem() == nullptr)
    return faultOf(name, "cannot be opened, no resource roots are set", "set some first");
  if (const auto checked = FS::MultiFileSystem::checkName(name); !checked)
    return faultOf(name, "is not a resource name, it " + checked.fault().what + context);
  auto section = FS::Utils::openResource(name);
  if (section) return section;
  Fault fault = std::move(section).fault();
  if (fault.kind == FaultKind::missing) return faultOf(name, "no resource root holds this file" + context);
  fault.what += context;
  if (fault.kind == FaultKind::malformed) fault.remedy += ", or import the model again";
  return fault;
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

/// The materials of a visual.
Result<ModelMaterials::Slots> readMaterials(const DataSection& visual, BasicStringRef visualName) {
  ModelMaterials::Slots slots;
  const auto materials = visual.findChild("materials");
  if (materials == nullptr) return slots;
  for (const SmartPointer<DataSection> material : *materials) {
    std::string identifier = material->readString("identifier");
    const int kind = material->readInt("kind", -1);
    if (identifier.empty() || kind < 0) {
      return faultOf(visualName, "material number " + std::to_string(slots.size() + 1) +
                                     (identifier.empty() ? " has no \"identifier\""
                                                         : " has no \"kind\" that is a number from 0 up"));
    }
    slots.push_back(
        std::make_shared<MaterialInstance>(std::move(identifier), static_cast<std::uint32_t>(kind)));
  }
  return slots;
}

/// The skeleton of a visual, in which every node comes behind its parent.
Result<Skeleton::SkeletonInstance> readSkeleton(const DataSection& visual, BasicStringRef visualName) {
  std::vector<interned_string> nodeNames;
  const auto skeleton = visual.findChild("skeleton");
  if (skeleton == nullptr) return Skeleton::SkeletonInstance();
  for (const SmartPointer<DataSection> node : *skeleton) {
    const std::string parent = node->readString("parent", kNoParent);
    const std::optional<int> place = parseInt(parent);
    if (!place || *place < -1 || *place >= static_cast<int>(nodeNames.size())) {
      return faultOf(visualName, "node number " + std::to_string(nodeNames.size() + 1) + " has the parent " +
                                     quotedName(parent) +
                                     ", which is neither -1 nor the place of an earlier node");
    }
    nodeNames.emplace_back(node->readString("name"));
  }
  return Skeleton::SkeletonInstance(std::move(nodeNames));
}

/// A fault when the bounding box of a visual is none. A corner may be absent.
Result<void> checkBox(const SmartPointer<DataSection>& visual, BasicStringRef visualName) {
  for (const char* name : {"boundingBox/min", "boundingBox/max"}) {
    const SmartPointer<DataSection> corner = visual->openSection(name);
    if (corner == nullptr || parseVector3(corner->value())) continue;
    return faultOf(visualName,
                   quotedName(name) + " is " + quotedName(corner->value()) + ", which is not three numbers");
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
  const auto place = FS::fileSystem()->find(name);
  const auto file = place ? files::statusOf(*place).identity : std::nullopt;
  const std::int64_t size = file ? file->size : 0;
  if (file && static_cast<std::uint64_t>(size) == mark->geometrySize) return;
  std::string fault = file ? "has " + std::to_string(size) + " bytes" : "cannot be examined";
  if (!place) fault = place.fault().kind == FaultKind::missing ? "is not there" : place.fault().what;
  DebugMessageHelper({0, kWarningPriority}, "", 0)
      .message(quotedName(visualName) + " was imported with a geometry of " +
               std::to_string(mark->geometrySize) + " bytes, but " + quotedName(name) + ' ' + fault +
               "; import the model again (--force)");
}

/// A fault when a model of one root would be put together with the visual of another, which an import over a
/// model of a later root that was cut off has left alone.
Result<void> checkRoots(BasicStringRef modelName, BasicStringRef visualName, const DataSection& visual) {
  const auto model = FS::fileSystem()->find(modelName);
  const auto place = FS::fileSystem()->find(visualName);
  if (!model) return faultOf(modelName, model.fault().what, "mend that and try again");
  if (!place) return faultOf(visualName, place.fault().what, "mend that and try again");
  if (model->root == place->root || !importMarkIn(visual)) return {};
  files::RootedPath own = *place;
  own.name.replace_extension(model_names::kModelExtension);
  const files::PlaceStatus status = files::statusOf(own);
  using Kind = files::PlaceStatus::Kind;
  if (status.kind == Kind::unknown) {
    return faultOf(visualName, "cannot be examined: " + std::generic_category().message(status.code),
                   "mend that and try again");
  }
  if (status.kind == Kind::file || status.kind == Kind::other) return {};
  return faultOf(visualName, "an import into the root " + quotedName(place->root.native()) + " was cut off",
                 "import the model again, or remove that file");
}

}  // namespace

SuperModel::SuperModel(SmartPointer<Model> topModel, Skeleton::SkeletonInstance skeleton,
                       ModelMaterials materials)
    : materials_(std::move(materials)), topModel_(std::move(topModel)), skeleton_(std::move(skeleton)) {}

Result<std::unique_ptr<SuperModel>> SuperModel::load(BasicStringRef modelName) {
  const auto model = openModelFile(modelName, "");
  if (!model) return model.fault();
  const std::string visualName = (*model)->readString("visual");
  if (visualName.empty()) return faultOf(modelName, "names no \"visual\"");
  const auto visual = openModelFile(visualName, ", and " + quotedName(modelName) + " names it as its visual");
  if (!visual) return visual.fault();
  if (auto checked = checkRoots(modelName, visualName, **visual); !checked) return std::move(checked).fault();
  auto materials = readMaterials(**visual, visualName);
  if (!materials) return std::move(materials).fault();
  auto skeleton = readSkeleton(**visual, visualName);
  if (!skeleton) return std::move(skeleton).fault();
  if (auto checked = checkBox(*visual, visualName); !checked) return std::move(checked).fault();
  checkGeometry(**visual, visualName);
  return std::make_unique<SuperModel>(readModel(*model), *std::move(skeleton),
                                      ModelMaterials(*std::move(materials)));
}

}  // namespace Tal
