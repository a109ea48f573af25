#include <destructibles/database_format.h>
#include <destructibles/save_rules.h>

#include <algorithm>
#include <optional>

namespace Tal::save_rules {
namespace {

namespace keys = database_format::keys;
namespace tags = database_format::tags;
using database_format::sectionOfCategory;

using EntryPointers = std::vector<SmartPointer<DataSection>>;

void writeKey(const KeyOfRecord& field, DataSection& section) {
  if (!field.isWritten) {
    section.deleteSection(field.key);
  } else if (const auto* const number = std::get_if<std::int32_t>(&field.value)) {
    section.writeInt(field.key, *number);
  } else if (const auto* const scale = std::get_if<float>(&field.value)) {
    section.writeFloat(field.key, *scale);
  } else {
    section.writeString(field.key, std::get<BasicStringRef>(field.value));
  }
}

void writeKeys(const std::vector<KeyOfRecord>& fields, DataSection& section) {
  for (const KeyOfRecord& field : fields) writeKey(field, section);
}

KeyOfRecord text(BasicStringRef key, const std::string& value) {
  return {key, BasicStringRef(value)};
}

// Removed when it is empty.
KeyOfRecord textIfAny(BasicStringRef key, const std::string& value) {
  return {key, BasicStringRef(value), !value.empty()};
}

KeyOfRecord tagKey(const std::string& value) {
  return {keys::kAchievementTag, BasicStringRef(value), isTagWritten(value)};
}

template <class Record>
void writeRecord(const std::string& model, const Record& desc, DataSection& entry) {
  entry.writeString(keys::kFileName, model);
  writeKeys(keysOf(desc), entry);
  entry.save("");
}

// A fragile or falling atom whose record is gone is not written, and gets no new entry either.
bool isRecordThere(const Content& content) {
  if (content.category == DT_FRAGILE) return content.fragile != nullptr;
  return content.category != DT_FALLING_ATOMS || content.fallingAtom != nullptr;
}

void writeStructure(const Content& content, SmartPointer<DataSection>& entry, const Steps& steps) {
  entry->writeString(keys::kFileName, content.model);
  writeKeys(keysOf(content), *entry);
  entry->save("");
  if (content.states != nullptr) {
    SmartPointer<DataSection> states = entry->openSection(tags::kStates, true, nullptr);
    states->deleteSections(tags::kState);
    entry->save("");
    steps.writeStates(states);
  }
  if (content.modules != nullptr) {
    SmartPointer<DataSection> modules = entry->openSection(tags::kModules, true, nullptr);
    steps.writeModules(modules);
    entry->save("");
  }
}

void writeEntry(const Content& content, DataSection& section, SmartPointer<DataSection> entry,
                const Steps& steps) {
  if (!entry) entry = section.appendChild(tags::kEntry);
  if (content.category == DT_STRUCTURE) return writeStructure(content, entry, steps);
  const auto& step = content.category == DT_FRAGILE ? steps.writeFragile : steps.writeFallingAtom;
  step(entry);
  entry->save("");
}

/// What the removals have left of a model's entries.
struct Remainder {
  SmartPointer<DataSection> entry;  ///< the one to be written; null when it is to be made
  bool hasRemoved = false;
};

// From every category but the model's own all entries go, and from each section of that all but the first.
Remainder keepOneEntry(const SmartPointer<DataSection>& root, BasicStringRef ownSection, const Steps& steps) {
  Remainder remainder;
  for (int place = 0; place < root->childCount(); ++place) {
    SmartPointer<DataSection> section = root->child(place);
    if (section->tag() == database_format::kTreesSection) continue;
    const int count = section->childCount();
    SmartPointer<DataSection> kept = steps.removeEntries(section, place, section->tag() == ownSection);
    if (kept) remainder.entry = std::move(kept);
    remainder.hasRemoved = remainder.hasRemoved || section->childCount() != count;
  }
  return remainder;
}

/// The entries of several models in a document, section by section as these stand in the root, also while
/// the models are written.
class EntriesToWrite {
 public:
  EntriesToWrite(const DataSection& root, const load_rules::EntryIndex& index,
                 const std::vector<Content>& contents)
      : sections_(static_cast<std::size_t>(root.childCount())), namesOfSections_(index.namesOfSections) {
    for (const Content& content : contents) {
      for (load_rules::Entry& entry : load_rules::entriesOf(root, index, content.model)) {
        auto& ofSection = sections_[static_cast<std::size_t>(entry.place.section)];
        ofSection[content.model].push_back(std::move(entry.entry));
      }
    }
  }

