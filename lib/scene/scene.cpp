#include <core/assertion.h>
#include <scene/scene.h>

namespace Tal {
namespace {

// The place that the log names for the assertion. It is fixed, so that it stays when this file changes.
constexpr char kSource[] = "lib/scene/scene";
constexpr unsigned kHasFeatureLine = 87;

}  // namespace

SceneFeature* Scene::find(SceneFeatureTypeID type) const {
  const auto found = features_.find(type);
  if (found != features_.end()) return found->second.get();
  reportAssertion("has<Feature>()", kSource, kHasFeatureLine);
  return nullptr;
}

}  // namespace Tal
