#include <support/model_files.h>

namespace support {

void writeModel(const TemporaryFolder& root, const std::string& stem, const ModelFiles& files) {
  std::string model = "<root>\n\t<visual>" + stem + ".visual</visual>\n\t<bspMaterials>\n";
  for (const std::string& name : files.bsp) model += "\t\t<material>" + name + "</material>\n";
  root.write(stem + ".model", model + "\t</bspMaterials>\n</root>\n");

  std::string visual = "<root>\n\t<boundingBox>\n\t\t<min>0 0 0</min>\n\t\t<max>" + files.corner +
                       "</max>\n\t</boundingBox>\n\t<materials>\n";
  for (const auto& [name, kind] : files.materials) {
    visual += "\t\t<material>\n\t\t\t<identifier>" + name + "</identifier>\n\t\t\t<kind>" +
              std::to_string(kind) + "</kind>\n\t\t</material>\n";
  }
  visual += "\t</materials>\n\t<skeleton>\n";
  for (const std::string& name : files.nodes)
    visual += "\t\t<node>\n\t\t\t<name>" + name + "</name>\n\t\t</node>\n";
  root.write(stem + ".visual", visual + "\t</skeleton>\n</root>\n");
}

}  // namespace support
