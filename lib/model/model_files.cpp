#include <core/display_text.h>
#include <files/file_read.h>
#include <model/file_set.h>
#include <model/gltf_limits.h>
#include <model/import_mark.h>
#include <model/model_files.h>
#include <model/model_names.h>
#include <resources/file_system.h>
#include <resources/number_text.h>
#include <resources/storable_text.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

constexpr BasicStringRef kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

/// XML with one element a line, indented by tabs.
class XmlWriter {
 public:
  void begin(BasicStringRef tag) { line("<" + std::string(tag) + ">", depth_++); }
  void begin(BasicStringRef tag, BasicStringRef attribute, int value) {
    line("<" + std::string(tag) + ' ' + std::string(attribute) + "=\"" + intText(value) + "\">", depth_++);
  }
  void end(BasicStringRef tag) { line("</" + std::string(tag) + ">", --depth_); }
  void leaf(BasicStringRef tag, BasicStringRef value) {
    const std::string name(tag);
    line("<" + name + ">" + escapedText(value) + "</" + name + ">", depth_);
  }
  std::string take() { return std::move(text_); }

 private:
  void line(const std::string& content, std::size_t depth) {
    text_.append(depth, '\t').append(content) += '\n';
  }

  std::string text_{kDeclaration};
  std::size_t depth_ = 0;
};

std::string modelText(const ModelDescription& description) {
  XmlWriter xml;
  xml.begin("model");
  xml.leaf("visual", visualNameOf(description.stem));
  xml.begin("bspMaterials");
  for (const std::string& name : description.bspMaterials) xml.leaf("material", name);
  xml.end("bspMaterials");
  xml.end("model");
  return xml.take();
}

std::string visualText(const ModelDescription& description) {
  XmlWriter xml;
  xml.begin("visual");
  xml.leaf("geometry", geometryNameOf(description.stem));
  const ImportMark mark = importMarkFor(description.glb);
  xml.begin("import", "version", mark.version);
  xml.begin("geometry");
  xml.leaf("size", std::to_string(mark.geometrySize));
  xml.leaf("fingerprint", mark.geometryFingerprint);
  xml.end("geometry");
  xml.end("import");
  xml.begin("boundingBox");
  xml.leaf("min", vector3Text(description.box.min));
  xml.leaf("max", vector3Text(description.box.max));
  xml.end("boundingBox");
  xml.begin("materials");
  for (const VisualMaterial& material : description.materials) {
    xml.begin("material");
    xml.leaf("identifier", material.identifier);
    xml.leaf("kind", std::to_string(material.kind));
    xml.leaf("geometryMaterial", intText(material.geometryMaterial));
    xml.end("material");
  }
  xml.end("materials");
  xml.begin("skeleton");
  for (const VisualNode& node : description.nodes) {
    xml.begin("node");
    xml.leaf("name", node.name);
    xml.leaf("parent", intText(node.parent));
    xml.end("node");
  }
  xml.end("skeleton");
  xml.end("visual");
  return xml.take();
}

/// Whether a geometry holds the bytes that the mark of an import is for.
bool isMarked(const FileSet::Entry& geometry, const ImportMark& mark) {
  if (static_cast<std::uint64_t>(geometry.found->size) != mark.geometrySize) return false;
  const auto content = files::readFile(geometry.place, kMaxGltfBytes);
  return content && importMarkFor(content->bytes.view()) == mark;
}

/// A fault when the files must not be replaced. What an import that was cut off has left is nobody's: a
/// visual with its mark, perhaps the geometry of that mark, and no model.
Result<void> checkOverwriting(const fs::path& root, const FileSet::Entry& visual,
                              const FileSet::Entry& geometry, const FileSet::Entry& model, bool overwrite) {
  std::optional<ImportMark> mark;
  if (visual.found) {
    if (const auto content = files::readFile(visual.place, kMaxGltfBytes);
        !content) {  // may be a newer version's
      Fault fault = content.fault();
      fault.file = quotedName(visual.name.native());
      return fault;
    }
    const auto old = FS::Utils::readSection({root, visual.name});
    if (old) mark = importMarkIn(**old);  // what is malformed is no import's
  }
  if (mark && mark->version > ImportMark::kVersion) {
    return Fault{FaultKind::refused,
                 quotedName(visual.name.native()) + " was imported by a newer version of this program",
                 "import with that, or remove the file"};
  }
  if (overwrite) return {};
  const bool isCutOff = mark && !model.found;
  for (const FileSet::Entry* const file : {&visual, &geometry, &model}) {
    if (!file->found || (isCutOff && (file != &geometry || isMarked(geometry, *mark)))) continue;
    return Fault{FaultKind::refused, quotedName(file->name.native()) + " is already there",
                 "give --force to replace it"};
  }
  return {};
}

}  // namespace

std::string modelNameOf(BasicStringRef stem) {
  return std::string(stem).append(model_names::kModelExtension);
}
std::string visualNameOf(BasicStringRef stem) {
  return std::string(stem).append(model_names::kVisualExtension);
}
std::string geometryNameOf(BasicStringRef stem) {
  return std::string(stem).append(model_names::kGeometryExtension);
}

Result<void> writeModelFiles(const ModelDescription& description, const fs::path& root,
                             const std::optional<files::FileIdentity>& taken, bool overwrite) {
  const std::string visualContent = visualText(description);
  const std::string modelContent = modelText(description);
  // The visual tells what belongs to it; the model comes last: it is there only when what it names is.
  FileSet set;
  const FileSet::Entry& visual = set.add(visualNameOf(description.stem), visualContent);
  const FileSet::Entry& geometry = set.add(geometryNameOf(description.stem), description.glb);
  const FileSet::Entry& model = set.add(modelNameOf(description.stem), modelContent);
  if (auto opened = set.open(root, taken); !opened) return opened;
  if (auto checked = checkOverwriting(root, visual, geometry, model, overwrite); !checked) return checked;
  return set.write();
}

}  // namespace Tal
