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

/// What the author adds to a glTF file. A name that the file lacks is an error, and so are contradicting
/// options.
///
/// - Materials are named as after renaming, or as in the file when no material has that name afterwards.
/// - Nodes are named as in the file.
struct GltfImportOptions {
  /// Pairs of old and new names; every material of the old name is renamed.
  std::vector<std::pair<std::string, std::string>> renamedMaterials = {};
  /// Materials and their kinds (0 to 2147483647). They override the kind in the file (extras.materialKind),
  /// which overrides the kind by name (see material_kinds::kindByName).
  std::vector<std::pair<std::string, std::uint32_t>> materialKinds = {};
  /// Nodes and their names as hard points ("HP_...").
  std::vector<std::pair<std::string, std::string>> hardPoints = {};
  /// The BSP materials. When empty, those of the collision nodes, or of every mesh if there are none.
  std::vector<std::string> bspMaterials = {};
  /// Folders besides the source's own from which, and below which, its images and buffers may be read.
  std::vector<std::filesystem::path> sourceRoots = {};
  /// Whether to replace existing files of the model; if not, they are an error.
  bool overwrite = false;
  /// The folder that the resource root must still be; by default the one that it is when the import begins.
  std::optional<files::FileIdentity> takenRoot = {};
};

/// A material of an imported model.
struct ImportedMaterial {
  /// Where its kind comes from: the author, extras.materialKind in the file, or its name.
  enum class KindSource { option, file, name };

  std::string name;
  std::uint32_t kind = 0;  ///< 0 when none is assigned
  KindSource kindSource = KindSource::name;
};

/// The result of an import.
struct ImportedModel {
  std::string modelName;  ///< the names of the three resources
  std::string visualName;
  std::string geometryName;
  std::vector<ImportedMaterial> materials;  ///< in slot order; several may share a name
  std::vector<std::string> bspMaterials;    ///< each once
  std::vector<std::string> hardPoints;      ///< in the order of the nodes
  /// The bounding box of the shown meshes, in the units of the file.
  Vector3 boxMin;
  Vector3 boxMax;
  /// Warnings, each one line without a line end.
  std::vector<std::string> warnings;
};

/// Whether a model can be imported under this name; the fault is a clause about it ("is too long a name").
/// Usable on any thread.
Result<void> checkImportedName(BasicStringRef modelName);

/// Imports the glTF 2.0 file `source` (.glb, or .gltf with its buffers) as the model `modelName`
/// ("NAME.model") below the resource root `root`. After a fault no file is created or changed. Main thread
/// only.
Result<ImportedModel> importGltf(const std::filesystem::path& source, BasicStringRef modelName,
                                 const std::filesystem::path& root, const GltfImportOptions& options);

}  // namespace Tal
