#pragma once

#include <authoring/change.h>
#include <authoring/database_entries.h>
#include <authoring/description.h>
#include <authoring/merge.h>
#include <core/result.h>
#include <destructibles/ks_destructibles_helper.h>
#include <ks/connection.h>
#include <ks/signal.h>
#include <resources/resource_modification_listener.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Tal {
class DataSection;
class KsMaterialDisabler;
class SuperModel;
}  // namespace Tal

namespace Tal::authoring {

/// An open model: what the file said of it, what the author has, and the helper that shows the latter in the
/// tables. The two descriptions are the truth; the tables, which any load of the process replaces, are made
/// to agree with them. Main thread only.
class OpenModel : private ResourceModificationListener {
 public:
  /// Binds the model; the database can be opened.
  OpenModel(std::string modelName, std::unique_ptr<SuperModel> superModel);
  ~OpenModel() override;
  OpenModel(const OpenModel&) = delete;
  OpenModel& operator=(const OpenModel&) = delete;

  /// Whether the model of a name is open.
  static bool isOpen(const std::string& modelName);

  /// Has every open model follow the file as far as something has changed, and tells its listeners. Nothing
  /// happens within an operation: it is made up for at the end of that.
  static void followAll();

  /// Replaced when the model's own files have changed.
  KsDestructiblesHelper& helper() noexcept { return *helper_; }

  /// Whether the database could be read when it was last to be.
  const Result<void>& reading() const noexcept { return reading_; }

  /// Whether the model's files could be read when it was bound: without the size that decides the health of
  /// new entries nothing can be completed.
  bool isWhole() const noexcept { return isWhole_; }

  /// What the file held when it was last read, and the modules that its structure lacks.
  const Description& file() const noexcept { return file_; }

  /// What the author has: `file` with the edits since then, and the records that conversions have left
  /// behind.
  const Description& mine() const noexcept { return mine_; }

  /// The part of `mine` that counts for the model's category.
  Description description() const;

  bool isEdited() const;

  /// Runs an operation on open models, during which no listener is called, and gives its result. Operations
  /// may be nested.
  template <class Operation>
  static auto run(const Operation& operation) {
    auto result = [&operation] {
      const Running running;
      return operation();
    }();
    followAll();
    return result;
  }

  /// Makes this what the author has; shows it in the tables.
  Change replace(Description wanted);

  /// Shows what the author has in the tables.
  void show();

  /// Follows the file as far as something has changed, and shows that; listeners are called afterwards.
  void settle();

  /// Whether what the file said is what an opened database holds now.
  bool isOf(const DataSection& database) const;

  /// Reads the file if it has other content than what was last read.
  void refresh();

  /// What both the author and another program have changed since the file was last saved or read without
  /// edits; what the author has is kept.
  const std::vector<Conflict>& conflicts() const noexcept { return conflicts_; }

  /// Whether the categories are in conflict. Said once: from then on the author's is meant.
  bool takeCategoryConflict();

  /// How many saves were noted.
  int saves() const noexcept { return saves_; }

  /// Notes that `saved` was written to the file.
  void noteSaved(const Description& saved);

  /// See Session.
  ks::Connection connectEdited(std::function<void()> slot) const { return edited_.connect(std::move(slot)); }
  ks::Connection connectReloaded(std::function<void()> slot) const {
    return reloaded_.connect(std::move(slot));
  }

 private:
  /// Counts an operation as running, by whatever way it ends.
  class Running {
   public:
    Running() noexcept;
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
  };

  void onResourceModified(const BasicStringRef& basePath, const BasicStringRef& resourceName,
                          Action action) override;
  void onTaskQueueEmpty() override;
  static void onTablesLoaded();
  bool isBehind() const noexcept { return isStale_ || isModelStale_ || hasNews_ || hasEdit_; }
  void catchUp();
  void bind(std::unique_ptr<SuperModel> superModel);
  void rebind();
  bool takeFile();
  void merge(const Description& file);
  Description withLeftBehind(Description theirs) const;
  Description counting(const Description& description) const;
  void rebase();
  void forgetDropped();
  Description shown();
  void showRecords();
  void setCategory(KsDestructibleType category);
  void setStates(const Description::States& current, const Description::States& wanted);

  std::string modelName_;
  std::string visualName_;
  std::unique_ptr<SuperModel> superModel_;
  std::unique_ptr<KsMaterialDisabler> disabler_;
  std::unique_ptr<KsDestructiblesHelper> helper_;
  ks::Connection loaded_;
  mutable ks::Signal<void()> edited_;
  mutable ks::Signal<void()> reloaded_;

  Description newEntries_;              // what newly made entries hold
  std::set<std::string> droppedNames_;  // the modules of those that a save does not write
  Description file_;
  Description base_;  // what the author's edits began with: file_, and the records of mine_ that it lacks
  Description mine_;
  std::vector<Conflict> conflicts_;
  int saves_ = 0;
  std::uint64_t stamp_ = 0;       // of the content that file_ is from; 0 when it is to be read again
  bool isStructureGone_ = false;  // from the file, while base_ and mine_ still have it
  Result<void> reading_;
  bool isWhole_ = true;
  bool isStale_ = false;       // the file or the tables may have changed
  bool isModelStale_ = false;  // its own files may have
  bool hasNews_ = false;       // a file was read, which listeners have not heard of
  bool hasEdit_ = false;       // the same of an edit
};

}  // namespace Tal::authoring
