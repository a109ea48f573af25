#include <authoring/catalogue.h>
#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <authoring/gone_model.h>
#include <authoring/open_model.h>
#include <authoring/save_losses.h>
#include <authoring/thrown_away.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <destructibles/load_rules.h>
#include <model/gltf_import.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/save_group.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tal::authoring {
namespace {

using database_format::kDatabaseFile;

/// Why a model is gone and what to do.
struct Absence {
  std::string reason;
  bool hasModelFile = false;
};

constexpr const char* kRenaming = "give the entries the <filename> of another model";
constexpr const char* kRemoval = ", or convert it to none, which removes ";

Absence ofMisspelt(const std::string& modelName) {
  return {"the model name " + quotedName(modelName) + ' ' + checkSpelling(modelName).fault().what +
          ", so the entries that " + kDatabaseFile +
          " has under it are no model's; use another name, or convert this one to none, which removes them"};
}

Absence withoutFile(const FS::MultiFileSystem& files, const std::string& modelName) {
  std::string reason = "the resource roots hold no model " + quotedName(modelName) + ", only " +
                       kDatabaseFile + " has entries of it";
  const auto place = files.find(modelName);
  const bool isInTheWay = !place && place.fault().kind != FaultKind::missing;
  if (const auto checked = checkImportedName(modelName); !checked) {
    reason += ", and none can be imported, since that " + checked.fault().what + "; " + kRenaming;
  } else if (isInTheWay) {
    reason +=
        ", and what stands in its place " + place.fault().what + "; take that away and import the model";
  } else {
    reason += "; import the model first";
  }
  return {reason + kRemoval + "them"};
}

// A file that cannot be read says nothing of its visual.
std::optional<Absence> withoutVisual(const FS::MultiFileSystem& files, const std::string& modelName) {
  if (!files.find(modelName)) return std::nullopt;
  const SmartPointer<DataSection> model = FS::Utils::openSection(modelName, false, nullptr);
  if (!model) return std::nullopt;
  const std::string visual = model->readString("visual");
  if (!files.holdNoFile(visual)) return std::nullopt;
  const std::string lack = visual.empty()
                               ? " names no visual"
                               : " names the visual " + quotedName(visual) + ", which no resource root holds";
  const auto canImport = static_cast<bool>(checkImportedName(modelName));
  return Absence{"the model " + quotedName(modelName) + lack + "; " +
                     (canImport ? "import the model again (--force)" : kRenaming) + kRemoval +
                     "its entries from " + kDatabaseFile,
                 true};
}

// What the resource roots have in its place may be the model, if it cannot be looked at.
std::optional<Absence> absenceOf(const std::string& modelName) {
  const FS::MultiFileSystem* const files = FS::fileSystem();
  if (files == nullptr || modelName.empty()) return std::nullopt;
  if (!canNameModel(modelName)) return ofMisspelt(modelName);
  if (files->holdNoFile(modelName)) return withoutFile(*files, modelName);
  return withoutVisual(*files, modelName);
}

std::optional<GoneModel> readFrom(const DataSection& database, const std::string& modelName) {
  FileEntries file = entriesIn(database, modelName);
  if (file.entries.empty()) return std::nullopt;
  std::optional<Absence> absence = absenceOf(modelName);
  if (!absence) return std::nullopt;
  GoneModel gone{modelName,
                 std::move(absence->reason),
                 absence->hasModelFile,
                 ofItsCategory(std::move(file.description)),
                 {}};
  for (EntryPlace& place : file.entries) gone.sections.push_back(std::move(place.section));
  return gone;
}

std::vector<std::string> warningsOf(const DataSection& database, const std::string& modelName) {
  std::vector<std::string> warnings;
  for (const RemovedSection& section : sectionsRemovedBySave(database, modelName)) {
    warnings.push_back("the section " + quotedName(section.tag) + " has the <filename> " +
                       quotedName(modelName) + " itself and stays as it is; take that <filename> out of " +
                       kDatabaseFile);
  }
  return warnings;
}

// Takes the entries out of the document.
Result<void> removeFrom(const DataSection& database, const std::string& modelName, Removal& removal) {
  std::optional<GoneModel> gone = readFrom(database, modelName);
  if (!gone) {
    return refused(quotedName(modelName) + " is no model that is gone and has entries in " + kDatabaseFile +
                       ", so nothing was removed",
                   "if there is such a model, open and convert it");
  }
  removal.removed = *std::move(gone);
  const Description& description = removal.removed.description;
  if (description.category != DT_NON_DESTRUCTIBLE) {
    removal.outcome.changes.push_back({"category", std::string(categoryName(description.category)),
                                       std::string(categoryName(DT_NON_DESTRUCTIBLE))});
  }
  removal.outcome.change = {modelName, description, {}, {fileBefore(database)}};
  removal.outcome.warnings = warningsOf(database, modelName);
  const RestoreTarget target = targetOfGone(modelName, entriesIn(database, modelName).description);
  std::ranges::move(linesOfSave(database, DT_NON_DESTRUCTIBLE, target),
                    std::back_inserter(removal.outcome.warnings));
  for (const load_rules::Entry& entry : load_rules::entriesOf(database, modelName)) {
    entry.section->removeChild(entry.entry);
    entry.section->save();
  }
  return {};
}

}  // namespace

std::optional<GoneModel> readGoneModel(const std::string& modelName) {
  if (modelName.empty()) return std::nullopt;
  const auto database = openDatabase();
  return database ? readFrom(**database, modelName) : std::nullopt;
}

Result<Removal> removeGoneModel(const std::string& modelName) {
  if (SaveGroup::isAnyOpen())
    return refused("the program has a group of saves open, so nothing was removed", "close that first");
  if (OpenModel::isOpen(modelName)) {
    return refused("the model " + quotedName(modelName) + " is open in this program",
                   "convert it there, or close it first");
  }
  // What another program saves is taken over before, or waits until this is saved.
  const auto lock = SaveLock::acquire(kDatabaseFile);
  if (!lock) return lock.fault();
  Removal removal;
  auto written = editDatabase(
      [&](const SmartPointer<DataSection>& database) { return removeFrom(*database, modelName, removal); });
  if (!written) return std::move(written).fault();
  return removal;
}

}  // namespace Tal::authoring
