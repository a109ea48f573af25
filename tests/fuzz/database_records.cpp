#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/test_access.h>
#include <fuzz/database_records.h>
#include <fuzz/element_bytes.h>
#include <fuzz/fuzz_support.h>
#include <fuzz/kept_bytes.h>
#include <fuzz/section_model.h>

#include <bit>
#include <cstdint>
#include <sstream>

namespace fuzz {
namespace {

using Access = Tal::KsDestructiblesHelperTestAccess;
using Tal::DataSection;
using Tal::SmartPointer;

constexpr char kSeparator = '\0';  // no value of a file holds it

/// Puts the values of a record together.
class RecordText {
 public:
  RecordText& operator<<(const std::string& value) {
    text_ += "[" + value + "]";
    return *this;
  }
  RecordText& operator<<(int value) { return *this << std::to_string(value); }
  RecordText& operator<<(float value) { return *this << std::to_string(std::bit_cast<std::uint32_t>(value)); }

  operator std::string() const { return text_; }

 private:
  std::string text_;
};

std::string keyOf(const std::string& table, const std::string& model) {
  return table + kSeparator + model;
}

std::string textOf(const Tal::KsDestructibleModuleDesc& desc) {
  return RecordText() << desc.health << desc.effectScale << desc.effectHP << desc.ramEffect << desc.hitEffect
                      << desc.decayEffect;
}

std::string textOf(const Tal::KsDestructibleFragileDesc& desc) {
  return RecordText() << desc.health << desc.effectScale << desc.effectHP << desc.achievementTag
                      << desc.matName << desc.effect << desc.hitEffect << desc.decayEffect
                      << desc.lifetimeEffect;
}

std::string textOf(const Tal::KsDestructibleFallingAtomDesc& desc) {
  return RecordText() << desc.health << desc.effectScale << desc.physicParams << desc.achievementTag
                      << desc.lifetimeEffect << desc.fractureEffect << desc.touchdownEffect
                      << desc.touchdownBreakEffect;
}

std::string fragileOf(const DataSection& entry) {
  return RecordText() << entry.readInt("health", 5) << entry.readFloat("effectScale", 1)
                      << entry.readString("effectHP") << entry.readString("achievementTag")
                      << entry.readString("matName") << entry.readString("effect", "none")
                      << entry.readString("hitEffect") << entry.readString("decayEffect", "none")
                      << entry.readString("lifetimeEffect", "none");
}

std::string fallingAtomOf(const DataSection& entry) {
  return RecordText() << entry.readInt("health", 20) << entry.readFloat("effectScale", 1)
                      << entry.readString("physicParams", "200 3.2 0.03 150000 10000 0 0.05")
                      << entry.readString("achievementTag") << entry.readString("lifetimeEffect", "none")
                      << entry.readString("fractureEffect") << entry.readString("touchdownEffect")
                      << entry.readString("touchdownBreakEffect");
}

std::string moduleOf(const DataSection& module) {
  return RecordText() << module.readInt("health", 80) << module.readFloat("effectScale", 1)
                      << module.readString("effectHP") << module.readString("ramEffect", "none")
                      << module.readString("hitEffect") << module.readString("decayEffect", "none");
}

void addStructure(const std::string& model, DataSection& entry, Records& records) {
  if (const SmartPointer<DataSection> modules = entry.openSection("modules")) {
    std::erase_if(records, [&](const auto& record) {
      return record.first.starts_with(keyOf("module", model) + kSeparator);
    });
    records[keyOf("modules", model)] = "";
    for (const SmartPointer<DataSection>& module : *modules) {
      const std::string name = module->readString("matName");
      if (!name.empty()) records[keyOf("module", model) + kSeparator + name] = moduleOf(*module);
    }
  }
  if (const SmartPointer<DataSection> states = entry.openSection("states")) {
    std::erase_if(records, [&](const auto& record) {
      return record.first.starts_with(keyOf("state", model) + kSeparator);
    });
    records[keyOf("states", model)] = "";
    for (const SmartPointer<DataSection>& state : *states) {
      const std::string name = state->readString("name");
      if (name.empty()) continue;
      RecordText materials;
      std::istringstream words(state->readString("destroyedMaterials"));
      for (std::string word; std::getline(words, word, ' ');)
        if (!trimmed(word).empty()) materials << std::string(trimmed(word));
      records[keyOf("state", model) + kSeparator + name] = materials;
    }
  }
}

bool isOfModel(const std::string& key, std::string_view model) {
  const std::string_view rest = std::string_view(key).substr(key.find(kSeparator) + 1);
  return rest.substr(0, rest.find(kSeparator)) == model;
}

}  // namespace

Records recordsOfTables(Tag tag) {
  const auto written = [tag](auto desc) {
    if (tag == Tag::asWritten && desc.achievementTag == "none") desc.achievementTag.clear();
    return textOf(desc);
  };
  Records records;
  for (const auto& [model, desc] : Access::fragiles()) records[keyOf("fragile", model)] = written(desc);
  for (const auto& [model, desc] : Access::fallingAtoms())
    records[keyOf("fallingAtom", model)] = written(desc);
  for (const auto& [model, modules] : Access::modules()) {
    records[keyOf("modules", model)] = "";
    for (const auto& [name, desc] : modules)
      records[keyOf("module", model) + kSeparator + name] = textOf(desc);
  }
  for (const auto& [model, record] : Access::states()) {
    records[keyOf("states", model)] = "";
    for (const auto& [name, materials] : record.states) {
      RecordText text;
      for (const std::string& material : materials)
        if (!trimmed(material).empty()) text << std::string(trimmed(material));
      records[keyOf("state", model) + kSeparator + name] = text;
    }
  }
  return records;
}

Records recordsOfDatabase(const DataSection& root) {
  Records records;
  for (const SmartPointer<DataSection>& category : root) {
    if (category->tag() == "trees") continue;
    for (const SmartPointer<DataSection>& entry : *category) {
      const std::string model = entry->readString("filename");
      if (category->tag() == "fragiles") {
        records[keyOf("fragile", model)] = fragileOf(*entry);
      } else if (category->tag() == "fallingAtoms") {
        records[keyOf("fallingAtom", model)] = fallingAtomOf(*entry);
      } else {
        addStructure(model, *entry, records);
      }
    }
  }
  return records;
}

Records recordsOfModel(const Records& records, std::string_view model) {
  Records found = records;
  std::erase_if(found, [model](const auto& record) { return !isOfModel(record.first, model); });
  return found;
}

Records recordsOfOthers(const Records& records, std::string_view model) {
  Records found = records;
  std::erase_if(found, [model](const auto& record) { return isOfModel(record.first, model); });
  return found;
}

std::string textOf(const Records& records) {
  std::string text;
  for (const auto& [key, record] : records) text.append(key).append(": ").append(record) += '\n';
  return text;
}

std::vector<std::string> otherEntries(const std::string& bytes, const DataSection& root,
                                      std::string_view model) {
  const ElementBytes elements(textOf(bytes));
  std::vector<std::string> entries;
  for (int i = 0; i < root.childCount(); ++i) {
    const SmartPointer<DataSection> category = root.child(i);
    for (int j = 0; j < category->childCount(); ++j) {
      const bool isKept = category->tag() == "trees" || category->child(j)->readString("filename") != model;
      if (!isKept) continue;
      const ElementBytes::Path path = {static_cast<std::size_t>(i), static_cast<std::size_t>(j)};
      entries.emplace_back(elements.bytesOf(elements.at(path)));
    }
  }
  return entries;
}

}  // namespace fuzz
