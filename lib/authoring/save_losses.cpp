#include <authoring/database_entries.h>
#include <authoring/record_table.h>
#include <authoring/save_losses.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <resources/data_section.h>
#include <resources/number_text.h>

#include <algorithm>
#include <map>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
namespace tags = database_format::tags;

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

void noteElement(const DataSection& element, const List& list, const std::string& name, Losses& losses) {
  const std::string owner = " of " + std::string(list.kind) + ' ' + quotedName(name);
  for (const SmartPointer<DataSection>& child : element) {
    const std::string key(child->tag());
    if (std::find(list.keys.begin(), list.keys.end(), key) == list.keys.end())
      losses.add("the key " + quotedName(key) + owner + " is not kept");
  }
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
                 " the last is kept");
    }
    noteElement(*element, list, name, losses);
  }
}

SmartPointer<DataSection> entryIn(const DataSection& section, const std::string& modelName) {
  const int place = section.findChildWith(keys::kFileName, modelName);
  return place != -1 ? section.child(place) : nullptr;
}

// The one that a save rewrites: the first of the last section of the tag that has any.
SmartPointer<DataSection> ownEntry(const std::string& modelName, BasicStringRef ownSection) {
  SmartPointer<DataSection> own;
  const SmartPointer<DataSection> root = openDatabase();
  if (!root) return own;
  for (const SmartPointer<DataSection>& section : *root) {
    if (section->tag() != ownSection) continue;
    if (SmartPointer<DataSection> entry = entryIn(*section, modelName)) own = std::move(entry);
  }
  return own;
}

std::string otherModelIn(const DataSection& section, const std::string& modelName) {
  for (const SmartPointer<DataSection>& entry : section) {
    std::string model = modelOf(*entry);
    if (!model.empty() && model != modelName) return model;
  }
  return {};
}

}  // namespace

std::vector<std::string> lossesOfSave(const std::string& modelName, KsDestructibleType category) {
  const SmartPointer<DataSection> entry = ownEntry(modelName, database_format::sectionOfCategory(category));
  Losses losses;
  if (entry && category == DT_STRUCTURE) {
    std::vector<std::string> moduleKeys = keysOf<KsDestructibleModuleDesc>();
    moduleKeys.emplace_back(keys::kMaterialName);
    noteList(*entry, {tags::kModules, tags::kModule, keys::kMaterialName, std::move(moduleKeys)}, losses);
    noteList(*entry,
             {tags::kStates, tags::kState, keys::kStateName, {keys::kStateName, keys::kDestroyedMaterials}},
             losses);
  } else if (entry) {
    noteNumbers(*entry, "", losses);
  }
  return std::move(losses).lines();
}

std::vector<RemovedSection> sectionsRemovedBySave(const std::string& modelName) {
  std::vector<RemovedSection> removed;
  const SmartPointer<DataSection> root = openDatabase();
  if (!root) return removed;
  for (int place = root->findChildWith(keys::kFileName, modelName); place != -1;
       place = root->findChildWith(keys::kFileName, modelName, place + 1)) {
    const SmartPointer<DataSection> section = root->child(place);
    removed.push_back({std::string(section->tag()), otherModelIn(*section, modelName)});
  }
  return removed;
}

}  // namespace Tal::authoring
