// A destructibles database, a model and edits of its settings: every record is read as the file says; a save
// writes the model's record as it was set and leaves all other records and entries as they were.
// The input is the database, and behind the line "#fuzz edits" the choices of the model and of the edits.

#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/test_access.h>
#include <fuzz/database_records.h>
#include <fuzz/fuzz_support.h>
#include <fuzz/section_model.h>
#include <fuzz/xml_mutation.h>
#include <model/ks_material_disabler.h>
#include <resources/data_section_cache.h>
#include <support/model_builder.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using fuzz::Choices;
using fuzz::Records;
using fuzz::require;
using fuzz::requireEqual;
using fuzz::Root;
using fuzz::textOf;
using Tal::DataSection;
using Tal::KsDestructiblesHelper;
using Tal::SmartPointer;
using Access = Tal::KsDestructiblesHelperTestAccess;

constexpr char kDatabase[] = "scripts/destructibles.xml";
constexpr int kMostEdits = 12;

const support::ModelParts& parts() {
  static const support::ModelParts parts{
      .materials = {{"n_wall_0", 73}, {"n_roof_1", 74}, {"d_wall_0", 87}, {"d_roof_1", 88}, {"s_base", 0}},
      .bsp = {"n_wall_0", "n_roof_1", "s_base"},
      .nodes = {"HP_0", "HP_1"}};
  return parts;
}

std::string fileNow() {
  return Root::instance().read(kDatabase);
}

/// The database read anew, in the plainest way.
SmartPointer<DataSection> openAnew() {
  Tal::DataSectionCache::clear();
  return Tal::FS::Utils::openSection(kDatabase, false, nullptr);
}

/// The edits of one model's settings, as choices say.
class Editor {
 public:
  /// `records` are what the file says.
  Editor(KsDestructiblesHelper& helper, Choices& choices, const Records& records)
      : helper_(helper), choices_(choices), records_(records) {}

  void editAnything() {
    switch (choices_.below(10)) {
      case 0:
        return helper_.setAsStructure();
      case 1:
        return helper_.setAsFragile();
      case 2:
        return helper_.setAsFallingAtoms();
      case 3:
        return helper_.setAsNonDestructible(choices_.below(2) == 0);
      case 4:
        return editStates();
      case 5:
        helper_.updateStructureAchievementTag(text());
        return;
      case 6:
        return reload();
      default:
        return editRecord();
    }
  }

  /// Whether every value that was set is one that a file can hold.
  bool isHarmless() const noexcept { return isHarmless_; }

 private:
  void reload() {
    if (helper_.loadConfig(choices_.below(2) == 0))
      requireEqual(textOf(fuzz::recordsOfTables()), textOf(records_), "a load drops what was edited");
  }

  std::string text() {
    std::string text(fuzz::trimmed(choices_.text()));
    isHarmless_ &= std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return text;
  }

  float scale() {
    const auto value = std::bit_cast<float>(choices_.number());
    isHarmless_ &= std::isfinite(value);
    return value;
  }

  int health() { return static_cast<int>(choices_.number()) >> choices_.below(32); }

