#include <core/white_space.h>
#include <destructibles/ks_destructibles_helper/loaded_tables.h>
#include <destructibles/model_saving.h>

#include <utility>

namespace Tal {
namespace {

template <class Entry>
std::optional<Entry> entryOf(const std::map<std::string, Entry>& table, const std::string& model) {
  const auto found = table.find(model);
  return found != table.end() ? std::optional<Entry>(found->second) : std::nullopt;
}

template <class Entry>
void putBack(std::map<std::string, Entry>& table, const std::string& model, std::optional<Entry>& entry) {
  if (entry) {
    table.insert_or_assign(model, *std::move(entry));
  } else {
    table.erase(model);
  }
}

}  // namespace

std::map<std::string, KsDestructiblesHelper::DestrStates_t> KsDestructiblesHelper::s_destrStateMap;
std::map<std::string, KsDestructiblesHelper::ModuleTable> KsDestructiblesHelper::s_destrModuleMap;
std::map<std::string, KsDestructibleFragileDesc> KsDestructiblesHelper::s_destrFragileMap;
std::map<std::string, KsDestructibleFallingAtomDesc> KsDestructiblesHelper::s_destrFallingAtomMap;
bool KsDestructiblesHelper::s_hasLoadedDestrXml = false;
KsDestructiblesHelper::LastLoad_t KsDestructiblesHelper::s_lastLoad;

// To be called before the model's entries in the tables are edited. No edit fails because of it: without the
// memory for a copy the next load reads everything.
void KsDestructiblesHelper::rememberLoadedEntries() const noexcept {
  if (s_lastLoad.contentStamp == 0 || s_lastLoad.edited.contains(modelName_)) return;
  try {
    s_lastLoad.edited.emplace(modelName_, LastLoad_t::Entries_t{entryOf(s_destrStateMap, modelName_),
                                                                entryOf(s_destrModuleMap, modelName_),
                                                                entryOf(s_destrFragileMap, modelName_),
                                                                entryOf(s_destrFallingAtomMap, modelName_)});
  } catch (...) {
    s_lastLoad.contentStamp = 0;
    s_lastLoad.savedStamp = 0;
    s_lastLoad.edited.clear();
  }
}

void ModelSaving::note(const std::vector<KsDestructiblesHelper*>& helpers, std::uint64_t stampBefore,
                       std::uint64_t stampNow) {
  auto& last = KsDestructiblesHelper::s_lastLoad;
  bool isKnown = stampBefore != 0 && stampBefore == last.contentStamp;
  std::vector<std::string> models;
  for (KsDestructiblesHelper* const helper : helpers) {
    helper->isMissingInDestructiblesXml_ = false;
    last.stillMissing.erase(helper);
    // A name with white space around it is read back as another.
    isKnown = isKnown && trimmed(helper->modelName()) == helper->modelName();
    models.push_back(helper->modelName());
  }
  last.savedModels = std::move(models);
  last.savedStamp = isKnown ? stampNow : 0;
}

KsDestructiblesHelper::Tables_t KsDestructiblesHelper::takeTables() {
  Tables_t taken{std::exchange(s_destrStateMap, {}), std::exchange(s_destrModuleMap, {}),
                 std::exchange(s_destrFragileMap, {}), std::exchange(s_destrFallingAtomMap, {}),
                 std::move(s_lastLoad)};
  s_lastLoad = {};  // std::exchange would be exported with that type
  return taken;
}

// Makes the tables what the load that filled them had made of them. When that fails, they are left as they
// are, empty.
void KsDestructiblesHelper::restoreLoaded(Tables_t tables) {
  for (auto& [model, entries] : tables.lastLoad.edited) {
    putBack(tables.states, model, entries.states);
    putBack(tables.modules, model, entries.modules);
    putBack(tables.fragiles, model, entries.fragile);
    putBack(tables.fallingAtoms, model, entries.fallingAtom);
  }
  tables.lastLoad.edited.clear();
  tables.lastLoad.stillMissing.clear();
  s_destrStateMap.swap(tables.states);
  s_destrModuleMap.swap(tables.modules);
  s_destrFragileMap.swap(tables.fragiles);
  s_destrFallingAtomMap.swap(tables.fallingAtoms);
  s_lastLoad = std::move(tables.lastLoad);
}

}  // namespace Tal
