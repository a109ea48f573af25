#pragma once

#include <model/ks_material_disabler.h>
#include <model/super_model.h>

#include <filesystem>
#include <memory>
#include <string>

namespace Tal {
class KsDestructiblesHelper;
}

namespace bench {

/// A resource root of its own with a database of these bytes, mounted as the process's only one. One at a
/// time.
class Studio {
 public:
  explicit Studio(std::string databaseText);
  ~Studio();
  Studio(const Studio&) = delete;
  Studio& operator=(const Studio&) = delete;

  /// Makes the process forget what it read: the tables are empty and the next load is the first.
  void forget(Tal::KsDestructiblesHelper& helper) const;

  std::filesystem::path file() const { return root_ / "scripts" / "destructibles.xml"; }
  /// What the file held at first.
  const std::string& text() const { return text_; }

 private:
  void mount() const;

  std::filesystem::path root_;
  std::string text_;
};

/// A model of so many modules that one of the database's structures can be bound to.
class StructureModel {
 public:
  explicit StructureModel(unsigned moduleCount);

  Tal::SuperModel* model() { return &model_; }
  Tal::KsMaterialDisabler* disabler() { return &disabler_; }

 private:
  Tal::SuperModel model_;
  Tal::KsMaterialDisabler disabler_;
};

}  // namespace bench
