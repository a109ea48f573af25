#pragma once

#include <core/result.h>
#include <model/gltf/document.h>

namespace Tal {

/// Makes sure that what a document says fits together, so that its data can be walked without further checks.
/// Every accessor lies aligned inside its buffer view, and every buffer view inside its buffer, as long as
/// the document says that is. The accessors of primitives, skins and instances are of the types and counts
/// that these need. What stands in the data is not looked at (see checkGltfData). The fault has the place of
/// what is wrong. Usable on any thread.
Result<void> checkGltf(const GltfDocument& document);

}  // namespace Tal
