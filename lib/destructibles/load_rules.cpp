#include <destructibles/load_rules.h>

namespace Tal::load_rules {
namespace {

EntryIndex indexOf(const DataSection& root) {
  EntryIndex index;
  forEachSection(root, [&index](KsDestructibleType, const SmartPointer<DataSection>& section, int place) {
    int entryPlace = 0;
    for (const SmartPointer<DataSection>& entry : *section)
      index[entry->readString(database_format::keys::kFileName)].push_back({place, entryPlace++});
  });
  return index;
}

}  // namespace

std::shared_ptr<const EntryIndex> entryIndex(const DataSection& root) {
  static const Derivation<EntryIndex> s_index(&indexOf);
  return root.derived(s_index);
}

std::vector<Entry> entriesAt(const DataSection& root, const std::vector<EntryPlace>& places) {
  std::vector<Entry> entries;
  for (const EntryPlace& place : places) {
    const bool isFirst = entries.empty() || entries.back().place.section != place.section;
    const SmartPointer<DataSection> section = isFirst ? root.child(place.section) : entries.back().section;
    entries.push_back({database_format::categoryOfSection(section->tag()), place, isFirst, section,
                       section->child(place.entry)});
  }
  return entries;
}

std::vector<Entry> entriesOf(const DataSection& root, const std::string& model) {
  const std::shared_ptr<const EntryIndex> index = entryIndex(root);
  const auto found = index->find(model);
  return found != index->end() ? entriesAt(root, found->second) : std::vector<Entry>();
}

std::vector<Entry> findEntries(const DataSection& root, const std::string& model) {
  std::vector<EntryPlace> places;
  forEachSection(root, [&](KsDestructibleType, const SmartPointer<DataSection>& section, int place) {
    for (int entry = section->findChildWith(database_format::keys::kFileName, model); entry != -1;
         entry = section->findChildWith(database_format::keys::kFileName, model, entry + 1))
      places.push_back({place, entry});
  });
  return entriesAt(root, places);
}

}  // namespace Tal::load_rules