  bool removeSections(const std::string& model, DataSection& root) {
    if (!namesOfSections_.contains(model)) return false;
    for (int place = root.childCount() - 1; place >= 0; --place) {
      const bool isThere = place < static_cast<int>(sections_.size());
      if (isThere && root.child(place)->readString(keys::kFileName) == model)
        sections_.erase(sections_.begin() + place);
    }
    removeEntries(model, root, 0);
    return true;
  }

  // A section that a write has made stands behind these; a model that is written later has no entry in it.
  SmartPointer<DataSection> removeFrom(const std::string& model, DataSection& section, int place,
                                       bool keepsFirst) const {
    if (place >= static_cast<int>(sections_.size())) return nullptr;
    const auto& ofSection = sections_[static_cast<std::size_t>(place)];
    const auto found = ofSection.find(model);
    if (found == ofSection.end()) return nullptr;
    const EntryPointers& entries = found->second;
    for (auto entry = entries.begin() + (keepsFirst ? 1 : 0); entry != entries.end(); ++entry) {
      section.removeChild(*entry);
      section.save("");
    }
    return keepsFirst ? entries.front() : nullptr;
  }

 private:
  std::vector<std::map<std::string, EntryPointers>> sections_;
  const std::set<std::string>& namesOfSections_;
};

}  // namespace

bool isTagWritten(BasicStringRef tag) noexcept {
  return !tag.empty() && tag != UNDEFINED_EFFECT;
}

std::vector<KeyOfRecord> keysOf(const KsDestructibleFragileDesc& desc) {
  return {{keys::kHealth, desc.health},
          text(keys::kDecayEffect, desc.decayEffect),
          text(keys::kEffect, desc.effect),
          textIfAny(keys::kHitEffect, desc.hitEffect),
          text(keys::kEffectHardPoint, desc.effectHP),
          {keys::kEffectScale, desc.effectScale},
          textIfAny(keys::kMaterialName, desc.matName),
          text(keys::kLifetimeEffect, desc.lifetimeEffect),
          tagKey(desc.achievementTag)};
}

std::vector<KeyOfRecord> keysOf(const KsDestructibleFallingAtomDesc& desc) {
  return {{keys::kHealth, desc.health},
          text(keys::kPhysicParams, desc.physicParams),
          text(keys::kLifetimeEffect, desc.lifetimeEffect),
          text(keys::kFractureEffect, desc.fractureEffect),
          text(keys::kTouchdownEffect, desc.touchdownEffect),
          text(keys::kTouchdownBreakEffect, desc.touchdownBreakEffect),
          {keys::kEffectScale, desc.effectScale},
          tagKey(desc.achievementTag)};
}

std::vector<KeyOfRecord> keysOf(const KsDestructibleModuleDesc& desc) {
  return {{keys::kHealth, desc.health},
          text(keys::kDecayEffect, desc.decayEffect),
          text(keys::kRamEffect, desc.ramEffect),
          textIfAny(keys::kHitEffect, desc.hitEffect),
          text(keys::kEffectHardPoint, desc.effectHP),
          {keys::kEffectScale, desc.effectScale}};
}

std::vector<KeyOfRecord> keysOf(const Content& content) {
  if (content.category == DT_STRUCTURE) return {tagKey(content.achievementTag)};
  if (content.category == DT_FRAGILE && content.fragile != nullptr) return keysOf(*content.fragile);
  if (content.category == DT_FALLING_ATOMS && content.fallingAtom != nullptr)
    return keysOf(*content.fallingAtom);
  return {};
}

ModuleChoice chooseModules(const Modules& modules, const std::set<std::string>& bspMaterials,
                           const std::map<std::string, unsigned>& kinds) {
  ModuleChoice choice;
  std::map<unsigned, std::string> writtenKinds;
  for (const auto& module : modules) {
    const std::string& name = module.first;
    if (!bspMaterials.contains(name)) {
      choice.dropped.emplace(name, DroppedModule());
      continue;
    }
    const auto material = kinds.find(name);
    if (material != kinds.end()) {
      const auto [before, isFirst] = writtenKinds.emplace(material->second, name);
      if (!isFirst) {
        choice.dropped.emplace(name, DroppedModule{true, material->second, before->second});
        continue;
      }
    }
    choice.written.push_back(&module);
  }
  return choice;
}

std::vector<Fate> fatesOf(const std::vector<load_rules::Entry>& entries, const std::string& model,
                          KsDestructibleType category) {
  const BasicStringRef ownSection = sectionOfCategory(category);
  std::vector<Fate> fates;
  std::optional<std::size_t> rewritten;
  for (const load_rules::Entry& entry : entries) {
    const bool goesWithSection = entry.section->readString(keys::kFileName) == model;
    const bool isKept = entry.isFirst && entry.section->tag() == ownSection && !goesWithSection;
    if (isKept) rewritten = fates.size();
    fates.push_back(isKept ? Fate::kept : Fate::removed);
  }
  if (rewritten) fates[*rewritten] = Fate::rewritten;
  return fates;
}

void writeFragile(const std::string& model, const KsDestructibleFragileDesc& desc, DataSection& entry) {
  writeRecord(model, desc, entry);
}

void writeFallingAtom(const std::string& model, const KsDestructibleFallingAtomDesc& desc,
                      DataSection& entry) {
  writeRecord(model, desc, entry);
}

void writeModules(const Modules& modules, const std::set<std::string>& bspMaterials,
                  const std::map<std::string, unsigned>& kinds, DataSection& section) {
  if (modules.empty()) return;
  section.removeChildren();
  section.save("");
  for (const Modules::value_type* const written : chooseModules(modules, bspMaterials, kinds).written) {
    const SmartPointer<DataSection> module = section.appendChild(tags::kModule);
    module->writeString(keys::kMaterialName, written->first);
    writeKeys(keysOf(written->second), *module);
    module->save("");
  }
}

void writeStates(const States& states, DataSection& section) {
  for (const auto& [name, materials] : states) {
    // In the format of the file every name is followed by a space, the last one too.
    std::string destroyedMaterials;
    for (const std::string& material : materials) destroyedMaterials += material + ' ';
    const SmartPointer<DataSection> state = section.appendChild(tags::kState);
    state->writeString(keys::kStateName, name);
    state->writeString(keys::kDestroyedMaterials, destroyedMaterials);
    state->save("");
  }
}

void removeEntries(const std::string& model, DataSection& section, int first) {
  for (int place = first; (place = section.findChildWith(keys::kFileName, model, place)) != -1;) {
    section.removeChild(section.child(place));
    section.save("");
  }
}

bool write(SmartPointer<DataSection> root, const Content& content, const Steps& steps) {
  const bool hasRemovedSections = steps.removeSections(root);
  const BasicStringRef tag = sectionOfCategory(content.category);
  const bool isNewSection = !root->openSection(tag);
  const SmartPointer<DataSection> section = root->openSection(tag, true, nullptr);
  const Remainder remainder = keepOneEntry(root, tag, steps);
  if (!isRecordThere(content)) {
    // Only with the removals does a new section reach the file.
    if (isNewSection && !remainder.hasRemoved) root->removeChild(section);
  } else if (!tag.empty()) {
    writeEntry(content, *section, remainder.entry, steps);
  }
  return !hasRemovedSections;
}

bool write(const SmartPointer<DataSection>& root, const load_rules::EntryIndex& index,
           const std::vector<Content>& contents) {
  EntriesToWrite entries(*root, index, contents);
  bool isOfModelsAlone = true;
  for (const Content& content : contents) {
    const Steps steps{[&](auto& document) { return entries.removeSections(content.model, *document); },
                      [&](auto& section, int place, bool keepsFirst) {
                        return entries.removeFrom(content.model, *section, place, keepsFirst);
                      },
                      [&](auto& entry) { writeFragile(content.model, *content.fragile, *entry); },
                      [&](auto& entry) { writeFallingAtom(content.model, *content.fallingAtom, *entry); },
                      [&](auto& section) {
                        writeModules(*content.modules, *content.bspMaterials, *content.kinds, *section);
                      },
                      [&](auto& section) { writeStates(*content.states, *section); }};
    isOfModelsAlone = write(root, content, steps) && isOfModelsAlone;
  }
  return isOfModelsAlone;
}

}  // namespace Tal::save_rules
