#pragma once

#include <core/string_ref.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <resources/data_section.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// How a load reads a document: its entries, their records, and the defaults of absent keys. Functions of a
/// document, without shared state: usable on any thread, a document on one at a time. Nothing here is
/// exported by the module's shared library.
namespace Tal::load_rules {

/// @name Entries
/// @{

/// Calls `visit` for every section that a load reads, in order, with its category, the section, and its index
/// among the children of the root.
template <class Visit>
void forEachSection(const DataSection& root, const Visit& visit) {
  for (int place = 0; place < root.childCount(); ++place) {
    const SmartPointer<DataSection> section = root.child(place);
    const KsDestructibleType category = database_format::categoryOfSection(section->tag());
    if (category != DT_NON_DESTRUCTIBLE) visit(category, section, place);
  }
}

/// The position of an entry.
struct EntryPlace {
  int section;  ///< among the children of the root
  int entry;    ///< among those of the section
};

/// One entry of a model.
struct Entry {
  KsDestructibleType category;  ///< of its section
  EntryPlace place;
  bool isFirst;  ///< of the model's entries in that section
  SmartPointer<DataSection> section;
  SmartPointer<DataSection> entry;
};

/// The positions of each model's entries in the sections that a load reads. Entries without a "filename"
/// belong to the empty name. Valid for the document as it was when the index was made.
struct EntryIndex {
  struct Row {
    std::size_t nameHash;  ///< of the model's name
    EntryPlace place;
  };
  std::vector<Row> rows;  ///< by hash, then in the order of the document
  /// The "filename" of each child of the root itself, which only entries should have; empty for none.
  std::set<std::string> namesOfSections;
};

/// The index of a document, cached until its content changes; never null. Main thread
/// only.
std::shared_ptr<const EntryIndex> entryIndex(const DataSection& root);

/// The entries of a model, in the order of the document.
std::vector<Entry> entriesOf(const DataSection& root, const EntryIndex& index, const std::string& model);

/// The same by the cached index. Main thread only.
std::vector<Entry> entriesOf(const DataSection& root, const std::string& model);

/// The same without an index, by looking at every entry: for a single query.
std::vector<Entry> findEntries(const DataSection& root, const std::string& model);

/// The category of a model by the sections that list it; none for a variant.
constexpr KsDestructibleType categoryOf(BasicStringRef model, bool hasModules, bool isFragile,
                                        bool isFallingAtom) noexcept {
  if (database_format::isVariantName(model)) return DT_NON_DESTRUCTIBLE;
  if (hasModules) return DT_STRUCTURE;
  if (isFragile) return DT_FRAGILE;
  return isFallingAtom ? DT_FALLING_ATOMS : DT_NON_DESTRUCTIBLE;
}

/// @}
/// @name Records
/// @{

/// The record of a name, made if it is missing. Many files are sorted, so that each name is the last so far.
template <class Record>
Record& recordOf(std::map<std::string, Record>& table, std::string name) {
  return table.try_emplace(table.end(), std::move(name))->second;
}

// The defaults of the reads differ on purpose from those of the records.

inline void readRecord(const DataSection& entry, KsDestructibleFragileDesc& desc) {
  namespace keys = database_format::keys;
  desc.health = entry.readInt(keys::kHealth, 5);
  desc.effect = entry.readString(keys::kEffect, UNDEFINED_EFFECT, 0);
  desc.hitEffect = entry.readString(keys::kHitEffect, "", 0);
  desc.effectHP = entry.readString(keys::kEffectHardPoint, "", 0);
  desc.effectScale = entry.readFloat(keys::kEffectScale, 1.0F);
  desc.decayEffect = entry.readString(keys::kDecayEffect, UNDEFINED_EFFECT, 0);
  desc.matName = entry.readString(keys::kMaterialName, "", 0);
  desc.lifetimeEffect = entry.readString(keys::kLifetimeEffect, UNDEFINED_EFFECT, 0);
  desc.achievementTag = entry.readString(keys::kAchievementTag, "", 0);
}

inline void readRecord(const DataSection& entry, KsDestructibleFallingAtomDesc& desc) {
  namespace keys = database_format::keys;
  desc.health = entry.readInt(keys::kHealth, 20);
  desc.physicParams = entry.readString(keys::kPhysicParams, "200 3.2 0.03 150000 10000 0 0.05", 0);
  desc.lifetimeEffect = entry.readString(keys::kLifetimeEffect, UNDEFINED_EFFECT, 0);
  desc.fractureEffect = entry.readString(keys::kFractureEffect, "", 0);
  desc.touchdownEffect = entry.readString(keys::kTouchdownEffect, "", 0);
  desc.touchdownBreakEffect = entry.readString(keys::kTouchdownBreakEffect, "", 0);
  desc.effectScale = entry.readFloat(keys::kEffectScale, 1.0F);
  desc.achievementTag = entry.readString(keys::kAchievementTag, "", 0);
}

inline void readRecord(const DataSection& module, KsDestructibleModuleDesc& desc) {
  namespace keys = database_format::keys;
  desc.health = module.readInt(keys::kHealth, 80);
  desc.effectScale = module.readFloat(keys::kEffectScale, 1.0F);
  desc.effectHP = module.readString(keys::kEffectHardPoint, "", 0);
  desc.ramEffect = module.readString(keys::kRamEffect, UNDEFINED_EFFECT, 0);
  desc.hitEffect = module.readString(keys::kHitEffect, "", 0);
  desc.decayEffect = module.readString(keys::kDecayEffect, UNDEFINED_EFFECT, 0);
}

/// The modules of a "modules" section, by material name; those without one are dropped.
inline std::map<std::string, KsDestructibleModuleDesc> readModules(const DataSection& modules) {
  std::map<std::string, KsDestructibleModuleDesc> table;
  for (const SmartPointer<DataSection>& module : modules) {
    std::string name = module->readString(database_format::keys::kMaterialName, "", 0);
    if (!name.empty()) readRecord(*module, recordOf(table, std::move(name)));
  }
  return table;
}

inline std::vector<std::string> splitAtSpaces(BasicStringRef text) {
  std::vector<std::string> tokens;
  for (auto begin = text.find_first_not_of(' '); begin != BasicStringRef::npos;) {
    const auto end = std::min(text.find(' ', begin), text.size());
    tokens.emplace_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(' ', end);
  }
  return tokens;
}

/// The states of a "states" section with their materials; those without a name are dropped.
inline std::map<std::string, std::vector<std::string>> readStates(const DataSection& states) {
  std::map<std::string, std::vector<std::string>> table;
  for (const SmartPointer<DataSection>& state : states) {
    std::string name = state->readString(database_format::keys::kStateName, "", 0);
    const std::string materials = state->readString(database_format::keys::kDestroyedMaterials, "", 0);
    if (!name.empty()) table[std::move(name)] = splitAtSpaces(materials);
  }
  return table;
}

/// Reads one entry of a category into `places`, whose members fragile(), fallingAtom(), achievementTag(),
/// modules() and states() return the records to fill. So a later entry of a model replaces what it shares
/// with an earlier one.
template <class Places>
void readEntry(KsDestructibleType category, DataSection& entry, Places&& places) {
  namespace tags = database_format::tags;
  if (category == DT_FRAGILE) return readRecord(entry, places.fragile());
  if (category == DT_FALLING_ATOMS) return readRecord(entry, places.fallingAtom());
  places.achievementTag() = entry.readString(database_format::keys::kAchievementTag, "", 0);
  if (const auto modules = entry.openSection(tags::kModules, false, nullptr))
    places.modules() = readModules(*modules);
  if (const auto states = entry.openSection(tags::kStates, false, nullptr))
    places.states() = readStates(*states);
}

/// @}

}  // namespace Tal::load_rules
