#pragma once

#include <core/string_ref.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <resources/data_section.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// How a load takes what an entry of the database holds, with what is read for a key that is absent. Main
/// thread only; nothing here is exported by the module's shared library.
namespace Tal::load_rules {

/// The record of a name, made if it lacks. Many files are sorted, and every name the last so far.
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

/// Reads one entry from a section of a category. `places` says where: its members fragile(), fallingAtom(),
/// achievementTag(), modules() and states() give the records, which are made when they are asked for. So what
/// a later entry of a model holds replaces what an earlier one did, and the rest of that stays.
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

}  // namespace Tal::load_rules
