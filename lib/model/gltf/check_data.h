#pragma once

#include <core/result.h>
#include <model/gltf/document.h>

namespace Tal {

/// Makes sure that the indices in the data of a checked document (see checkGltf) fit. The vertex indices of a
/// primitive name points that it has; those of a sparse accessor rise and name its elements. Every accessor
/// is read once, 512 MiB altogether at most. Usable on any thread.
Result<void> checkGltfData(const GltfDocument& document);

}  // namespace Tal
