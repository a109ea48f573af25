#pragma once

#include <authoring/database_entries.h>
#include <authoring/description.h>
#include <authoring/outcome.h>
#include <destructibles/ks_destructibles_helper.h>
#include <ks/connection.h>
#include <ks/signal.h>
#include <resources/file_identity.h>
#include <resources/resource_modification_listener.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace Tal {
class KsMaterialDisabler;
class SuperModel;
}  // namespace Tal

namespace Tal::authoring {

/// An open model with its helper, and the memory of what the author made of it.
///
/// The helper takes the tables as a load leaves them, and any load, an opening or a conversion may replace
/// the model's achievement tag, its modules' hard points and unsaved edits. This class puts them back: it
/// knows what the file held and what was edited since, and compares with both after every load, whichever
/// helper of the process performed it. Main thread only.
class KeptModel : private ResourceModificationListener {
 public:
  /// Binds the model; the database can be opened.
  KeptModel(const std::string& modelName, std::unique_ptr<SuperModel> superModel);
  ~KeptModel() override;
  KeptModel(const KeptModel&) = delete;
  KeptModel& operator=(const KeptModel&) = delete;

  KsDestructiblesHelper& helper() noexcept { return *helper_; }

  /// Whether the database could be read since the model was bound; without that there is nothing to edit.
  bool hasRead() const noexcept { return hasRead_; }

  /// What the tables hold of the model, with the edits restored.
  Description description();

  /// The same as after the last edit, with the records that conversions have left behind.
  const Description& kept() const noexcept { return mine_; }

  /// What the file held when it was last read.
  const Description& base() const noexcept { return base_; }

  /// Loads the tables if a helper's end has marked them as not loaded, and restores what that loses.
  void ensureLoaded();

  /// Reads the file again if it may be newer than what was last read.
  void refresh();

  /// The category that another program has given to the model in the file while it had unsaved edits here, if
  /// it is another than here. Given once.
  std::optional<KsDestructibleType> takeForeignCategory();

  /// Whether the model of a name is open.
  static bool isOpen(const std::string& modelName);

  /// Runs an edit on loaded tables and remembers its result. Edits may be nested.
  Outcome edit(const std::function<Outcome()>& work);

  /// Converts the helper, within an edit. The model keeps its own tag and the hard points of its modules.
  void setCategory(KsDestructibleType category);

  /// Replaces the records of its category by newly made ones, within an edit. The tag, the hard points, the
  /// named states and what conversions have left behind stay.
  void reset();

  /// Makes everything what it was, as kept() has told, within an edit.
  void restore(const Description& kept);

  /// Makes the named states these, within an edit.
  void setStates(const Description::States& wanted);

  /// Notes, within an edit, that the file holds everything as it is now.
  void markSaved();

  ks::Connection connectReloaded(std::function<void()> slot) const {
    return reloaded_.connect(std::move(slot));
  }

 private:
  void onResourceModified(const BasicStringRef& basePath, const BasicStringRef& resourceName,
                          Action action) override;
  void onTypeChanged();
  static void notifyAll();
  void tablesWereLoaded(const std::optional<FileIdentity>& version);
  void resync();
  static void forgetVersions();
  void takeFile(const Description& file);
  void keepMadeModules(const Description& file);
  Description read();
  void remember();
  void apply(Description wanted);
  void setModules(const Description::Modules& modules);
  bool hasRecord();
  void setHardPoints(const std::map<std::string, std::string>& hardPoints);

  std::unique_ptr<SuperModel> superModel_;
  std::unique_ptr<KsMaterialDisabler> disabler_;
  std::unique_ptr<KsDestructiblesHelper> helper_;
  ks::Connection loaded_;
  ks::Connection typeChanged_;
  mutable ks::Signal<void()> reloaded_;

  std::set<std::string> moduleNames_;     // every name that a module may have; the helper cannot list them
  Description::Modules madeModules_;      // those that the file lacks of its structure
  std::optional<FileIdentity> lastRead_;  // the file that base_ is from, or an older one
  Description base_;
  Description mine_;  // base_ with the edits since then; with the records that conversions have left behind
  std::optional<KsDestructibleType> foreignCategory_;
  std::unique_ptr<ResourceModificationListener> beforeReload_;
  bool hasRead_ = false;
  int depth_ = 0;                 // of the edits that are running
  bool isReloadPending_ = false;  // the tables were loaded in the middle of an edit
};

}  // namespace Tal::authoring
