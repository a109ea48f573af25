#pragma once

#include <destructibles/ks_destructibles_helper.h>
#include <model/ks_material_disabler.h>
#include <model/super_model.h>

#include <array>
#include <memory>
#include <string>

namespace durability {

inline constexpr const char* kDatabase = "scripts/destructibles.xml";

/// What the save of a version is about.
enum class Kind {
  fragile,         ///< a fragile gets another health
  structure,       ///< so do the 14 modules of a structure, and it gets another state
  fallingAtom,     ///< a falling atom gets another health
  comingAndGoing,  ///< a model without an entry becomes a fragile, or loses its entry again
};

/// A database of four models (and a hundred that nobody touches) that goes from version to version: each
/// version is one save of one model, and its whole text is known.
class StudioDatabase {
 public:
  /// The database in a version; version 0 is what it begins with.
  static std::string textOf(int version);

  static Kind kindOf(int version) { return static_cast<Kind>(version % 4); }

  /// Makes the edits of a version in memory.
  void edit(int version);

  /// Saves the model that a version is about. False when that is said to have failed; nothing is said of a
  /// model of no category.
  bool save(int version);

 private:
  struct Model {
    std::unique_ptr<Tal::SuperModel> model;
    std::unique_ptr<Tal::KsMaterialDisabler> disabler;
    std::unique_ptr<Tal::KsDestructiblesHelper> helper;
  };

  /// Opened when it is first needed.
  Tal::KsDestructiblesHelper& helperOf(Kind kind);

  std::array<Model, 4> models_;
};

}  // namespace durability
