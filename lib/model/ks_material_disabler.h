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

  /// Binds a model (null binds none), makes its bindings and applies the visibilities to it. A different
  /// model that was bound is released first and shows all its materials again.
  virtual void attachSuperModel(SuperModel* superModel);

  /// Releases the bound model and shows all its materials again; the visibilities are kept for the next one.
  /// False, without effect, when `superModel` is null or not the bound one. createMaterialBindings binds the
  /// model again if it still lives, unless attachSuperModel was called since.
  virtual bool detachSuperModel(SuperModel* superModel);

  /// Finds the bound model's material slots by their kinds and applies the visibilities to them. Call it
  /// again when kinds were reassigned or the model became ready. When no model is bound, it first binds the
  /// one that was released last, if any (see detachSuperModel).
  virtual void createMaterialBindings();

  /// Shows every part of the bound model destroyed (73 to 86 hidden, 87 to 100 visible) or undamaged.
  /// Visibilities of single kinds that were set before no longer count.
  virtual void setIsDestroyed(bool isDestroyed);

  /// Shows or hides every material of a kind, even if the model has none of it yet.
  virtual void setMaterialKindVisible(unsigned int kind, bool isVisible);

  /// Whether materials of a kind are shown: as set since the last setIsDestroyed, else by the look of the
  /// parts. Needs neither a model nor a material of the kind.
  virtual bool getMaterialKindVisible(unsigned int kind) const;

  /// Adds to `visibles` the visibility of every kind that the bound model has or that was set since the last
  /// setIsDestroyed.
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
