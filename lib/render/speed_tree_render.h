#pragma once

namespace Tal::zelkor {

/// The settings of the tree renderer for trees close to the camera. Main thread only.
class SpeedTreeRender {
 public:
  /// Whether trees close to the camera are hidden; they are not at first.
  void setHideClosest(bool enable) noexcept { isHidingClosest_ = enable; }
  bool isHidingClosest() const noexcept { return isHidingClosest_; }

  /// The distances from the camera, in metres, within which trees are hidden: completely up to the first,
  /// fading out up to the second. Stored as given; 0 at first.
  void setHidingParams(float hiddenRadius, float fadeRadius) noexcept {
    hiddenRadius_ = hiddenRadius;
    fadeRadius_ = fadeRadius;
  }
  float hiddenRadius() const noexcept { return hiddenRadius_; }
  float fadeRadius() const noexcept { return fadeRadius_; }

 private:
  bool isHidingClosest_ = false;
  float hiddenRadius_ = 0.0F;
  float fadeRadius_ = 0.0F;
};

}  // namespace Tal::zelkor
