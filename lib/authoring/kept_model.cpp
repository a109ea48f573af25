#include <authoring/catalogue.h>
#include <authoring/kept_model.h>
#include <core/debug_message.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <model/ks_material_disabler.h>
#include <model/super_model.h>
#include <resources/file_system.h>
#include <resources/monitor.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Tal::authoring {
namespace {

// A load tells only the listeners of the helper that performed it, but replaces the tables of all.
std::vector<KeptModel*>& openModels() {
  static std::vector<KeptModel*> models;
  return models;
}

// The version of the file before the load that is about to begin; empty when nobody has looked. What another
// program saves during a load may be missing in the tables and must not count as read.
std::optional<FileIdentity>& versionBeforeLoad() {
  static std::optional<FileIdentity> version;
  return version;
}

FS::MonitorThreadBase* monitor() {
  FS::MultiFileSystem* const files = FS::fileSystem();
  return files != nullptr ? files->getFilesystemMonitor() : nullptr;
}

/// Looks at the file before a helper that is made after this one reloads it.
class LookBeforeReload : public ResourceModificationListener {
 public:
  LookBeforeReload() {
    if (FS::MonitorThreadBase* const changes = monitor()) changes->addModificationListener(this);
  }
  ~LookBeforeReload() override {
    if (FS::MonitorThreadBase* const changes = monitor()) changes->removeModificationListener(this);
  }
  LookBeforeReload(const LookBeforeReload&) = delete;
  LookBeforeReload& operator=(const LookBeforeReload&) = delete;

 private:
  void onResourceModified(const BasicStringRef& /*basePath*/, const BasicStringRef& resourceName,
                          Action /*action*/) override {
    if (resourceName == database_format::kDatabaseFile) versionBeforeLoad() = databaseIdentity();
  }
};

// The end of a helper marks the tables as not loaded, so that the next helper loads them.
void forgetTables(KsMaterialDisabler& disabler) {
  const KsDestructiblesHelper helper(nullptr, "", &disabler);
}

/// Counts an edit as running, by whatever way it ends.
class RunningEdit {
 public:
  explicit RunningEdit(int& depth) noexcept : depth_(depth) { ++depth_; }
  ~RunningEdit() { --depth_; }
  RunningEdit(const RunningEdit&) = delete;
  RunningEdit& operator=(const RunningEdit&) = delete;

 private:
  int& depth_;
};

void warn(const std::string& text) {
  constexpr int kWarningPriority = 4;
  DebugMessageHelper({0, kWarningPriority}, "", 0).message(text);
}

std::map<std::string, std::string> hardPointsOf(const Description::Modules& modules) {
  std::map<std::string, std::string> hardPoints;
  for (const auto& [name, module] : modules) hardPoints.emplace(name, module.effectHP);
  return hardPoints;
}

// What the tables hold of a model, and what the file alone holds while the helper is of another category.
Description withAllOf(const Description& file, Description tables) {
  tables.category = file.category;
  tables.achievementTag = file.achievementTag;
  tables.modules.insert(file.modules.begin(), file.modules.end());
  if (!tables.fragile) tables.fragile = file.fragile;
  if (!tables.fallingAtom) tables.fallingAtom = file.fallingAtom;
  return tables;
}

}  // namespace

