#include <authoring/database_entries.h>
#include <destructibles/database_format.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
namespace tags = database_format::tags;

std::map<std::string, std::string> readHardPoints(const DataSection& modules) {
  std::map<std::string, std::string> hardPoints;
  for (const SmartPointer<DataSection> module : modules) {
    std::string name = module->readString(keys::kMaterialName);
    if (!name.empty()) hardPoints[std::move(name)] = module->readString(keys::kEffectHardPoint);
  }
  return hardPoints;
}

// As a load takes it: what a later entry has replaces what an earlier one had.
void noteStructure(FileEntries& entries, DataSection& entry) {
  entries.achievementTag = entry.readString(keys::kAchievementTag);
  if (const auto modules = entry.openSection(tags::kModules)) entries.hardPoints = readHardPoints(*modules);
}

}  // namespace

SmartPointer<DataSection> openDatabase() {
  return FS::Utils::openSection(database_format::kDatabaseFile, false, nullptr);
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

std::optional<FileEntries> readEntries(const std::string& modelName) {
  const SmartPointer<DataSection> root = openDatabase();
  if (!root) return std::nullopt;
  FileEntries entries;
  CategoryMarks marks;
  for (const SmartPointer<DataSection> section : *root) {
    const KsDestructibleType category = database_format::categoryOfSection(section->tag());
    if (category == DT_NON_DESTRUCTIBLE) continue;
    bool isFirst = true;
    for (int place = section->findChildWith(keys::kFileName, modelName); place != -1;
         place = section->findChildWith(keys::kFileName, modelName, place + 1)) {
      const SmartPointer<DataSection> entry = section->child(place);
      marks.note(category, *entry);
      entries.entries.push_back({std::string(section->tag()), std::exchange(isFirst, false)});
      if (category == DT_STRUCTURE) noteStructure(entries, *entry);
    }
  }
  entries.category = marks.category(modelName);
  return entries;
}

}  // namespace Tal::authoring
