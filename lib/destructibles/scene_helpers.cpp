#include <destructibles/ks_destructibles_helper.h>
#include <render/renderer_pipeline.h>
#include <scene/destruction_feature.h>
#include <scene/matrix_provider.h>
#include <scene/space_manager.h>

namespace Tal {

void ks_enableTreeHiding(bool enable) {
  if (zelkor::SpeedTreeRender* const trees = rp().speedTreeRender()) trees->setHideClosest(enable);
}

void ks_setTreeHidingRadius(float hiddenRadius, float fadeRadius) {
  if (zelkor::SpeedTreeRender* const trees = rp().speedTreeRender())
    trees->setHidingParams(hiddenRadius, fadeRadius);
}

std::shared_ptr<MatrixProvider> ks_getChunkMatrix(int spaceId, int chunkId) {
  const SmartPointer<ClientSpace> space = SpaceManager::instance().space(spaceId);
  if (!space) return nullptr;
  const auto* const destruction = space->scene().get<DestructionFeature>();
  if (destruction == nullptr) return nullptr;
  Matrix matrix;
  destruction->chunkMatrix(chunkId, matrix);
  auto provider = std::make_shared<InplaceMatrixProvider>();
  provider->set(matrix);
  return provider;
}

}  // namespace Tal
