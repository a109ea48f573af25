// A list of effects, a category and a key: what panels are offered is what the file says, in its order, also
// after the file, or its document in memory, was changed.
// The input is the list; behind the lines "#fuzz key" and "#fuzz next" stand the key and a second list.

#include <authoring/effects.h>
#include <authoring/panel_record.h>
#include <destructibles/ks_destructibles_helper.h>
#include <fuzz/fuzz_support.h>
#include <fuzz/xml_mutation.h>
#include <mio/property.h>
#include <resources/data_section_cache.h>
#include <tyk/variant.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using fuzz::require;
using fuzz::requireEqual;
using fuzz::Root;
using Names = std::vector<std::string>;
using Tal::DataSection;
using Tal::SmartPointer;

constexpr char kEffects[] = "scripts/destructibles_effects.xml";

std::string lowerCase(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

/// What the document says, read in the plainest way; the key is in lower case.
Names namesOf(const SmartPointer<DataSection>& root, const std::string& category, const std::string& key) {
  Names names;
  const SmartPointer<DataSection> section = root ? root->findChild(category) : nullptr;
  for (int i = 0; section && i < section->childCount(); ++i) {
    const std::string name(section->child(i)->tag());
    if (lowerCase(name).find(key) != std::string::npos) names.push_back(name);
  }
  return names;
}

std::string joined(const Names& names) {
  std::string text;
  for (const std::string& name : names) text += name + '\n';
  return text;
}

/// The options of a property of a falling atom, whose panel offers a part of the effects.
Names optionsOf(const char* property) {
  mio::DynamicObject parent;
  Tal::authoring::offerToRecords(
      parent, [] { return Tal::DT_FALLING_ATOMS; }, [] { return Names(); });
  Tal::KsDestructibleFallingAtomDesc record;
  record.setParent(&parent);
  return tyk::Variant(record.property(property).options()).castTo<Names>();
}

void requireListed(const SmartPointer<DataSection>& root, const std::string& key) {
  const std::pair<Tal::KsDestructibleType, const char*> categories[] = {
      {Tal::DT_STRUCTURE, "structures"},
      {Tal::DT_FRAGILE, "fragiles"},
      {Tal::DT_FALLING_ATOMS, "fallingAtoms"}};
  for (const auto& [category, section] : categories) {
    const auto names = Tal::authoring::effectNames(category, key);
    requireEqual(joined(names ? *names : Names()), joined(namesOf(root, section, lowerCase(key))),
                 "the effects are those of the file");
  }
  for (const auto& [property, part] :
       {std::pair("Fracture effect", "fracture"), {"Lifetime effect", "lifetime"}}) {
    Names expected = namesOf(root, "fallingAtoms", part);
    expected.insert(expected.begin(), {"", "none"});
    requireEqual(joined(optionsOf(property)), joined(expected), "a panel offers the effects that fit");
  }
}

SmartPointer<DataSection> open() {
  return Tal::FS::Utils::openSection(kEffects, false, nullptr);
}

/// Everything that is asked of one version of the file.
void checkFile(const std::string& bytes, const std::string& key) {
  Root::instance().write(kEffects, bytes);
  fuzz::note(bytes);
  const SmartPointer<DataSection> root = open();
  requireListed(root, key);
  requireListed(root, key);
  const bool isReadable = root.get() != nullptr;
  require(static_cast<bool>(Tal::authoring::checkEffects()) == isReadable,
          "a list that cannot be read is refused");
  requireEqual(Root::instance().read(kEffects), bytes, "listing does not touch the file");
  if (!root) return;
  for (const char* const category : {"structures", "fallingAtoms"}) {
    const SmartPointer<DataSection> section = root->openSection(category, true);
    section->appendChild("Added_Fracture");
    section->removeChild(section->child(0));
  }
  requireListed(root, key);
  require(root->save(), "the list can be saved");
  requireListed(root, key);
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return fuzz::mutateXml(data, size, maxSize, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Messages messages;
  const fuzz::Input input(std::string_view(reinterpret_cast<const char*>(data), size));
  const std::string key(input.part("key"));
  Tal::DataSectionCache::clear();
  checkFile(fuzz::storedXml(input), key);
  if (!input.part("next").empty()) checkFile(std::string(input.part("next")), key);
  return 0;
}
