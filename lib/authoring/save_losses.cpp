#include <authoring/database_entries.h>
#include <authoring/record_table.h>
#include <authoring/save_losses.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <destructibles/load_rules.h>
#include <destructibles/save_rules.h>
#include <resources/data_section.h>
#include <resources/number_text.h>

#include <algorithm>
#include <map>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
namespace tags = database_format::tags;
using save_rules::Fate;

constexpr std::size_t kMostLines = 20;

/// A list of an entry that is written anew.
struct List {
  const char* section;
  const char* kind;
  const char* nameKey;
  std::vector<std::string> keys;  ///< what a load takes from an element, the name included
};

class Losses {
 public:
  void add(std::string line) {
    if (++count_ <= kMostLines) lines_.push_back(std::move(line));
  }

  std::vector<std::string> lines() && {
    if (count_ > kMostLines)
      lines_.push_back("and " + std::to_string(count_ - kMostLines) + " more that the save does not keep");
    return std::move(lines_);
  }

 private:
  std::size_t count_ = 0;
  std::vector<std::string> lines_;
};

// A text that is not the number it has to be is read as the default, which the save writes.
void noteNumbers(const DataSection& record, const std::string& owner, Losses& losses) {
  const std::string health = record.readString(keys::kHealth);
  if (!health.empty() && !parseInt(health))
    losses.add("the health " + quotedName(health) + owner + " is no whole number and is not kept");
  const std::string scale = record.readString(keys::kEffectScale);
  if (!scale.empty() && !parseFloat(scale))
    losses.add("the effectScale " + quotedName(scale) + owner + " is no number and is not kept");
}

void noteUnknownKeys(const DataSection& element, const std::vector<std::string>& known,
                     const std::string& owner, Losses& losses) {
  for (const SmartPointer<DataSection>& child : element) {
    const std::string key(child->tag());
    if (std::find(known.begin(), known.end(), key) != known.end()) continue;
    const std::string value = child->value();
    losses.add("the key " + quotedName(key) + (value.empty() ? "" : " (" + quotedName(value) + ')') + owner +
               " is not kept");
  }
}

void noteElement(const DataSection& element, const List& list, const std::string& name, Losses& losses) {
  const std::string owner = " of " + std::string(list.kind) + ' ' + quotedName(name);
  noteUnknownKeys(element, list.keys, owner, losses);
  noteNumbers(element, owner, losses);
}

void noteList(DataSection& entry, const List& list, Losses& losses) {
  const SmartPointer<DataSection> section = entry.openSection(list.section);
  if (!section) return;
  std::map<std::string, int> seen;
  for (const SmartPointer<DataSection>& element : *section) {
    const std::string name = element->readString(list.nameKey);
    if (name.empty()) {
      losses.add("a " + std::string(list.kind) + " without a \"" + list.nameKey + "\" is not kept");
      continue;
    }
    if (++seen[name] == 2) {
      losses.add("of several elements of " + std::string(list.kind) + ' ' + quotedName(name) +
                 " only the last is taken");
    }
    noteElement(*element, list, name, losses);
  }
}

void noteLists(DataSection& entry, Losses& losses) {
  std::vector<std::string> moduleKeys = keysOf<KsDestructibleModuleDesc>();
  moduleKeys.emplace_back(keys::kMaterialName);
  noteList(entry, {tags::kModules, tags::kModule, keys::kMaterialName, std::move(moduleKeys)}, losses);
  noteList(entry,
           {tags::kStates, tags::kState, keys::kStateName, {keys::kStateName, keys::kDestroyedMaterials}},
           losses);
}

// What a load takes from an entry of a category.
std::vector<std::string> keysOfEntry(KsDestructibleType category) {
  std::vector<std::string> known = {keys::kAchievementTag, tags::kModules, tags::kStates};
  if (category == DT_FRAGILE) known = keysOf<KsDestructibleFragileDesc>();
  if (category == DT_FALLING_ATOMS) known = keysOf<KsDestructibleFallingAtomDesc>();
  known.emplace_back(keys::kFileName);
  return known;
}

