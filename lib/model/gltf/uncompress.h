#pragma once

#include <core/result.h>
#include <model/gltf/document.h>

#include <cstddef>

namespace Tal {

/// A bound on the memory and work of uncompressing, since a stream can announce any size. All streams of a
/// file share a fixed number of bytes and a multiple of the file's size.
class GltfBudget {
 public:
  /// For a file of `fileSize` bytes.
  explicit GltfBudget(std::size_t fileSize) noexcept : left_(kFixed + kTimes * fileSize) {}

  /// Takes `bytes` from what is left; false when there is less.
  bool take(std::size_t bytes) noexcept {
    if (bytes > left_) return false;
    left_ -= bytes;
    return true;
  }

 private:
  static constexpr std::size_t kFixed = std::size_t{64} << 20U;
  static constexpr std::size_t kTimes = 2048;  // a flat grid takes next to nothing

  std::size_t left_;
};

/// Uncompresses the views of EXT_meshopt_compression, and of KHR_meshopt_compression where its streams have
/// version 0 and no colour filter. Afterwards every view has its bytes. `document` was checked (see
/// checkGltf) and embedded (see embedGltfData). The fault names the view. Usable on any thread, as is
/// uncompressGltfMeshes.
Result<void> uncompressGltfViews(GltfDocument& document, GltfBudget& budget);

/// Uncompresses the primitives of KHR_draco_mesh_compression. Their attributes and indices become new
/// accessors at the end of the list, of the types and counts that the compressed ones announce. Indices then
/// have 32 bits. The views were uncompressed.
Result<void> uncompressGltfMeshes(GltfDocument& document, GltfBudget& budget);

}  // namespace Tal
