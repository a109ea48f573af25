#include <authoring/category.h>
#include <authoring/database_entries.h>
#include <destructibles/ks_destructibles_helper/fixed_names.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <utility>

namespace Tal::authoring {
namespace {

std::map<std::string, std::string> readHardPoints(const DataSection& modules) {
  std::map<std::string, std::string> hardPoints;
  for (const SmartPointer<DataSection> module : modules) {
    std::string name = module->readString("matName");
    if (!name.empty()) hardPoints[std::move(name)] = module->readString("effectHP");
  }
  return hardPoints;
}

// As a load takes it: what a later entry has replaces what an earlier one had.
void noteStructure(FileEntries& entries, DataSection& entry) {
  entries.achievementTag = entry.readString("achievementTag");
  if (const auto modules = entry.openSection("modules")) entries.hardPoints = readHardPoints(*modules);
}

}  // namespace

SmartPointer<DataSection> openDatabase() {
  return FS::Utils::openSection(fixed_names::kDestructiblesXml, false, nullptr);
}

SectionKind sectionKind(BasicStringRef tag) noexcept {
  if (tag == fixed_names::kTreesSection) return SectionKind::ignored;
  if (tag == fixed_names::kFragilesSection) return SectionKind::fragiles;
  return tag == fixed_names::kFallingAtomsSection ? SectionKind::fallingAtoms : SectionKind::structures;
}

std::string modelOf(const DataSection& entry) {
  return entry.readString("filename");
}

BasicStringRef sectionTag(KsDestructibleType category) noexcept {
  switch (category) {
    case DT_STRUCTURE:
      return fixed_names::kStructuresSection;
    case DT_FRAGILE:
      return fixed_names::kFragilesSection;
    case DT_FALLING_ATOMS:
      return fixed_names::kFallingAtomsSection;
    case DT_NON_DESTRUCTIBLE:
      break;
  }
  return {};
}

void CategoryMarks::note(SectionKind kind, DataSection& entry) {
  if (kind == SectionKind::fragiles) {
    isFragile = true;
  } else if (kind == SectionKind::fallingAtoms) {
    isFallingAtom = true;
  } else if (kind == SectionKind::structures) {
    hasModules = hasModules || entry.openSection("modules");
  }
}

KsDestructibleType CategoryMarks::category(BasicStringRef modelName) const noexcept {
  if (isVariantName(modelName)) return DT_NON_DESTRUCTIBLE;
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
    const SectionKind kind = sectionKind(section->tag());
    if (kind == SectionKind::ignored) continue;
    bool isFirst = true;
    for (const SmartPointer<DataSection> entry : *section) {
      if (modelOf(*entry) != modelName) continue;
      marks.note(kind, *entry);
      entries.entries.push_back({std::string(section->tag()), std::exchange(isFirst, false)});
      if (kind == SectionKind::structures) noteStructure(entries, *entry);
    }
  }
  entries.category = marks.category(modelName);
  return entries;
}

}  // namespace Tal::authoring
