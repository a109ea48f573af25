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

SmartPointer<DataSection> openDatabase() {
  return FS::Utils::openSection(database_format::kDatabaseFile, false, nullptr);
}

Result<void> editDatabase(
    const std::function<Result<void>(const SmartPointer<DataSection>& database)>& edit) {
  UnwrittenDatabase unwritten;
  SaveGroup saves;
  const SmartPointer<DataSection> database = openDatabase();
  const std::uint64_t before = database ? database->contentStamp() : 0;
  Result<void> edited;
  try {
    edited = edit(database);
  } catch (...) {
    unwritten.setEdited(true);  // by half perhaps
    throw;
  }
  unwritten.setEdited(database && database->contentStamp() != before);
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

std::optional<FileEntries> readEntries(const std::string& modelName) {
  const SmartPointer<DataSection> root = openDatabase();
  return root ? std::optional(entriesIn(*root, modelName)) : std::nullopt;
}

}  // namespace Tal::authoring
