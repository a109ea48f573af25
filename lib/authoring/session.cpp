#include <authoring/catalogue.h>
#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <authoring/gone_model.h>
#include <authoring/open_model.h>
#include <authoring/outcome.h>
#include <authoring/save_losses.h>
#include <authoring/session.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <destructibles/database_format.h>
#include <destructibles/look_rules.h>
#include <model/super_model.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>

#include <optional>
#include <utility>

namespace Tal::authoring {
namespace {

// Neither the roots nor an entry of the database has it.
Fault unknownModel(const std::string& modelName) {
  const std::string what = "the resource roots hold no model " + quotedName(modelName);
  const auto database = openDatabase();
  // What it has of the model is unknown then.
  if (!database) return database.fault();
  const std::vector<RemovedSection> sections = sectionsRemovedBySave(**database, modelName);
  if (!sections.empty()) {
    std::vector<std::string> tags;
    tags.reserve(sections.size());
    for (const RemovedSection& section : sections) tags.push_back(section.tag);
    const bool isOne = tags.size() == 1;
    return {FaultKind::missing,
            what + "; in " + database_format::kDatabaseFile + " only the section" + (isOne ? " " : "s ") +
                someNames(tags) + (isOne ? " itself has" : " themselves have") +
                " that <filename>, which makes no entry",
            "take it out of the file"};
  }
  if (modelName.ends_with(".gltf") || modelName.ends_with(".glb"))
    return {FaultKind::missing, what, "import that file, and name the model (\"....model\") that this makes"};
  const std::vector<std::string> names = knownModels();
  if (names.empty())
    return {FaultKind::missing, what + " and no other", "check the roots, or import a model"};
  return {FaultKind::missing, what + nameSuggestion(modelName, names), ""};
}

// A fault when the roots cannot supply a model of this name.
Result<void> checkModel(const std::string& modelName) {
  if (const std::optional<GoneModel> gone = readGoneModel(modelName))
    return Fault{FaultKind::missing, gone->reason, ""};
  const std::string model = "the model name " + quotedName(modelName);
  const auto place = FS::fileSystem()->find(modelName);
  const bool isMissing = !place && place.fault().kind == FaultKind::missing;
  if (const auto spelled = checkSpelling(modelName); !spelled && !isMissing)
    return refused(model + ' ' + spelled.fault().what, spelled.fault().remedy);
  if (place) return {};
  if (!isMissing) return refused(model + ' ' + place.fault().what, "put the model's files below a root");
  return unknownModel(modelName);
}

Fault unreadVisual(const std::string& modelName) {
  return {FaultKind::system, "the visual of " + quotedName(modelName) + " cannot be read",
          "mend that and try again"};
}

}  // namespace

Result<std::unique_ptr<Session>> Session::open(const std::string& modelName) {
  if (FS::fileSystem() == nullptr) return refused("no resource roots are set up", "set some first");
  auto pin = DataSectionCache::pin(database_format::kDatabaseFile);
  if (auto checked = checkModel(modelName); !checked) return std::move(checked).fault();
  if (OpenModel::isOpen(modelName)) {
    return refused("the model " + quotedName(modelName) + " is open already in this program",
                   "use that session or close it first");
  }
  if (const auto database = openDatabase(); !database) return database.fault();
  auto superModel = SuperModel::load(modelName);
  if (!superModel) return std::move(superModel).fault();
  auto model = std::make_unique<OpenModel>(modelName, *std::move(superModel));
  if (const Result<void>& reading = model->reading(); !reading) return reading.fault();
  if (!model->isWhole()) return unreadVisual(modelName);
  pin.reset();
  model->refresh();  // what another program has saved meanwhile
  std::unique_ptr<Session> session(new Session(std::move(model)));
  OpenModel::followAll();
  return session;
}

Session::Session(std::unique_ptr<OpenModel> model) : model_(std::move(model)) {}

Session::~Session() = default;

KsDestructiblesHelper& Session::helper() const noexcept {
  return model_->helper();
}

const std::string& Session::modelName() const {
  return helper().modelName();
}

KsDestructibleType Session::category() const {
  return model_->mine().category;
}

KsDestructibleType Session::suggestedCategory() const {
  return helper().calculateType();
}

Description Session::description() {
  return model_->description();
}

std::vector<std::string> Session::sections() const {
  std::vector<std::string> sections;
  if (const auto file = readEntries(modelName())) {
    for (const EntryPlace& place : file->entries) sections.push_back(place.section);
  }
  return sections;
}

bool Session::isMissingInDatabase() {
  // The helper's mark stays when a reload finds the entry in the file, and goes when a save has failed.
  return category() != DT_NON_DESTRUCTIBLE && model_->file().category != category();
}

bool Session::hasUnsavedEdits() {
  return model_->isEdited();
}

const std::vector<Conflict>& Session::conflicts() const {
  return model_->conflicts();
}

std::vector<Material> Session::materials() const {
  return materialsOf(helper());
}

std::vector<MaterialWarning> Session::materialWarnings() const {
  return materialWarningsOf(helper());
}

std::vector<ValueWarning> Session::valueWarnings() {
  return valueWarningsOf(helper(), model_->description());
}

std::vector<std::string> Session::namesLacking() const {
  return authoring::namesLacking(helper(), model_->description());
}

const std::vector<std::string>& Session::hardPoints() const {
  return helper().getHardpointNames();
}

const std::set<std::string>& Session::bspMaterials() const {
  return helper().bspMaterialNames();
}

std::vector<std::string> Session::stateNames() {
  std::vector<std::string> names = {database_format::kUndamagedState};
  for (const auto& [name, materials] : model_->mine().states) names.push_back(name);
  names.emplace_back(database_format::kDestroyedState);
  return names;
}

std::vector<std::string> Session::materialsForState(const std::string& state) {
  const std::map<std::string, unsigned>& materials = helper().getMaterialNames();
  if (state == database_format::kUndamagedState)
    return look_rules::materialsOf(materials, look_rules::Look::undamaged, category());
  if (state == database_format::kDestroyedState)
    return look_rules::materialsOf(materials, look_rules::Look::destroyed, category());
  const Description::States& states = model_->mine().states;
  const auto named = states.find(state);
  return named != states.end() ? named->second : std::vector<std::string>();
}

std::vector<std::pair<std::string, std::vector<std::string>>> Session::states() {
  std::vector<std::pair<std::string, std::vector<std::string>>> states;
  for (std::string& name : stateNames()) {
    std::vector<std::string> materials = materialsForState(name);
    states.emplace_back(std::move(name), std::move(materials));
  }
  return states;
}

const std::string& Session::shownState() const {
  return helper().getDestructibleState();
}

Result<HealthExplanation> Session::explainHealth() {
  model_->settle();
  HealthExplanation explanation = authoring::explainHealth(helper(), category());
  const int health = helper().calculateDestructibleHealth();  // logs what the module has to say
  OpenModel::followAll();
  if (explanation.isSizeUncertain || health != explanation.health) return unreadVisual(modelName());
  return explanation;
}

ks::Connection Session::connectEdited(std::function<void()> slot) const {
  return model_->connectEdited(std::move(slot));
}

ks::Connection Session::connectReloaded(std::function<void()> slot) const {
  return model_->connectReloaded(std::move(slot));
}

}  // namespace Tal::authoring
