// What property panels know of the descriptor records. A record is described by one chain: what is said of
// the class, its methods, then its properties in the order in which a panel lists them.

#include <core/ascii_case.h>
#include <core/stack_tracker.h>
#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/panel_names.h>
#include <mio/describe.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace Tal {
namespace {

using mio::Autocomplete;
using mio::BoundProperty;
using mio::ChangeNotification;
using mio::ComboBox;
using mio::OnChange;
using mio::Precision;
using tyk::VariantList;

using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

constexpr char kMetaSource[] = "lib/destructibles/destructibles_meta";

// The methods that the notifications call.
constexpr char kNotify[] = "_notify";
constexpr char kNotifyHardPointChanged[] = "_notifyHardPointChanged";

// The section of a category's effects; a number that is no category's gets those of structures.
BasicStringRef effectsSection(int category) {
  const auto section = database_format::sectionOfCategory(static_cast<KsDestructibleType>(category));
  return section.empty() ? database_format::kStructuresSection : section;
}

// Every effect of a section, in the order of the file.
std::vector<std::string> namesIn(const DataSection& section) {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(section.childCount()));
  for (const SmartPointer<DataSection>& effect : section) names.emplace_back(effect->tag());
  return names;
}

// The effects of a category, in the order of the file, whose names in lower case hold the key. The key is
// taken as it is: one with capitals finds nothing.
std::vector<std::string> getEffectNames(int category, const std::string& key) {
  const TrackedScope tracked("getEffectNames", kMetaSource, 21);
  const SmartPointer<DataSection> root =
      FS::Utils::openSection(database_format::kEffectsFile, false, nullptr);
  if (!root) return {};
  const SmartPointer<DataSection> section = root->openSection(effectsSection(category), false, nullptr);
  if (!section) return {};
  // The document keeps them: a panel asks for the same list for each of its fields.
  static const Derivation<std::vector<std::string>> s_names(&namesIn);
  const auto all = section->derived(s_names);
  if (key.empty()) return *all;
  std::vector<std::string> names;
  const auto isSame = [](char ofName, char ofKey) { return toLowerAscii(ofName) == ofKey; };
  std::copy_if(all->begin(), all->end(), std::back_inserter(names), [&](const std::string& name) {
    return std::search(name.begin(), name.end(), key.begin(), key.end(), isSame) != name.end();
  });
  return names;
}

// A property of the parent of the record that is edited; not valid when there is none.
BoundProperty parentProperty(const BoundProperty& edited, const char* name) {
  mio::Object* const parent = edited.object() == nullptr ? nullptr : edited.object()->parent();
  return parent == nullptr ? BoundProperty() : parent->property(name);
}

// Offers the effects of the model's category.
ComboBox effectList(std::string key) {
  return ComboBox([key = std::move(key)](const BoundProperty& edited) {
    VariantList options{"", UNDEFINED_EFFECT};
    const BoundProperty category = parentProperty(edited, panel_names::kDestructibleType);
    if (!category.isValid()) return options;
    std::vector<std::string> names = getEffectNames(category.get().castTo<int>(), key);
    options.reserve(options.size() + names.size());
    for (std::string& name : names) options.emplace_back(std::move(name));
    return options;
  });
}

// Offers the hard points of the model.
ComboBox hardPointList() {
  return ComboBox([](const BoundProperty& edited) {
    VariantList options{""};
    const BoundProperty hardPoints = parentProperty(edited, panel_names::kHardPoints);
    if (!hardPoints.isValid()) return options;
    for (std::string& name : hardPoints.get().castTo<std::vector<std::string>>())
      options.emplace_back(std::move(name));
    return options;
  });
}

template <class Record>
void notify(Record& record, mio::SetterFlags flags) {
  record.changed(flags);
}

template <class Record>
void notifyHardPointChanged(Record& record) {
  record.hardPointChanged();
}

// Made when the library is loaded, or by the first record that is asked for its meta-object; released when
// the library is unloaded.

const mio::MetaObject& moduleMeta() {
  static const mio::Registration registration(
      mio::describe<Module>("Tal::KsDestructibleModuleDesc")
          .annotation(ChangeNotification(kNotify))
          .method(kNotify, &notify<Module>)
          .method(kNotifyHardPointChanged, &notifyHardPointChanged<Module>)
          .property(panel_names::kHealth, &Module::health, Precision(0))
          .property(panel_names::kEffectHardPoint, &Module::effectHP, hardPointList(),
                    OnChange(kNotifyHardPointChanged))
          .property(panel_names::kHitEffect, &Module::hitEffect, Autocomplete(true), effectList(""))
          .property(panel_names::kRamEffect, &Module::ramEffect, Autocomplete(true), effectList(""))
          .property(panel_names::kDecayEffect, &Module::decayEffect, Autocomplete(true), effectList("")));
  return registration.metaObject();
}

const mio::MetaObject& fragileMeta() {
  static const mio::Registration registration(
      mio::describe<Fragile>("Tal::KsDestructibleFragileDesc")
          .annotation(ChangeNotification(kNotify))
          .method(kNotify, &notify<Fragile>)
          .method(kNotifyHardPointChanged, &notifyHardPointChanged<Fragile>)
          .property(panel_names::kHealth, &Fragile::health, Precision(0))
          .property(panel_names::kEffectHardPoint, &Fragile::effectHP, hardPointList(),
                    OnChange(kNotifyHardPointChanged))
          .property(panel_names::kHitEffect, &Fragile::hitEffect, Autocomplete(true), effectList(""))
          .property(panel_names::kEffect, &Fragile::effect, Autocomplete(true), effectList(""))
          .property(panel_names::kLifetimeEffect, &Fragile::lifetimeEffect, Autocomplete(true),
                    effectList(""))
          .property(panel_names::kDecayEffect, &Fragile::decayEffect, Autocomplete(true), effectList("")));
  return registration.metaObject();
}

const mio::MetaObject& fallingAtomMeta() {
  static const mio::Registration registration(
      mio::describe<FallingAtom>("Tal::KsDestructibleFallingAtomDesc")
          .annotation(ChangeNotification(kNotify))
          .method(kNotify, &notify<FallingAtom>)
          .property(panel_names::kHealth, &FallingAtom::health, Precision(0))
          .property(panel_names::kFractureEffect, &FallingAtom::fractureEffect, Autocomplete(true),
                    effectList("fracture"))
          .property(panel_names::kTouchdownEffect, &FallingAtom::touchdownEffect, Autocomplete(true),
                    effectList("touchdown"))
          .property(panel_names::kTouchdownBreakEffect, &FallingAtom::touchdownBreakEffect,
                    Autocomplete(true), effectList("touchdown_break"))
          .property(panel_names::kLifetimeEffect, &FallingAtom::lifetimeEffect, Autocomplete(true),
                    effectList("lifetime")));
  return registration.metaObject();
}

[[maybe_unused]] const bool areRegistered = (moduleMeta(), fragileMeta(), fallingAtomMeta(), true);

}  // namespace

// Each is its record's first virtual operation that is not inline, so whatever program uses a record holds
// this file, and with it the registrations.

const mio::MetaObject* KsDestructibleModuleDesc::metaObject() const {
  return &moduleMeta();
}

const mio::MetaObject* KsDestructibleFragileDesc::metaObject() const {
  return &fragileMeta();
}

const mio::MetaObject* KsDestructibleFallingAtomDesc::metaObject() const {
  return &fallingAtomMeta();
}

}  // namespace Tal
