#pragma once

#include <core/matrix.h>
#include <scene/scene.h>

#include <map>

namespace Tal {

/// The destruction data of a space: the world matrices of its chunks. Main thread only.
class DestructionFeature final : public SceneFeature {
 public:
  static constexpr SceneFeatureTypeID kTypeIndex = 1;

  /// Places a chunk, or moves it.
  void setChunkMatrix(int chunkId, const Matrix& matrix) { chunkMatrices_[chunkId] = matrix; }

  /// Fills `matrix` with the world matrix of a chunk. False, without effect, when there is no such chunk.
  bool chunkMatrix(int chunkId, Matrix& matrix) const {
    const auto found = chunkMatrices_.find(chunkId);
    if (found == chunkMatrices_.end()) return false;
    matrix = found->second;
    return true;
  }

 private:
  std::map<int, Matrix> chunkMatrices_;
};

}  // namespace Tal
