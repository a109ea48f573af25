#pragma once

#include <core/result.h>
#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <model/material_instance.h>
#include <model/model.h>
#include <model/skeleton_instance.h>

#include <memory>
#include <string>

namespace Tal {

/// A model that is open in the editor: its materials, skeleton and collision data. Main thread only.
class SuperModel {
 public:
  /// A model made of its parts; `topModel` may be null.
  SuperModel(SmartPointer<Model> topModel, Skeleton::SkeletonInstance skeleton, ModelMaterials materials);
  SuperModel(const SuperModel&) = delete;
  SuperModel& operator=(const SuperModel&) = delete;

  /// Loads "NAME.model" and its ".visual" from the resource roots. Geometry is not read; a warning is logged
  /// when its size differs from that of the imported geometry. Never null; the fault names the file.
  static Result<std::unique_ptr<SuperModel>> load(BasicStringRef modelName);

  /// The top model; may be null.
  SmartPointer<Model> topModel() const { return topModel_; }

  /// The skeleton, owned by this object; never null.
  Skeleton::SkeletonInstance* skeleton() noexcept { return &skeleton_; }

  /// Expires with the model, for those that have a pointer to it and do not own it.
  std::weak_ptr<const void> lifetime() const noexcept { return lifetime_; }

  /// False while the model is still being loaded; its materials are then incomplete and not used.
  bool ready_ = true;
  ModelMaterials materials_;  ///< the materials, in slot order

 private:
  SmartPointer<Model> topModel_;
  Skeleton::SkeletonInstance skeleton_;
  std::shared_ptr<const void> lifetime_ = std::make_shared<char>();
};

}  // namespace Tal