  std::string material() {
    const std::size_t place = choices_.below(parts().materials.size() + 1);
    if (place < parts().materials.size()) return parts().materials[place].identifier;
    std::string name = text();
    std::erase_if(name, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
    return name.empty() ? "gone" : name;
  }

  void editStates() {
    std::string name = text();
    if (name.empty()) name = "ruined";
    const std::string used = material();
    helper_.addDestructibleState(name);
    helper_.addMaterialToDestrState(name, used);
    if (choices_.below(4) == 0) helper_.delMaterialFromDestrState(name, used);
    if (choices_.below(4) == 0) helper_.delDestructibleState(name);
    helper_.setDestructibleState(name);
  }

  void editRecord() {
    Tal::KsDestructibleFragileDesc fragile;
    Tal::KsDestructibleFallingAtomDesc atom;
    if (helper_.getFragileParameters(fragile)) {
      editFragile(fragile);
    } else if (helper_.getFallingAtomParameters(atom)) {
      editFallingAtom(atom);
    } else if (helper_.destructibleType() == Tal::DT_STRUCTURE) {
      editModule();
    }
  }

  void editFragile(Tal::KsDestructibleFragileDesc& desc) {
    std::string* const texts[] = {&desc.effectHP,  &desc.achievementTag, &desc.matName,       &desc.effect,
                                  &desc.hitEffect, &desc.decayEffect,    &desc.lifetimeEffect};
    *texts[choices_.below(std::size(texts))] = text();
    desc.health = health();
    desc.effectScale = scale();
    helper_.updateFragileParameters(desc);
  }

  void editFallingAtom(Tal::KsDestructibleFallingAtomDesc& desc) {
    std::string* const texts[] = {&desc.physicParams,   &desc.achievementTag,  &desc.lifetimeEffect,
                                  &desc.fractureEffect, &desc.touchdownEffect, &desc.touchdownBreakEffect};
    *texts[choices_.below(std::size(texts))] = text();
    desc.health = health();
    desc.effectScale = scale();
    helper_.updateFallingAtomParameters(desc);
  }

  void editModule() {
    const std::string name = material();
    Tal::KsDestructibleModuleDesc desc;
    helper_.getDestructibleModule(name, desc);
    std::string* const texts[] = {&desc.effectHP, &desc.ramEffect, &desc.hitEffect, &desc.decayEffect};
    *texts[choices_.below(std::size(texts))] = text();
    desc.health = health();
    desc.effectScale = scale();
    helper_.updateDestructibleModule(name, desc, choices_.below(4) == 0);
  }

  KsDestructiblesHelper& helper_;
  Choices& choices_;
  const Records& records_;
  bool isHarmless_ = true;
};

/// A database and one of its models.
class Database {
 public:
  Database(std::string bytes, const DataSection& root)
      : bytes_(std::move(bytes)), records_(fuzz::recordsOfDatabase(root)) {}

  const std::string& bytes() const noexcept { return bytes_; }
  const Records& records() const noexcept { return records_; }

  /// A model of the database, or a new one.
  std::string anyModel(Choices& choices) const {
    static const std::vector<std::string> kNew = {"content/gatesandfences/new.model",
                                                  "content/lod1/new.model", "content/new.model"};
    std::vector<std::string> names;
    for (const auto& [key, record] : records_) {
      const std::string rest = key.substr(key.find('\0') + 1);
      names.push_back(rest.substr(0, rest.find('\0')));
    }
    names.insert(names.end(), kNew.begin(), kNew.end());
    return names[choices.below(std::min<std::size_t>(names.size(), 256))];
  }

