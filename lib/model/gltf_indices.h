#pragma once

namespace tinygltf {
class Model;
}

namespace Tal {

/// Makes sure that the indices in the data of a document (see checkGltfJson) fit: the vertex indices of every
/// primitive name points that it has, and the indices of every sparse accessor rise and name its elements.
/// Every accessor is read once, 512 MiB altogether at most. Throws GltfFault. Usable on any thread.
void checkGltfIndices(const tinygltf::Model& model);

}  // namespace Tal
