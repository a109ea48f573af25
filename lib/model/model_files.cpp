#include <core/display_text.h>
#include <model/file_set.h>
#include <model/model_files.h>
#include <model/model_names.h>
#include <resources/file_system.h>
#include <resources/number_text.h>
#include <resources/storable_text.h>

#include <array>
#include <cstddef>
#include <optional>
#include <system_error>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

constexpr BasicStringRef kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

/// XML with one element a line, indented by tabs.
class XmlWriter {
 public:
  void begin(BasicStringRef tag) { line("<" + std::string(tag) + ">", depth_++); }
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

/// Why a file of the model cannot be made there; empty when it can.
std::string faultOf(const std::string& resource, const fs::path& target, bool overwrite) {
  std::error_code failure;
  const fs::file_status status = fs::status(target, failure);
  if (status.type() == fs::file_type::not_found) return {};
  if (!fs::status_known(status)) return quotedName(resource) + " cannot be made: " + failure.message();
  if (!fs::is_regular_file(status)) return quotedName(resource) + " is there and is no file";
  return overwrite ? std::string() : quotedName(resource) + " is already there; force it to be replaced";
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

std::string writeModelFiles(const ModelDescription& description, const fs::path& root, bool overwrite) {
  std::error_code failure;
  if (!fs::is_directory(root, failure))
    return "the resource root " + quotedName(root.string()) + " is no folder";
  const FS::MultiFileSystem files({root});
  // The model comes last: it is there only when what it names is.
  const std::array<std::pair<std::string, std::string>, 3> contents = {
      {{geometryNameOf(description.stem), description.glb},
       {visualNameOf(description.stem), visualText(description)},
       {modelNameOf(description.stem), modelText(description)}}};
  FileSet set;
  for (const auto& [resource, content] : contents) {
    std::string fault;
    const std::optional<fs::path> target = files.locationFor(resource, &fault);
    if (!target) return quotedName(resource) + ' ' + fault;
    fault = faultOf(resource, *target, overwrite);
    if (!fault.empty()) return fault;
    set.add(*target, content);
  }
  return set.write();
}

}  // namespace Tal