std::vector<std::string> lossesOfRemoval(DataSection& entry, KsDestructibleType category,
                                         BasicStringRef section) {
  const std::string owner = " of the entry in " + quotedName(section);
  Losses losses;
  noteUnknownKeys(entry, keysOfEntry(category), owner, losses);
  if (category == DT_STRUCTURE) {
    noteLists(entry, losses);
  } else {
    noteNumbers(entry, owner, losses);
  }
  return std::move(losses).lines();
}

// The entry of a model that a save rewrites; null when there is none.
SmartPointer<DataSection> ownEntry(const DataSection& root, const std::string& modelName,
                                   KsDestructibleType category) {
  const std::vector<load_rules::Entry> entries = load_rules::entriesOf(root, modelName);
  const std::vector<Fate> fates = save_rules::fatesOf(entries, modelName, category);
  const auto own = std::ranges::find(fates, Fate::rewritten);
  return own == fates.end() ? nullptr : entries[static_cast<std::size_t>(own - fates.begin())].entry;
}

// What a section that has the model's <filename> itself holds beside that and entries of the model. Keys of
// the model's that stand there are in no entry: nobody would learn what they held.
std::string foreignIn(const DataSection& section, const std::string& modelName) {
  for (const SmartPointer<DataSection>& child : section) {
    const std::string model = modelOf(*child);
    const bool isEmpty = child->childCount() == 0 && child->value().empty();
    const bool isName = child->tag() == keys::kFileName && child->value() == modelName;
    if (model == modelName || isEmpty || isName) continue;
    if (!model.empty()) return "the entry of " + quotedName(model);
    return "the <" + shownName(child->tag()) + ">, which is in no entry,";
  }
  return section.value().empty() ? "" : "the text in it";
}

}  // namespace

std::map<std::string, std::string> droppedModules(const KsDestructiblesHelper& helper,
                                                  const Description::Modules& modules) {
  std::map<std::string, std::string> dropped;
  const auto choice =
      save_rules::chooseModules(modules, helper.bspMaterialNames(), helper.getMaterialNames());
  for (const auto& [name, module] : choice.dropped) {
    dropped.emplace(name, module.isOfBspMaterial
                              ? "its material kind " + std::to_string(module.kind) + " is that of module " +
                                    quotedName(module.before) + "; give the materials different kinds"
                              : "the model has no BSP material of that name; import it with one");
  }
  return dropped;
}

std::vector<std::string> lossesOfSave(const DataSection& database, const std::string& modelName,
                                      KsDestructibleType category) {
  Losses losses;
  const SmartPointer<DataSection> entry = ownEntry(database, modelName, category);
  if (entry && category == DT_STRUCTURE) {
    noteLists(*entry, losses);
  } else if (entry) {
    noteNumbers(*entry, "", losses);
  }
  return std::move(losses).lines();
}

int countInOwnEntry(const DataSection& database, const std::string& modelName, KsDestructibleType category,
                    BasicStringRef key) {
  const SmartPointer<DataSection> entry = ownEntry(database, modelName, category);
  int count = 0;
  for (int place = 0; entry && place < entry->childCount(); ++place)
    count += entry->child(place)->tag() == key ? 1 : 0;
  return count;
}

std::vector<LostEntry> entriesLostBySave(const DataSection& database, const std::string& modelName,
                                         KsDestructibleType category) {
  const std::vector<load_rules::Entry> entries = load_rules::entriesOf(database, modelName);
  const std::vector<Fate> fates = save_rules::fatesOf(entries, modelName, category);
  std::vector<LostEntry> lost;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (fates[i] == Fate::kept) continue;
    const load_rules::Entry& entry = entries[i];
    lost.push_back({entry.category, valuesOf(entry.category, *entry.entry), {}});
    if (fates[i] == Fate::removed)
      lost.back().losses = lossesOfRemoval(*entry.entry, entry.category, entry.section->tag());
  }
  return lost;
}

std::vector<RemovedSection> sectionsRemovedBySave(const DataSection& database, const std::string& modelName) {
  std::vector<RemovedSection> removed;
  if (!load_rules::entryIndex(database)->namesOfSections.contains(modelName)) return removed;
  for (int place = database.findChildWith(keys::kFileName, modelName); place != -1;
       place = database.findChildWith(keys::kFileName, modelName, place + 1)) {
    const SmartPointer<DataSection> section = database.child(place);
    removed.push_back({std::string(section->tag()), foreignIn(*section, modelName)});
  }
  return removed;
}

}  // namespace Tal::authoring
