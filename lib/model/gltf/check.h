#pragma once

#include <core/result.h>
#include <model/gltf/document.h>

namespace Tal {

/// Checks that a document is consistent, so that its data can be read without further checks. The fault says
/// where it is not. The data itself is not read (see checkGltfData).
///
/// - Every accessor lies aligned inside its buffer view, and every buffer view inside its buffer.
/// - The accessors of primitives, skins and instances are of the types and counts that these need.
/// Usable on any thread.
Result<void> checkGltf(const GltfDocument& document);

}  // namespace Tal