KeptModel::KeptModel(const std::string& modelName, std::unique_ptr<SuperModel> superModel)
    : superModel_(std::move(superModel)), disabler_(std::make_unique<KsMaterialDisabler>(superModel_.get())) {
  disabler_->createMaterialBindings();
  beforeReload_ = std::make_unique<LookBeforeReload>();
  lastRead_ = databaseIdentity();
  // Tables that were loaded before this helper came may be of an older file.
  const bool areTablesOld = openModels().empty() || openModels().front()->lastRead_ != lastRead_;
  if (areTablesOld) forgetTables(*disabler_);
  helper_ = std::make_unique<KsDestructiblesHelper>(superModel_.get(), modelName, disabler_.get());
  for (const auto& [name, kind] : helper_->getMaterialNames()) moduleNames_.insert(name);
  // Connected first, so that everybody else's slots see the restored values.
  typeChanged_ = helper_->connectDestructibleTypeChanged([this] { onTypeChanged(); });
  loaded_ = helper_->connectLoadedConfigSignal(&KeptModel::notifyAll);
  resync();
  // The load in the helper's construction told nobody.
  if (areTablesOld) {
    versionBeforeLoad() = lastRead_;
    notifyAll();
  }
  for (KeptModel* const model : openModels()) model->ensureLoaded();
  openModels().push_back(this);
  // After the helper: its reload has happened when this listener is called.
  if (FS::MonitorThreadBase* const changes = monitor()) changes->addModificationListener(this);
}

KeptModel::~KeptModel() {
  if (FS::MonitorThreadBase* const changes = monitor()) changes->removeModificationListener(this);
  std::vector<KeptModel*>& models = openModels();
  models.erase(std::remove(models.begin(), models.end(), this), models.end());
}

Description KeptModel::description() {
  ensureLoaded();
  return read();
}

void KeptModel::ensureLoaded() {
  if (depth_ > 0) return;
  helper_->loadConfig(false);
  // Tables that a failed load left empty raise no signal.
  if (!isSame(ofItsCategory(read()), ofItsCategory(mine_))) resync();
}

void KeptModel::refresh() {
  if (depth_ > 0) return;
  const std::optional<FileIdentity> version = databaseIdentity();
  if (version == lastRead_) return;
  versionBeforeLoad() = version;
  if (!helper_->loadConfig(/*force=*/true)) forgetVersions();
  versionBeforeLoad().reset();
}

// The tables are those of all models, and after a load that failed they are of no version of the file.
void KeptModel::forgetVersions() {
  for (KeptModel* const model : openModels()) model->lastRead_.reset();
}

std::optional<KsDestructibleType> KeptModel::takeForeignCategory() {
  const std::optional<KsDestructibleType> taken = std::exchange(foreignCategory_, std::nullopt);
  return taken != helper_->destructibleType() ? taken : std::nullopt;
}

bool KeptModel::isOpen(const std::string& modelName) {
  return std::ranges::any_of(openModels(), [&modelName](const KeptModel* model) {
    return model->helper_->modelName() == modelName;
  });
}

Outcome KeptModel::edit(const std::function<Outcome()>& work) {
  ensureLoaded();
  Outcome outcome;
  try {
    const RunningEdit running(depth_);
    outcome = work();
  } catch (...) {
    if (depth_ == 0 && isReloadPending_) resync();
    throw;
  }
  if (depth_ > 0) return outcome;
  if (!isReloadPending_) {
    remember();
    return outcome;
  }
  resync();
  reloaded_();
  return outcome;
}

void KeptModel::setCategory(KsDestructibleType category) {
  if (helper_->destructibleType() == category) return;
  mine_.category = category;  // what a load in the middle of the conversion is to restore
  switch (category) {
    case DT_STRUCTURE:
      return helper_->setAsStructure();
    case DT_FRAGILE:
      return helper_->setAsFragile();
    case DT_FALLING_ATOMS:
      return helper_->setAsFallingAtoms();
    case DT_NON_DESTRUCTIBLE:
      return helper_->setAsNonDestructible(true);
  }
}

void KeptModel::reset() {
  const Description left = withoutItsRecords(mine_);
  mine_.fragile = left.fragile;
  mine_.fallingAtom = left.fallingAtom;  // not the modules, which have the hard points that stay
  helper_->resetDescriptions();
  setModules(left.modules);
  setStates(left.states);
}

void KeptModel::restore(const Description& kept) {
  mine_ = kept;
  helper_->setAsNonDestructible(/*force=*/true);
  apply(kept);
}

