#include <authoring/open_model.h>
#include <authoring/record_table.h>
#include <authoring/restore_target.h>
#include <authoring/value_warnings.h>
#include <core/contains.h>
#include <core/debug_message.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <model/ks_material_disabler.h>
#include <model/super_model.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/monitor.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace Tal::authoring {
namespace {

/// The models that are open in the process. Their entries share the tables: a load by one helper replaces
/// those of all, and tells only the listeners of that helper.
struct OpenModels {
  std::vector<OpenModel*> all;
  int running = 0;  // operations
  bool isFollowing = false;
};

OpenModels& openModels() {
  static OpenModels models;
  return models;
}

/// Keeps the listeners of one model from beginning another round.
class Following {
 public:
  Following() noexcept { openModels().isFollowing = true; }
  ~Following() { openModels().isFollowing = false; }
  Following(const Following&) = delete;
  Following& operator=(const Following&) = delete;
};

FS::MonitorThreadBase* monitor() {
  FS::MultiFileSystem* const files = FS::fileSystem();
  return files != nullptr ? files->getFilesystemMonitor() : nullptr;
}

void warn(const std::string& text) {
  constexpr int kWarningPriority = 4;
  DebugMessageHelper({0, kWarningPriority}, "", 0).message(text);
}

bool hasRecord(const Description& description) {
  switch (description.category) {
    case DT_STRUCTURE:
      return !description.modules.empty();
    case DT_FRAGILE:
      return description.fragile.has_value();
    case DT_FALLING_ATOMS:
      return description.fallingAtom.has_value();
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return true;
}

bool hasOtherModules(const Description& shown, const Description& wanted) {
  return std::ranges::any_of(
      shown.modules, [&wanted](const auto& module) { return !wanted.modules.contains(module.first); });
}

// Gives a description what belongs to structures alone.
void takeStructure(const Description& from, Description& to) {
  to.modules = from.modules;
  to.states = from.states;
  to.achievementTag = from.achievementTag;
}

// Replaces a record of the tables exactly. The helper takes scales that hardly differ as equal, but not
// beside another difference.
template <class Record, class Get, class Update>
void store(const Record& record, const Get& get, const Update& update) {
  update(record);
  Record stored;
  if (!get(stored) || isSameRecord(stored, record)) return;
  Record other = record;
  other.health = record.health == 0 ? 1 : 0;
  update(other);
  update(record);
}

}  // namespace

OpenModel::Running::Running() noexcept {
  ++openModels().running;
}

OpenModel::Running::~Running() {
  --openModels().running;
}

OpenModel::OpenModel(std::string modelName, std::unique_ptr<SuperModel> superModel)
    : modelName_(std::move(modelName)), disabler_(std::make_unique<KsMaterialDisabler>()) {
  const Running running;
  bind(std::move(superModel));
  takeFile();
  // What others have shown in the tables may be gone.
  onTablesLoaded();
  hasNews_ = false;
  if (FS::MonitorThreadBase* const changes = monitor()) changes->addModificationListener(this);
  openModels().all.push_back(this);
}

OpenModel::~OpenModel() {
  if (FS::MonitorThreadBase* const changes = monitor()) changes->removeModificationListener(this);
  std::erase(openModels().all, this);
}

// Makes the helper of a model, which the disabler is bound to afterwards.
void OpenModel::bind(std::unique_ptr<SuperModel> superModel) {
  const auto reinit = [&] {
    KsDestructiblesHelper::reinit(helper_, superModel.get(), modelName_, disabler_.get(), false);
  };
  reinit();
  // The tables may have been of an older file.
  const auto file = readEntries(modelName_);
  if (file && file->description.category != helper_->destructibleType()) reinit();
  disabler_->attachSuperModel(superModel.get());
  superModel_ = std::move(superModel);
  const SmartPointer<DataSection> model = FS::Utils::openSection(modelName_, false, nullptr);
  visualName_ = model ? model->readString("visual") : "";
  RestoreTarget target = targetOf(*helper_);
  isWhole_ = !target.isHealthUncertain;
  newEntries_ = std::move(target.newEntries);
  droppedNames_.clear();
  for (const auto& [name, module] : newEntries_.modules)
    if (!target.modules.contains(name)) droppedNames_.insert(name);
  if (saves_ > 0) forgetDropped();
  loaded_ = helper_->connectLoadedConfigSignal(&OpenModel::onTablesLoaded);
}

// Binds the model as its files are now; while they cannot be read, it stays as it is.
void OpenModel::rebind() {
  isModelStale_ = false;
  const Running running;
  auto superModel = SuperModel::load(modelName_);
  if (!superModel) {
    return warn(textOf(superModel.fault()) + "; " + quotedName(modelName_) + " stays as it was read before");
  }
  const std::string state = helper_->getDestructibleState();
  const std::vector<std::string> before = namesLacking(*helper_, description());
  bind(*std::move(superModel));
  stamp_ = 0;  // modules may have gone or be new
  takeFile();
  onTablesLoaded();
  for (const std::string& line : namesLacking(*helper_, description()))
    if (!contains(before, line)) warn(quotedName(modelName_) + " has changed: " + line);
  if (contains(helper_->getStateNames(), state)) helper_->setDestructibleState(state);
  hasNews_ = true;
}

bool OpenModel::isOpen(const std::string& modelName) {
  return std::ranges::any_of(openModels().all,
                             [&modelName](const OpenModel* model) { return model->modelName_ == modelName; });
}

void OpenModel::followAll() {
  OpenModels& models = openModels();
  if (models.running > 0 || models.isFollowing) return;
  const Following following;
  const auto isBehind = [](const OpenModel* model) { return model->isBehind(); };
  for (auto found = std::ranges::find_if(models.all, isBehind); found != models.all.end();
       found = std::ranges::find_if(models.all, isBehind))
    (*found)->catchUp();
}

// Its listeners may close any model, this one too.
void OpenModel::catchUp() {
  if (isModelStale_) rebind();
  if (isStale_) refresh();
  if (std::exchange(hasNews_, false)) return reloaded_();
  if (std::exchange(hasEdit_, false)) edited_();
}

Description OpenModel::description() const {
  return counting(mine_);
}

// What a save would write of a description.
Description OpenModel::counting(const Description& description) const {
  Description result = ofItsCategory(description);
  // A conversion leaves the states of a structure behind; those of other models are the file's.
  if (result.category != DT_STRUCTURE)
    result.states = file_.category == DT_STRUCTURE ? Description::States() : file_.states;
  return result;
}

// A model of no category may have entries that a save would remove.
bool OpenModel::isEdited() const {
  if (mine_.category == DT_NON_DESTRUCTIBLE && file_.category == DT_NON_DESTRUCTIBLE)
    return !isSame(mine_, file_);
  return !isSame(counting(mine_), counting(file_));
}

Change OpenModel::replace(Description wanted) {
  std::swap(mine_, wanted);
  hasEdit_ = true;
  try {
    show();
  } catch (...) {
    std::swap(mine_, wanted);
    isStale_ = true;
    throw;
  }
  conflicts_ = unsettled(std::move(conflicts_), mine_, file_);
  rebase();
  return {modelName_, std::move(wanted), mine_};
}

bool OpenModel::isOf(const DataSection& database) const {
  return stamp_ != 0 && stamp_ == database.contentStamp();
}

void OpenModel::settle() {
  const Running running;
  show();  // may find the tables empty and load them
  if (isStale_) refresh();
}

void OpenModel::refresh() {
  isStale_ = false;
  const Running running;
  if (takeFile()) hasNews_ = true;
}

bool OpenModel::takeCategoryConflict() {
  return std::erase_if(conflicts_,
                       [](const Conflict& conflict) { return conflict.field == categoryField(); }) > 0;
}

// What conversions have left behind has left the file.
void OpenModel::noteSaved(const Description& saved) {
  ++saves_;
  // What a listener has converted meanwhile counts again on the way back.
  if (isSame(mine_, saved)) mine_ = counting(mine_);
  file_ = counting(saved);
  conflicts_.clear();
  forgetDropped();
  isStructureGone_ = false;
  base_ = {};
  rebase();
  isStale_ = true;
}

// A structure that was saved is not completed with what the save has dropped.
void OpenModel::forgetDropped() {
  for (const std::string& name : droppedNames_) newEntries_.modules.erase(name);
}

void OpenModel::onResourceModified(const BasicStringRef& /*basePath*/, const BasicStringRef& resourceName,
                                   Action /*action*/) {
  if (resourceName == modelName_ || resourceName == visualName_) isModelStale_ = true;
  if (resourceName != database_format::kDatabaseFile) return;
  if (!openDatabase()) {  // the reason is logged by whoever loads the tables
    warn(std::string(database_format::kDatabaseFile) + " cannot be read any more; what was last read of " +
         quotedName(modelName_) + " is kept until it can");
  }
  isStale_ = true;
  followAll();
}

// An import changes several files at a time.
void OpenModel::onTaskQueueEmpty() {
  if (isModelStale_) followAll();
}

void OpenModel::onTablesLoaded() {
  for (OpenModel* const model : openModels().all) model->isStale_ = true;
  followAll();
}

// False when there was nothing new in the file.
bool OpenModel::takeFile() {
  const auto database = openDatabase();
  const std::uint64_t stamp = database ? (*database)->contentStamp() : 0;
  const bool isNew = stamp != 0 && stamp != stamp_;
  if (isNew) merge(entriesIn(**database, modelName_).description);
  reading_ = database ? Result<void>() : database.fault();
  stamp_ = stamp;
  show();
  return isNew;
}

void OpenModel::merge(const Description& file) {
  Description theirs = completed(file, newEntries_);
  const bool hasStructure = theirs.category == DT_STRUCTURE;
  if (isEdited()) {
    isStructureGone_ = isStructureGone_ || file_.category == DT_STRUCTURE;
    isStructureGone_ = isStructureGone_ && mine_.category == DT_STRUCTURE && !hasStructure;
    Description others = theirs;
    if (isStructureGone_) takeStructure(base_, others);  // stays as the author has it
    Merge merge = authoring::merge(base_, mine_, others);
    // A model of no category has no records that would count again when it is converted.
    mine_ = mine_.category == DT_NON_DESTRUCTIBLE ? Description()
                                                  : completed(std::move(merge.merged), newEntries_);
    conflicts_ = unsettled(joined(std::move(conflicts_), merge.conflicts), mine_, theirs);
  } else {
    isStructureGone_ = false;
    conflicts_.clear();
    mine_ = withLeftBehind(theirs);
  }
  file_ = std::move(theirs);
  rebase();
}

// A record of the author's that the file lacks began as the file last had it, or as it was made.
void OpenModel::rebase() {
  Description base = file_;
  isStructureGone_ = isStructureGone_ && mine_.category == DT_STRUCTURE;
  if (isStructureGone_) takeStructure(base_, base);
  if (mine_.fragile && !base.fragile) base.fragile = base_.fragile ? base_.fragile : newEntries_.fragile;
  if (mine_.fallingAtom && !base.fallingAtom)
    base.fallingAtom = base_.fallingAtom ? base_.fallingAtom : newEntries_.fallingAtom;
  for (const auto& [name, module] : newEntries_.modules)
    if (mine_.modules.contains(name)) base.modules.emplace(name, module);
  base_ = std::move(base);
}

// What the file says, and the records of other categories than its own that the author has edited before a
// conversion.
Description OpenModel::withLeftBehind(Description theirs) const {
  const bool isStructure = theirs.category == DT_STRUCTURE;
  const auto isLeft = [](const auto& mine, const auto& base) {
    return mine && !(base && isSameRecord(*mine, *base));
  };
  const bool isOfMine = theirs.category == mine_.category && theirs.category != DT_NON_DESTRUCTIBLE;
  if (!isOfMine) return theirs;
  const Description left = authoring::merge(base_, mine_, theirs).merged;
  if (theirs.category != DT_FRAGILE && isLeft(mine_.fragile, file_.fragile)) theirs.fragile = left.fragile;
  if (theirs.category != DT_FALLING_ATOMS && isLeft(mine_.fallingAtom, file_.fallingAtom))
    theirs.fallingAtom = left.fallingAtom;
  if (!isStructure) {
    theirs.modules = left.modules;
    theirs.achievementTag = left.achievementTag;
  }
  return theirs;
}

void OpenModel::show() {
  helper_->loadConfig(false);
  const Description wanted = description();
  if (isSame(shown(), wanted)) return;
  setCategory(wanted.category);
  const Description current = shown();
  if (!hasRecord(current) || hasOtherModules(current, wanted)) helper_->resetDescriptions();
  showRecords();
}

// Once the helper is of the category.
void OpenModel::showRecords() {
  if (helper_->destructibleType() != mine_.category) return;
  const Description wanted = description();
  helper_->updateStructureAchievementTag(wanted.achievementTag);
  for (const auto& [module, record] : wanted.modules) {
    store(
        record, [&, name = module](auto& stored) { return helper_->getDestructibleModule(name, stored); },
        [&, name = module](const auto& other) { helper_->updateDestructibleModule(name, other, false); });
  }
  if (wanted.fragile) {
    store(
        *wanted.fragile, [this](auto& stored) { return helper_->getFragileParameters(stored); },
        [this](const auto& record) { helper_->updateFragileParameters(record); });
  }
  if (wanted.fallingAtom) {
    store(
        *wanted.fallingAtom, [this](auto& stored) { return helper_->getFallingAtomParameters(stored); },
        [this](const auto& record) { helper_->updateFallingAtomParameters(record); });
  }
  setStates(shown().states, wanted.states);
}

// What the tables hold of the model.
Description OpenModel::shown() {
  Description description;
  description.category = helper_->destructibleType();
  helper_->getStructureAchievementTag(description.achievementTag);
  std::set<std::string> names;  // which the helper cannot list
  for (const auto& [name, kind] : helper_->getMaterialNames()) names.insert(name);
  for (const Description* const known : {&file_, &mine_})
    for (const auto& [name, module] : known->modules) names.insert(name);
  for (const std::string& name : names) {
    KsDestructibleModuleDesc module;
    // One that a save drops may be in the tables all the same.
    const bool isToShow = mine_.modules.contains(name) || !droppedNames_.contains(name);
    if (isToShow && helper_->getDestructibleModule(name, module)) description.modules.emplace(name, module);
  }
  const std::vector<std::string> states = helper_->getStateNames();
  for (auto state = states.begin() + 1; state != states.end() - 1; ++state)  // without the built-in ones
    description.states.emplace(*state, helper_->getMaterialsForState(*state));
  KsDestructibleFragileDesc fragile;
  if (helper_->getFragileParameters(fragile)) description.fragile = fragile;
  KsDestructibleFallingAtomDesc fallingAtom;
  if (helper_->getFallingAtomParameters(fallingAtom)) description.fallingAtom = fallingAtom;
  return ofItsCategory(std::move(description));
}

void OpenModel::setCategory(KsDestructibleType category) {
  if (helper_->destructibleType() == category) return;
  switch (category) {
    case DT_STRUCTURE:
      return helper_->setAsStructure();
    case DT_FRAGILE:
      return helper_->setAsFragile();
    case DT_FALLING_ATOMS:
      return helper_->setAsFallingAtoms();
    case DT_NON_DESTRUCTIBLE:
      return helper_->setAsNonDestructible(/*force=*/true);
  }
}

void OpenModel::setStates(const Description::States& current, const Description::States& wanted) {
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

}  // namespace Tal::authoring
