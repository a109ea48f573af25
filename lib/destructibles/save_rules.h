#pragma once

#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/load_rules.h>
#include <resources/data_section.h>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// What a save writes of a model, where, and what it removes. Functions of a document and of values, without
/// shared state: usable on any thread, a document on one at a time. They edit the document and mark it for
/// saving; a SaveGroup around them makes that one replacement of the file. Nothing here is exported by the
/// module's shared library.
namespace Tal::save_rules {

using Modules = std::map<std::string, KsDestructibleModuleDesc>;
using States = std::map<std::string, std::vector<std::string>>;

/// What to write of one model. The pointers are not owned and must outlive the write.
struct Content {
  std::string model;  ///< the resource name
  KsDestructibleType category = DT_NON_DESTRUCTIBLE;
  std::string achievementTag;                          ///< a structure's
  const Modules* modules = nullptr;                    ///< a structure's; null: those of the file stay
  const States* states = nullptr;                      ///< likewise
  const KsDestructibleFragileDesc* fragile = nullptr;  ///< null: a fragile is not written
  const KsDestructibleFallingAtomDesc* fallingAtom = nullptr;  ///< likewise
  const std::set<std::string>* bspMaterials = nullptr;         ///< the model's; needed with modules
  const std::map<std::string, unsigned>* kinds = nullptr;  ///< of the model's materials; needed with modules
};

/// @name What is written
/// @{

/// Whether an achievement tag is written: one that is neither empty nor "none".
bool isTagWritten(BasicStringRef tag) noexcept;

/// A key of an entry or module and what a save makes of it. Views of the record.
struct KeyOfRecord {
  BasicStringRef key;
  std::variant<std::int32_t, float, BasicStringRef> value;
  bool isWritten = true;  ///< else the key is removed
};

/// The keys of a record in the order of writing, without the name of the entry or module.
std::vector<KeyOfRecord> keysOf(const KsDestructibleFragileDesc& desc);
std::vector<KeyOfRecord> keysOf(const KsDestructibleFallingAtomDesc& desc);
std::vector<KeyOfRecord> keysOf(const KsDestructibleModuleDesc& desc);

/// The keys of the model's own entry, likewise; those of the category that the content is of.
std::vector<KeyOfRecord> keysOf(const Content& content);

/// Why a module is not written.
struct DroppedModule {
  bool isOfBspMaterial = false;  ///< else the model has no BSP material of its name
  unsigned kind = 0;             ///< of its material, which the module before it has, too
  std::string before;            ///< that module, which is written
};

/// Which modules of a structure are written, in order, and why the others are not. A module needs a BSP
/// material of its name. Of modules with materials of one kind only the first is written.
struct ModuleChoice {
  std::vector<const Modules::value_type*> written;
  std::map<std::string, DroppedModule> dropped;
};
ModuleChoice chooseModules(const Modules& modules, const std::set<std::string>& bspMaterials,
                           const std::map<std::string, unsigned>& kinds);

/// What a save makes of an entry of its model.
enum class Fate {
  removed,
  kept,      ///< the first of its section, of which another one of the same tag comes later
  rewritten  ///< the first of the last section of the model's category that has any
};

/// What a save of a model of this category makes of each of its entries.
std::vector<Fate> fatesOf(const std::vector<load_rules::Entry>& entries, const std::string& model,
                          KsDestructibleType category);

/// @}
/// @name Writing
/// @{

void writeFragile(const std::string& model, const KsDestructibleFragileDesc& desc, DataSection& entry);
void writeFallingAtom(const std::string& model, const KsDestructibleFallingAtomDesc& desc,
                      DataSection& entry);

/// Writes modules anew into their section; without any it stays as it is.
void writeModules(const Modules& modules, const std::set<std::string>& bspMaterials,
                  const std::map<std::string, unsigned>& kinds, DataSection& section);

/// Adds states to their section.
void writeStates(const States& states, DataSection& section);

/// Removes every child from `first` on that has the model's name as its "filename".
void removeEntries(const std::string& model, DataSection& section, int first);

/// The steps of a write, for callers that find entries in another way or track the steps.
struct Steps {
  /// Removes the children of the root that pass for entries of the model; whether there were any.
  std::function<bool(SmartPointer<DataSection>& root)> removeSections;

  /// Removes the model's entries from a section; with `keepsFirst` all but the first, which is returned, null
  /// when there is none. `place` is that of the section in the root.
  std::function<SmartPointer<DataSection>(SmartPointer<DataSection>& section, int place, bool keepsFirst)>
      removeEntries;

  /// What the functions of these names do with the content.
  std::function<void(SmartPointer<DataSection>& entry)> writeFragile;
  std::function<void(SmartPointer<DataSection>& entry)> writeFallingAtom;
  std::function<void(SmartPointer<DataSection>& section)> writeModules;
  std::function<void(SmartPointer<DataSection>& section)> writeStates;
};

/// Writes the model's entry and removes its other entries; of a model of no category all of them. A missing
/// entry is made behind the others of its category. A fragile or falling atom without a record gets no entry.
/// False when a child of the root passed for an entry of the model and was removed whole. Else only entries
/// of the model were touched.
bool write(SmartPointer<DataSection> root, const Content& content, const Steps& steps);

/// The same for several models, which are different ones, one after the other. What it takes does not grow
/// with the number of other entries; `index` is that of the document as it is before.
bool write(const SmartPointer<DataSection>& root, const load_rules::EntryIndex& index,
           const std::vector<Content>& contents);

/// @}

}  // namespace Tal::save_rules