void KeptModel::setStates(const Description::States& wanted) {
  const Description::States current = read().states;
  for (const auto& [name, materials] : current) {
    if (!wanted.contains(name)) helper_->delDestructibleState(name);
  }
  for (const auto& [name, materials] : wanted) {
    const auto existing = current.find(name);
    if (existing != current.end() && existing->second == materials) continue;
    helper_->delDestructibleState(name);
    helper_->addDestructibleState(name);
    for (const std::string& material : materials) helper_->addMaterialToDestrState(name, material);
  }
}

// The version that was last read stays the one before the save: what another program saved directly after it
// must not count as read.
void KeptModel::markSaved() {
  if (!hasRecord()) apply(mine_);  // the load behind the save has failed
  mine_ = {};
  madeModules_.clear();  // the file has those that a save keeps
  remember();
  base_ = mine_;
  foreignCategory_.reset();
}

void KeptModel::onResourceModified(const BasicStringRef& /*basePath*/, const BasicStringRef& resourceName,
                                   Action /*action*/) {
  if (resourceName != database_format::kDatabaseFile) return;
  versionBeforeLoad().reset();
  if (!openDatabase()) {
    forgetVersions();
    warn(std::string(database_format::kDatabaseFile) + " cannot be read any more; what was last read of " +
         quotedName(helper_->modelName()) + " is kept until it can");
  }
  ensureLoaded();
}

// A load while the model was of another category has replaced the records that it had of this one.
void KeptModel::onTypeChanged() {
  if (mine_.fragile) helper_->updateFragileParameters(*mine_.fragile);
  if (mine_.fallingAtom) helper_->updateFallingAtomParameters(*mine_.fallingAtom);
  if (helper_->destructibleType() != DT_STRUCTURE) return;
  helper_->updateStructureAchievementTag(mine_.achievementTag);
  setHardPoints(hardPointsOf(mine_.modules));
}

void KeptModel::notifyAll() {
  const std::optional<FileIdentity> version = std::exchange(versionBeforeLoad(), std::nullopt);
  const std::vector<KeptModel*> models = openModels();
  for (KeptModel* const model : models) {
    // A slot of an earlier one may have closed it.
    const auto& open = openModels();
    if (std::find(open.begin(), open.end(), model) != open.end()) model->tablesWereLoaded(version);
  }
}

void KeptModel::tablesWereLoaded(const std::optional<FileIdentity>& version) {
  // Without a version the older one stays: at worst the same content is read once more.
  if (version) lastRead_ = version;
  isReloadPending_ = depth_ > 0;
  if (isReloadPending_) return;
  resync();
  reloaded_();
}

void KeptModel::resync() {
  const RunningEdit running(depth_);
  // Whoever closed a session has marked the tables as not loaded: a look at the states would load them.
  while (helper_->loadConfig(false)) {
  }
  isReloadPending_ = false;
  const std::optional<FileEntries> entries = readEntries(helper_->modelName());
  if (!entries) {
    lastRead_.reset();
    forgetVersions();
    return apply(mine_);
  }
  const Description& file = entries->description;
  const Description mine = mine_;
  const bool isEdited = !isSame(ofItsCategory(mine), ofItsCategory(base_));
  if (!isEdited || file.category == mine.category) {
    foreignCategory_.reset();
  } else if (file.category != base_.category) {
    foreignCategory_ = file.category;
  }
  setCategory(isEdited ? mine.category : file.category);
  takeFile(file);
  keepMadeModules(file);
  Description theirs = withAllOf(file, read());
  mine_ = isEdited ? merged(base_, mine, theirs) : theirs;
  if (isEdited) apply(mine_);
  remember();
  base_ = std::move(theirs);
}

// Makes the tables hold what the file holds of the model, whatever a load has left of that: one that failed
// has left nothing.
void KeptModel::takeFile(const Description& file) {
  hasRead_ = true;
  helper_->updateStructureAchievementTag(file.achievementTag);
  for (const auto& [name, module] : file.modules) {
    moduleNames_.insert(name);
    helper_->updateDestructibleModule(name, module, /*keepExisting=*/false);
  }
  if (file.fragile) helper_->updateFragileParameters(*file.fragile);
  if (file.fallingAtom) helper_->updateFallingAtomParameters(*file.fallingAtom);
  setStates(file.states);
}

