#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace Tal {

/// Identifies a type of scene features.
using SceneFeatureTypeID = std::uint32_t;

/// One aspect of a space, such as what is destroyed in it. A feature class has a constant `kTypeIndex` of its
/// own.
class SceneFeature {
 public:
  virtual ~SceneFeature() = default;
};

/// The features of a space, at most one of each type. Main thread only.
class Scene {
 public:
  /// Adds a feature, which is not null, and replaces the one of its type. The reference is valid until the
  /// feature is replaced or removed.
  template <class Feature>
  Feature& add(std::unique_ptr<Feature> feature) {
    Feature& added = *feature;
    features_[Feature::kTypeIndex] = std::move(feature);
    return added;
  }

  /// Destroys the feature of a type, if there is one.
  template <class Feature>
  void remove() {
    features_.erase(Feature::kTypeIndex);
  }

  /// Whether there is a feature of a type. Nothing is reported.
  template <class Feature>
  bool has() const {
    return features_.contains(Feature::kTypeIndex);
  }

  /// The feature of a type; it belongs to the scene and is valid until it is replaced or removed. A scene
  /// without it is reported as a development assertion, and the result is null.
  template <class Feature>
  Feature* get() const {
    return static_cast<Feature*>(find(Feature::kTypeIndex));
  }

 private:
  SceneFeature* find(SceneFeatureTypeID type) const;

  std::map<SceneFeatureTypeID, std::unique_ptr<SceneFeature>> features_;
};

}  // namespace Tal
