#include <authoring/database_entries.h>
#include <destructibles/database_format.h>
#include <destructibles/load_rules.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

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

Fault faultOfFailedSave() {
  return {FaultKind::system,
          "the save of " + std::string(database_format::kDatabaseFile) +
              " failed, for the reason in the message before this one",
          "when it is mended, do the same again"};
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
  if (database_format::isVariantName(modelName)) return DT_NON_DESTRUCTIBLE;
  if (hasModules) return DT_STRUCTURE;
  if (isFragile) return DT_FRAGILE;
  return isFallingAtom ? DT_FALLING_ATOMS : DT_NON_DESTRUCTIBLE;
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
  for (const SmartPointer<DataSection> section : database) {
    const KsDestructibleType category = database_format::categoryOfSection(section->tag());
    if (category == DT_NON_DESTRUCTIBLE) continue;
    bool isFirst = true;
    for (int place = section->findChildWith(keys::kFileName, modelName); place != -1;
         place = section->findChildWith(keys::kFileName, modelName, place + 1)) {
      const SmartPointer<DataSection> entry = section->child(place);
      marks.note(category, *entry);
      noteEntry(category, *entry, file.description);
      const SmartPointer<DataSection> states = entry->findChild(tags::kStates);
      file.entries.push_back(
          {std::string(section->tag()), std::exchange(isFirst, false), states && states->childCount() > 0});
    }
  }
  file.description.category = marks.category(modelName);
  return file;
}

std::optional<FileEntries> readEntries(const std::string& modelName) {
  const SmartPointer<DataSection> root = openDatabase();
  return root ? std::optional(entriesIn(*root, modelName)) : std::nullopt;
}

}  // namespace Tal::authoring
