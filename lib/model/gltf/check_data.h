#pragma once

#include <core/result.h>
#include <model/gltf/document.h>

namespace Tal {

/// Checks the indices in the data of a checked document (see checkGltf): vertex indices name points of their
/// primitive, and sparse indices rise and name elements of their accessor. Reads every accessor once, at most
/// 512 MiB together. Usable on any thread.
Result<void> checkGltfData(const GltfDocument& document);

}  // namespace Tal