// Opening the model makes the modules that its structure in the file lacks; a load does not.
void KeptModel::keepMadeModules(const Description& file) {
  const Description::Modules made = std::exchange(madeModules_, {});
  if (file.category != DT_STRUCTURE) return;
  for (const auto& [name, module] : made)
    if (!file.modules.contains(name)) helper_->updateDestructibleModule(name, module, /*keepExisting=*/true);
  madeModules_ = read().modules;
  for (const auto& [name, module] : file.modules) madeModules_.erase(name);
}

Description KeptModel::read() {
  Description description;
  description.category = helper_->destructibleType();
  helper_->getStructureAchievementTag(description.achievementTag);
  for (const std::string& name : moduleNames_) {
    KsDestructibleModuleDesc module;
    if (helper_->getDestructibleModule(name, module)) description.modules.emplace(name, module);
  }
  std::vector<std::string> states = helper_->getStateNames();
  for (auto state = states.begin() + 1; state != states.end() - 1; ++state)  // without the built-in ones
    description.states.emplace(*state, helper_->getMaterialsForState(*state));
  KsDestructibleFragileDesc fragile;
  if (helper_->getFragileParameters(fragile)) description.fragile = fragile;
  KsDestructibleFallingAtomDesc fallingAtom;
  if (helper_->getFallingAtomParameters(fallingAtom)) description.fallingAtom = fallingAtom;
  return description;
}

// The helper shows the record of its category alone.
void KeptModel::remember() {
  Description now = read();
  if (now.category != DT_STRUCTURE) now.achievementTag = mine_.achievementTag;
  if (now.category != DT_NON_DESTRUCTIBLE) {
    if (!now.fragile) now.fragile = mine_.fragile;
    if (!now.fallingAtom) now.fallingAtom = mine_.fallingAtom;
  }
  mine_ = std::move(now);
}

// A model of no category has no records that would count again when it is converted.
void KeptModel::apply(Description wanted) {
  setCategory(wanted.category);
  if (wanted.category == DT_NON_DESTRUCTIBLE) {
    if (!read().modules.empty()) helper_->setAsNonDestructible(/*force=*/true);
    return setStates(wanted.states);
  }
  helper_->updateStructureAchievementTag(wanted.achievementTag);
  setModules(wanted.modules);
  if (wanted.fragile) helper_->updateFragileParameters(*wanted.fragile);
  if (wanted.fallingAtom) helper_->updateFallingAtomParameters(*wanted.fallingAtom);
  if (!hasRecord()) {
    helper_->resetDescriptions();
    setModules(wanted.modules);  // of another category
  }
  setStates(wanted.states);
}

void KeptModel::setModules(const Description::Modules& modules) {
  for (const auto& [name, module] : modules)
    helper_->updateDestructibleModule(name, module, /*keepExisting=*/false);
}

// Whether the tables hold the record of the helper's category.
bool KeptModel::hasRecord() {
  const Description current = read();
  switch (current.category) {
    case DT_STRUCTURE:
      return !current.modules.empty();
    case DT_FRAGILE:
      return current.fragile.has_value();
    case DT_FALLING_ATOMS:
      return current.fallingAtom.has_value();
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return true;
}

void KeptModel::setHardPoints(const std::map<std::string, std::string>& hardPoints) {
  for (const auto& [name, hardPoint] : hardPoints) {
    KsDestructibleModuleDesc module;
    if (!helper_->getDestructibleModule(name, module) || module.effectHP == hardPoint) continue;
    module.effectHP = hardPoint;
    helper_->updateDestructibleModule(name, module, /*keepExisting=*/false);
  }
}

}  // namespace Tal::authoring
