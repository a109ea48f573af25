#include <authoring/database_entries.h>
#include <destructibles/database_format.h>
#include <destructibles/load_rules.h>
#include <destructibles/unwritten_database.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/save_group.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
namespace tags = database_format::tags;

void noteEntry(KsDestructibleType sectionCategory, DataSection& entry, Description& description) {
  struct Places {
    Description& description;

    auto& fragile() { return description.fragile.emplace(); }
    auto& fallingAtom() { return description.fallingAtom.emplace(); }
    auto& achievementTag() { return description.achievementTag; }
    auto& modules() { return description.modules; }
    auto& states() { return description.states; }
  };
  load_rules::readEntry(sectionCategory, entry, Places{description});
}

}  // namespace

Result<SmartPointer<DataSection>> openDatabase() {
  if (FS::fileSystem() == nullptr)
    return Fault{FaultKind::missing, "no resource roots are set up", "set some first"};
  auto database = FS::Utils::openResource(database_format::kDatabaseFile);
  if (database || database.fault().kind != FaultKind::missing) return database;
  return Fault{FaultKind::missing,
               std::string("the resource roots hold no ") + database_format::kDatabaseFile,
               "make an empty one with \"destructibles init\""};
}

Result<void> editDatabase(
    const std::function<Result<void>(const SmartPointer<DataSection>& database)>& edit) {
  UnwrittenDatabase unwritten;
  SaveGroup saves;
  const auto database = openDatabase();
  if (!database) return database.fault();
  const std::uint64_t before = (*database)->contentStamp();
  Result<void> edited;
  try {
    edited = edit(*database);
  } catch (...) {
    unwritten.setEdited(true);  // by half perhaps
    throw;
  }
  unwritten.setEdited((*database)->contentStamp() != before);
  if (edited) edited = saves.commit();
  if (edited) unwritten.setEdited(false);
  return edited;
}

FileBefore fileBefore(const DataSection& database) {
  return {database_format::kDatabaseFile, std::make_shared<const std::string>(database.bytes())};
}

std::string modelOf(const DataSection& entry) {
  return entry.readString(keys::kFileName);
}

void CategoryMarks::note(KsDestructibleType sectionCategory, DataSection& entry) {
  if (sectionCategory == DT_FRAGILE) {
    isFragile = true;
  } else if (sectionCategory == DT_FALLING_ATOMS) {
    isFallingAtom = true;
  } else if (sectionCategory == DT_STRUCTURE) {
    hasModules = hasModules || entry.openSection(tags::kModules);
  }
}

KsDestructibleType CategoryMarks::category(BasicStringRef modelName) const noexcept {
  return load_rules::categoryOf(modelName, hasModules, isFragile, isFallingAtom);
}

Description valuesOf(KsDestructibleType sectionCategory, DataSection& entry) {
  Description description;
  description.category = sectionCategory;
  noteEntry(sectionCategory, entry, description);
  return description;
}

FileEntries entriesIn(const DataSection& database, const std::string& modelName) {
  FileEntries file;
  CategoryMarks marks;
  for (const load_rules::Entry& entry : load_rules::entriesOf(database, modelName)) {
    marks.note(entry.category, *entry.entry);
    noteEntry(entry.category, *entry.entry, file.description);
    const SmartPointer<DataSection> states = entry.entry->findChild(tags::kStates);
    file.entries.push_back(
        {std::string(entry.section->tag()), entry.isFirst, states && states->childCount() > 0});
  }
  file.description.category = marks.category(modelName);
  return file;
}

Result<FileEntries> readEntries(const std::string& modelName) {
  const auto database = openDatabase();
  if (!database) return database.fault();
  return entriesIn(**database, modelName);
}

}  // namespace Tal::authoring
