#pragma once

#include <core/string_ref.h>
#include <core/vector3.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// What the author says about a glTF file that the file does not say itself. Materials are named as they are
/// after renaming, or as in the file when no material has that name afterwards; nodes as in the file.
struct GltfImportOptions {
  /// Names in the file and the names that the materials get; every material of that name is renamed.
  std::vector<std::pair<std::string, std::string>> renamedMaterials = {};
  /// Materials and their kinds (0 to 2147483647), before what the file and the names say.
  std::vector<std::pair<std::string, std::uint32_t>> materialKinds = {};
  /// Nodes and the hard points ("HP_...") that they become.
  std::vector<std::pair<std::string, std::string>> hardPoints = {};
  /// The BSP materials; when empty, those of the collision nodes, or else of every mesh.
  std::vector<std::string> bspMaterials = {};
  /// Whether files of the model that are already there are replaced.
  bool overwrite = false;
};

/// A material of an imported model.
struct ImportedMaterial {
  /// Who said which kind it has.
  enum class KindSource { option, file, name };

  std::string name;
  std::uint32_t kind = 0;
  KindSource kindSource = KindSource::name;
};

/// What an import made.
struct ImportedModel {
  std::string modelName;  ///< the three resources
  std::string visualName;
  std::string geometryName;
  std::vector<ImportedMaterial> materials;  ///< in slot order
  std::vector<std::string> bspMaterials;
  std::vector<std::string> hardPoints;
  Vector3 boxMin;
  Vector3 boxMax;
  /// What the author should know although nothing failed, a line each.
  std::vector<std::string> warnings;
};

/// Makes the model `modelName` ("NAME.model"), its visual and its geometry below the resource root `root` out
/// of the glTF 2.0 file `source` (.glb, or .gltf with its buffers). Empty, with no file made or changed, when
/// that is not possible; `error` (may be null) then receives one line that names the file and the fault.
std::optional<ImportedModel> importGltf(const std::filesystem::path& source, BasicStringRef modelName,
                                        const std::filesystem::path& root, const GltfImportOptions& options,
                                        std::string* error);

/// The kind that the naming convention gives a material: "s..." is static; "d..." and "partD..." are
/// destroyed parts (87 to 100), "n..." and "partN..." undamaged ones (73 to 86), by their part number; any
/// other name, and a part number above 13, has kind 0. The part number is the third of the name's pieces
/// between underscores when it begins with a digit ("n_wall_1_2" is part 1, depending on part 2), else the
/// number at the end of the name ("partN12" is part 12), else 0.
std::uint32_t materialKindByName(BasicStringRef name);

}  // namespace Tal
