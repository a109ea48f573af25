#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <core/vector3.h>
#include <files/file_identity.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// What the author says about a glTF file that the file does not say itself. Materials are named as they are
/// after renaming, or as in the file when no material has that name afterwards; nodes are named as in the
/// file. To name one that the file does not have, or to say two different things about one, is an error.
struct GltfImportOptions {
  /// Names in the file and the names that the materials get; every material of that name is renamed.
  std::vector<std::pair<std::string, std::string>> renamedMaterials = {};
  /// Materials and their kinds (0 to 2147483647). They go before the kind that the file gives
  /// (extras.materialKind), and that goes before the one of the name (see material_kinds::kindByName).
  std::vector<std::pair<std::string, std::uint32_t>> materialKinds = {};
  /// Nodes and the names ("HP_...") that they get as hard points.
  std::vector<std::pair<std::string, std::string>> hardPoints = {};
  /// The BSP materials; when empty, those of the collision nodes; when there are no collision nodes, those of
  /// every mesh.
  std::vector<std::string> bspMaterials = {};
  /// Folders besides the source's own from which its images and buffers may be read, with all below them.
  std::vector<std::filesystem::path> sourceRoots = {};
  /// Whether files of the model that are already there are replaced; if not, they are an error.
  bool overwrite = false;
  /// The folder that the resource root has to be still; else the one that it is when the import begins.
  std::optional<files::FileIdentity> takenRoot = {};
};

/// A material of an imported model.
struct ImportedMaterial {
  /// Where its kind comes from: the author, the file's extras.materialKind, or the convention for names.
  enum class KindSource { option, file, name };

  std::string name;
  std::uint32_t kind = 0;  ///< 0 when none is assigned
  KindSource kindSource = KindSource::name;
};

/// What an import made.
struct ImportedModel {
  std::string modelName;  ///< the names of the three resources
  std::string visualName;
  std::string geometryName;
  std::vector<ImportedMaterial> materials;  ///< in slot order; several may share a name
  std::vector<std::string> bspMaterials;    ///< each once
  std::vector<std::string> hardPoints;      ///< the names, in the order of the nodes
  /// The bounding box of the shown meshes, in the units of the file.
  Vector3 boxMin;
  Vector3 boxMax;
  /// What the author should know although nothing failed, each a line without a line end.
  std::vector<std::string> warnings;
};

/// Whether a model can be imported under this name; the fault is about it ("is too long a name"). Usable on
/// any thread.
Result<void> checkImportedName(BasicStringRef modelName);

/// Makes the model `modelName` ("NAME.model"), its visual and its geometry below the resource root `root` out
/// of the glTF 2.0 file `source` (.glb, or .gltf with its buffers). After a fault no file is made or changed.
/// Main thread only.
Result<ImportedModel> importGltf(const std::filesystem::path& source, BasicStringRef modelName,
                                 const std::filesystem::path& root, const GltfImportOptions& options);

}  // namespace Tal
