#pragma once

#include <map>
#include <memory>

namespace Tal {

class SuperModel;

/// Shows and hides the material kinds of one model. Without a state applied every kind is visible except the
/// destroyed parts (87 to 100). Main thread only; the model is not owned and must stay alive while it is
/// bound.
class KsMaterialDisabler {
 public:
  explicit KsMaterialDisabler(SuperModel* superModel = nullptr);
  virtual ~KsMaterialDisabler() = default;
  KsMaterialDisabler(const KsMaterialDisabler&) = delete;
  KsMaterialDisabler& operator=(const KsMaterialDisabler&) = delete;

  /// Binds a model (null binds none) and makes its bindings; the visibilities are kept and applied to it. A
  /// different model that was bound is let go first and shows all its materials again.
  virtual void attachSuperModel(SuperModel* superModel);

  /// Lets go of the bound model and shows all its materials again; the visibilities are kept for the next
  /// one. createMaterialBindings binds the model again, unless another or none was attached since. The model
  /// may be destroyed meanwhile: then none is bound. False, with no effect, when `superModel` is null or is
  /// not the bound one.
  virtual bool detachSuperModel(SuperModel* superModel);

  /// Finds the bound model's material slots by their kinds and applies the visibilities to them; to be called
  /// again when kinds were reassigned or the model became ready. When no model is bound, the one that was let
  /// go last is, see detachSuperModel; nothing happens when there is none.
  virtual void createMaterialBindings();

  /// True brings every part of the bound model to its destroyed look (73 to 86 hidden, 87 to 100 visible),
  /// false to its undamaged one, as if no state had been applied and no kind had been set visible or hidden.
  virtual void setIsDestroyed(bool isDestroyed);

  /// Shows or hides every material of a kind, also when the model has none of it yet.
  virtual void setMaterialKindVisible(unsigned int kind, bool isVisible);

  /// Whether materials of a kind are shown: as was set since the last setIsDestroyed, else as the look of the
  /// model's parts has it. Neither a model nor a material of the kind needs to be there.
  virtual bool getMaterialKindVisible(unsigned int kind) const;

  /// Adds the visibility of every kind that the bound model has or that was set since the last
  /// setIsDestroyed; other entries of `visibles` stay.
  virtual void getMaterialKindVisibles(std::map<unsigned int, bool>& visibles) const;

 private:
  void bind(SuperModel* superModel);
  void applyVisibilities();
  bool isKindVisible(unsigned int kind) const;

  SuperModel* superModel_ = nullptr;
  SuperModel* letGo_ = nullptr;  // to be bound again, as long as it lives
  std::weak_ptr<const void> letGoLifetime_;
  std::multimap<unsigned int, unsigned int> slotsByKind_;
  std::map<unsigned int, bool> explicitVisibility_;
  bool isDestroyed_ = false;
};

}  // namespace Tal
