#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// One material of a loaded model.
class MaterialInstance {
 public:
  explicit MaterialInstance(std::string identifier, std::uint32_t materialKind = 0)
      : materialKind_(materialKind), identifier_(std::move(identifier)) {}

  /// The name that the artists gave the material.
  const std::string& identifier() const noexcept { return identifier_; }

  std::uint32_t materialKind_;  ///< the material kind number; 0 when none is assigned
  bool isVisible_ = true;  ///< whether the renderer draws what carries the material; see KsMaterialDisabler

 private:
  std::string identifier_;
};

/// The materials of a model, in slot order. Several slots may share an identifier; a slot may be empty
/// (null).
class ModelMaterials {
 public:
  using Slots = std::vector<std::shared_ptr<MaterialInstance>>;

  ModelMaterials() = default;
  explicit ModelMaterials(Slots slots) : slots_(std::move(slots)) {}

  Slots::const_iterator begin() const noexcept { return slots_.begin(); }
  Slots::const_iterator end() const noexcept { return slots_.end(); }

 private:
  Slots slots_;
};

}  // namespace Tal