 private:
  std::string bytes_;
  Records records_;
};

/// Whether a save takes a whole category for an entry of the model, as it is to do.
bool isCategoryTaken(const DataSection& root, const std::string& model) {
  for (const SmartPointer<DataSection>& category : root)
    if (category->readString("filename") == model) return true;
  return false;
}

/// Whether an entry holds what a save is to keep although the tables do not: beside the states what is none,
/// and behind a key that is removed the same key once more.
bool isOddEntry(DataSection& entry) {
  for (const std::string key : {"achievementTag", "hitEffect", "matName"}) {
    int count = 0;
    for (const SmartPointer<DataSection>& value : entry) count += value->tag() == key ? 1 : 0;
    if (count > 1) return true;
  }
  const SmartPointer<DataSection> states = entry.openSection("states");
  for (int i = 0; states && i < states->childCount(); ++i)
    if (states->child(i)->tag() != "state") return true;
  return false;
}

bool hasOddEntry(const DataSection& root, const std::string& model) {
  for (const SmartPointer<DataSection>& category : root)
    for (const SmartPointer<DataSection>& entry : *category)
      if (entry->readString("filename") == model && isOddEntry(*entry)) return true;
  return false;
}

/// The records of a structure as its save writes them: without the modules that the model does not have.
Records asWritten(Records records, Tal::KsDestructibleType type) {
  std::erase_if(records, [type](const auto& record) {
    const std::string table = record.first.substr(0, record.first.find('\0'));
    if (type == Tal::DT_FRAGILE) return table != "fragile";
    if (type == Tal::DT_FALLING_ATOMS) return table != "fallingAtom";
    if (table == "fragile" || table == "fallingAtom") return true;
    if (table != "module") return false;
    // The name of an edited module may hold a 0 itself.
    const std::size_t model = table.size() + 1;
    const std::string material = record.first.substr(record.first.find('\0', model) + 1);
    return std::find(parts().bsp.begin(), parts().bsp.end(), material) == parts().bsp.end();
  });
  return records;
}

void requireOthersKept(const Database& database, const std::string& model,
                       const std::vector<std::string>& entriesBefore) {
  const SmartPointer<DataSection> root = openAnew();
  require(root.get() != nullptr, "a database that was saved can be read");
  const Records records = fuzz::recordsOfDatabase(*root);
  requireEqual(textOf(fuzz::recordsOfOthers(records, model)),
               textOf(fuzz::recordsOfOthers(database.records(), model)), "a save keeps all other records");
  require(fuzz::otherEntries(fileNow(), *root, model) == entriesBefore,
          "a save keeps the bytes of all other entries");
}

bool hasTable(const Records& records, const std::string& table) {
  return std::any_of(records.begin(), records.end(),
                     [&](const auto& record) { return record.first.starts_with(table + '\0'); });
}

/// Takes out what a save leaves in the entry as it was: states without a table, and modules without one that
/// holds any.
void dropUnwritten(Records& records, const Records& wanted) {
  std::erase_if(records, [&wanted](const auto& record) {
    const std::string& key = record.first;
    if (key.starts_with("state")) return !hasTable(wanted, "states");
    return key.starts_with("module") && !hasTable(wanted, "module");
  });
}

void requireSaved(KsDestructiblesHelper& helper, const Records& wanted) {
  Records saved = fuzz::recordsOfModel(fuzz::recordsOfTables(), helper.modelName());
  Records expected = asWritten(wanted, helper.destructibleType());
  dropUnwritten(saved, wanted);
  dropUnwritten(expected, wanted);
  requireEqual(textOf(saved), textOf(expected), "a saved record is what was set");
}

void requireTablesAreOfFile() {
  const SmartPointer<DataSection> root = openAnew();
  require(root.get() != nullptr, "a database that was saved can be read");
  requireEqual(textOf(fuzz::recordsOfTables()), textOf(fuzz::recordsOfDatabase(*root)),
               "after a save the tables are what the file says");
}

void requireSameWhenSavedAgain(KsDestructiblesHelper& helper, const std::string& tag) {
  const std::string once = fileNow();
  helper.updateStructureAchievementTag(tag);
  require(helper.saveConfig(), "a model can be saved twice");
  requireEqual(fileNow(), once, "saving twice equals saving once");
}

void saveAndCheck(KsDestructiblesHelper& helper, const Database& database, bool isHarmless, Choices& choices,
                  fuzz::Messages& messages) {
  const std::string model = helper.modelName();
  const SmartPointer<DataSection> root = openAnew();
  const bool isTaken = isCategoryTaken(*root, model);
  const bool isOdd = hasOddEntry(*root, model);
  const std::vector<std::string> others = fuzz::otherEntries(database.bytes(), *root, model);
  Tal::DataSectionCache::clear();
  const bool hasCategory = helper.destructibleType() != Tal::DT_NON_DESTRUCTIBLE;
  std::string tag;
  helper.getStructureAchievementTag(tag);
  const Records before = fuzz::recordsOfTables();
  const Records wanted = fuzz::recordsOfTables(fuzz::Tag::asWritten);
  messages.clear();
  const bool isSaved = helper.saveConfig();
  require(!isSaved || hasCategory, "a model of no category is not saved");
  if (hasCategory && !isSaved) {
    require(!isHarmless, "values that a file can hold are saved");
    require(messages.criticalCount() == 1, "a save that fails says why");
    requireEqual(fileNow(), database.bytes(), "a save that fails leaves the file as it was");
    requireEqual(textOf(fuzz::recordsOfTables()), textOf(before), "a save that fails keeps the edits");
    return;
  }
  if (isSaved) requireTablesAreOfFile();
  if (isTaken) return;
  requireOthersKept(database, model, others);
  if (!isSaved) {
    require(fuzz::recordsOfModel(fuzz::recordsOfDatabase(*openAnew()), model).empty(),
            "a model of no category leaves the file");
    return;
  }
  if (isOdd || isCategoryTaken(*openAnew(), model)) return;
  const Records ofModel = fuzz::recordsOfModel(wanted, model);
  requireSaved(helper, ofModel);
  const Records saved = fuzz::recordsOfModel(fuzz::recordsOfTables(), model);
  const bool isSavedWhole = hasTable(ofModel, "states") == hasTable(saved, "states") &&
                            hasTable(ofModel, "module") == hasTable(saved, "module");
  if (!isSavedWhole) {  // what the save left as it was is in the tables now, and a second save writes it anew
    helper.updateStructureAchievementTag(tag);
    require(helper.saveConfig(), "a model can be saved twice");
  }
  requireSameWhenSavedAgain(helper, tag);
  if (choices.areLeft()) require(helper.loadConfig(true), "a saved database can be loaded");
}

void editAndSave(const Database& database, Choices choices, fuzz::Messages& messages) {
  const std::string model = database.anyModel(choices);
  if (model.empty()) return;  // every section without a name would be the model's
  const std::unique_ptr<Tal::SuperModel> superModel = support::buildModel(parts());
  Tal::KsMaterialDisabler disabler(superModel.get());
  KsDestructiblesHelper helper(superModel.get(), model, &disabler);
  fuzz::note("the model " + model + " in\n" + database.bytes());
  Editor editor(helper, choices, database.records());
  for (int i = 0; i < kMostEdits && choices.areLeft(); ++i) editor.editAnything();
  requireEqual(fileNow(), database.bytes(), "edits do not touch the file");
  saveAndCheck(helper, database, editor.isHarmless(), choices, messages);
}

/// A database that cannot be read is loaded not even in part, and never saved over.
void requireRefused(const std::string& bytes) {
  require(fuzz::recordsOfTables().empty(), "a database that is refused leaves the tables empty");
  const std::unique_ptr<Tal::SuperModel> superModel = support::buildModel(parts());
  Tal::KsMaterialDisabler disabler(superModel.get());
  KsDestructiblesHelper helper(superModel.get(), "content/new.model", &disabler);
  helper.setAsFragile();
  require(!helper.saveConfig(), "a database that is refused is not saved");
  requireEqual(fileNow(), bytes, "a database that is refused is not touched");
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return fuzz::mutateXml(data, size, maxSize, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Messages messages;
  const fuzz::Input input(std::string_view(reinterpret_cast<const char*>(data), size));
  const std::string bytes = fuzz::storedXml(input);
  Access::clearTables();
  Root::instance().write(kDatabase, bytes);
  const SmartPointer<DataSection> root = openAnew();
  fuzz::note(bytes);
  {
    KsDestructiblesHelper reader;
    require(reader.loadConfig(true) == (root.get() != nullptr), "a database is loaded when it can be opened");
    if (root) {
      const Database database(bytes, *root);
      requireEqual(textOf(fuzz::recordsOfTables()), textOf(database.records()),
                   "a load reads what the file says");
      editAndSave(database, Choices(input.part("edits")), messages);
    } else {
      requireRefused(bytes);
    }
  }
  Tal::FS::fileSystem()->pump();
  return 0;
}
