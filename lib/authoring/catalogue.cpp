#include <authoring/catalogue.h>
#include <authoring/database_entries.h>
#include <authoring/outcome.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <destructibles/load_rules.h>
#include <model/model_names.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/resource_name.h>

#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace Tal::authoring {
namespace {

namespace fs = std::filesystem;

// Empty, with a message, when that cannot be told.
std::optional<bool> isModelFile(const std::string& model) {
  const FS::MultiFileSystem* const files = FS::fileSystem();
  if (files == nullptr || !canNameModel(model)) return false;
  const auto place = files->find(model);
  if (place) return true;
  if (place.fault().kind == FaultKind::missing || files->holdNoFile(model)) return false;
  FS::reportRefused(model, place.fault());
  return std::nullopt;
}

std::map<std::string, CategoryMarks> gatherMarks(const DataSection& root) {
  std::map<std::string, CategoryMarks> marks;
  load_rules::forEachSection(
      root, [&marks](KsDestructibleType category, const SmartPointer<DataSection>& section, int) {
        for (const SmartPointer<DataSection>& entry : *section) {
          std::string model = modelOf(*entry);
          if (!model.empty()) marks[std::move(model)].note(category, *entry);
        }
      });
  return marks;
}

// Folders that cannot be read are passed over: the names serve as suggestions.
void collectModelFiles(const fs::path& root, std::set<std::string>& names) {
  std::error_code error;
  fs::recursive_directory_iterator position(root, fs::directory_options::skip_permission_denied, error);
  const fs::recursive_directory_iterator end;
  while (!error && position != end) {
    const fs::path& path = position->path();
    if (path.extension() == model_names::kModelExtension && position->is_regular_file(error))
      names.insert(path.lexically_relative(root).generic_string());
    position.increment(error);
  }
}

std::set<std::string> modelFileSet() {
  std::set<std::string> names;
  const FS::MultiFileSystem* const files = FS::fileSystem();
  if (files == nullptr) return names;
  for (const fs::path& root : files->roots()) collectModelFiles(root, names);
  return names;
}

}  // namespace

Result<void> checkSpelling(const std::string& modelName) {
  if (auto checked = FS::MultiFileSystem::checkName(modelName); !checked)
    return refused(checked.fault().what, "give a name below the resource roots");
  // The database compares names byte by byte: two spellings would be two models.
  const std::string spelled = normalisedName(modelName);
  if (spelled == modelName) return {};
  return refused("is spelled " + quotedName(spelled) + " in the database", "use that name");
}

bool canNameModel(const std::string& modelName) {
  return static_cast<bool>(checkSpelling(modelName));
}

Result<std::vector<CatalogueEntry>> readCatalogue() {
  const auto database = openDatabase();
  if (!database) return database.fault();
  std::vector<CatalogueEntry> catalogue;
  for (const auto& [model, marks] : gatherMarks(**database))
    catalogue.push_back({model, marks.category(model), isModelFile(model)});
  return catalogue;
}

std::vector<std::string> modelFiles() {
  const std::set<std::string> names = modelFileSet();
  return {names.begin(), names.end()};
}

std::vector<std::string> knownModels() {
  std::set<std::string> names = modelFileSet();
  if (const auto database = openDatabase()) {
    for (const auto& [model, marks] : gatherMarks(**database)) names.insert(model);
  }
  return {names.begin(), names.end()};
}

}  // namespace Tal::authoring
