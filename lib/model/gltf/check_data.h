#pragma once

#include <core/result.h>
#include <model/gltf/document.h>

namespace Tal {

/// Makes sure that the indices in the data of a document (see checkGltf) fit: the vertex indices of every
/// primitive name points that it has, and the indices of every sparse accessor rise and name its elements.
/// Every accessor is read once, 512 MiB altogether at most. Usable on any thread.
Result<void> checkGltfData(const GltfDocument& document);

}  // namespace Tal
