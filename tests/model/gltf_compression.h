#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gltf_builder.h"

namespace support {

/// How a mesh is compressed: Draco's two ways.
enum class DracoMethod { sequential, edgebreaker };

/// The corners of three triangles of the unit cube that together reach all its sides.
std::vector<std::uint16_t> someTriangles();

/// A .glb of the unit cube's corners with such triangles, of the material "wall", compressed by Draco,
/// without data beside it. With a skin of one joint when `isSkinned`.
GltfBuilder dracoBuilder(DracoMethod method, bool isSkinned = false);

/// The same uncompressed.
GltfBuilder indexedBuilder();

/// Compresses a view of a document by meshoptimizer; `mode` and `stride` as in the extension. The view shows
/// a placeholder buffer afterwards, the second of the document.
void compressView(GltfBuilder& builder, std::size_t view, const std::string& mode, std::size_t stride,
                  const std::string& extension = "EXT_meshopt_compression");

/// The cube of indexedBuilder with both its views compressed.
GltfBuilder meshoptBuilder(const std::string& extension = "EXT_meshopt_compression");

/// Positions of eight points, exponents and mantissas of their own, for the filter "EXPONENTIAL".
GltfBuilder filteredBuilder();

}  // namespace support
