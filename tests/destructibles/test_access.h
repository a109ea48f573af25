#pragma once

#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/ks_destructibles_helper/loaded_tables.h>
#include <resources/data_section.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Tal {

/// Opens the private members of the helper to its tests.
struct KsDestructiblesHelperTestAccess {
  using Helper = KsDestructiblesHelper;
  using States = Helper::DestrStates_t;
  using Modules = std::map<std::string, KsDestructibleModuleDesc>;
  using Action = ResourceModificationListener::Action;

  // The class-wide tables. Whoever takes one to change it makes the next load read everything.
  static std::map<std::string, States>& stateMap() {
    forgetLastLoad();
    return Helper::s_destrStateMap;
  }
  static std::map<std::string, Modules>& moduleMap() {
    forgetLastLoad();
    return Helper::s_destrModuleMap;
  }
  static std::map<std::string, KsDestructibleFragileDesc>& fragileMap() {
    forgetLastLoad();
    return Helper::s_destrFragileMap;
  }
  static std::map<std::string, KsDestructibleFallingAtomDesc>& fallingAtomMap() {
    forgetLastLoad();
    return Helper::s_destrFallingAtomMap;
  }
  static const std::map<std::string, States>& states() { return Helper::s_destrStateMap; }
  static const std::map<std::string, Modules>& modules() { return Helper::s_destrModuleMap; }
  static const std::map<std::string, KsDestructibleFragileDesc>& fragiles() {
    return Helper::s_destrFragileMap;
  }
  static const std::map<std::string, KsDestructibleFallingAtomDesc>& fallingAtoms() {
    return Helper::s_destrFallingAtomMap;
  }
  // What belongs to helpers and not to the load stays.
  static void forgetLastLoad() {
    auto stillMissing = std::move(Helper::s_lastLoad.stillMissing);
    Helper::s_lastLoad = {};
    Helper::s_lastLoad.stillMissing = std::move(stillMissing);
  }
  static bool knowsLastLoad() { return Helper::s_lastLoad.contentStamp != 0; }
  static std::uint64_t loadedStamp() { return Helper::s_lastLoad.contentStamp; }
  static std::uint64_t savedStamp() { return Helper::s_lastLoad.savedStamp; }
  static bool& hasLoaded() { return Helper::s_hasLoadedDestrXml; }
  static bool tablesAreEmpty() {
    return stateMap().empty() && moduleMap().empty() && fragileMap().empty() && fallingAtomMap().empty();
  }
  static void clearTables() {
    stateMap().clear();
    moduleMap().clear();
    fragileMap().clear();
    fallingAtomMap().clear();
    hasLoaded() = false;
  }

  // The helper's members.
  static std::string& structureAchievementTag(Helper& helper) { return helper.structureAchievementTag_; }
  static KsDestructibleType& type(Helper& helper) { return helper.destructibleType_; }
  static bool& isMissing(Helper& helper) { return helper.isMissingInDestructiblesXml_; }
  static std::vector<std::string>& hardpoints(Helper& helper) { return helper.hardpointNames_; }
  static std::map<unsigned, std::vector<unsigned>>& dependencies(Helper& helper) {
    return helper.materialDependencies_;
  }

  // The helper's operations.
  static void onResourceModified(Helper& helper, const BasicStringRef& resourceName,
                                 const BasicStringRef& basePath = "/root", Action action = Action::modified) {
    helper.onResourceModified(basePath, resourceName, action);
  }
  static void setMissingModules(Helper& helper) { helper.setMissingModules(); }
  static void setMissingFragile(Helper& helper) { helper.setMissingFragile(); }
  static void setMissingFallingAtom(Helper& helper) { helper.setMissingFallingAtom(); }
  static bool checkForExistence(Helper& helper) { return helper.checkForExistence(); }
  static std::string categoryName(Helper& helper) { return helper.getCategoryName(); }
  static bool checkTagForEmpty(Helper& helper, const std::string& tag) {
    return helper.checkTagForEmpty(tag);
  }
  static void deleteDuplicate(Helper& helper, SmartPointer<DataSection>& section, int firstIndex) {
    helper.deleteDuplicate(section, firstIndex);
  }
};

}  // namespace Tal
