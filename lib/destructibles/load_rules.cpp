#include <destructibles/load_rules.h>

#include <functional>
#include <tuple>

namespace Tal::load_rules {
namespace {

using database_format::keys::kFileName;

std::size_t hashOf(const std::string& name) {
  return std::hash<std::string>()(name);
}

EntryIndex indexOf(const DataSection& root) {
  EntryIndex index;
  for (const SmartPointer<DataSection>& section : root)
    index.namesOfSections.insert(section->readString(kFileName));
  forEachSection(root, [&index](KsDestructibleType, const SmartPointer<DataSection>& section, int place) {
    int entryPlace = 0;
    for (const SmartPointer<DataSection>& entry : *section)
      index.rows.push_back({hashOf(entry->readString(kFileName)), {place, entryPlace++}});
  });
  std::ranges::sort(index.rows, {}, [](const EntryIndex::Row& row) {
    return std::tuple(row.nameHash, row.place.section, row.place.entry);
  });
  return index;
}

void addEntry(const DataSection& root, const EntryPlace& place, std::vector<Entry>& entries) {
  const bool isFirst = entries.empty() || entries.back().place.section != place.section;
  const SmartPointer<DataSection> section = isFirst ? root.child(place.section) : entries.back().section;
  entries.push_back({database_format::categoryOfSection(section->tag()), place, isFirst, section,
                     section->child(place.entry)});
}

}  // namespace

std::shared_ptr<const EntryIndex> entryIndex(const DataSection& root) {
  static const Derivation<EntryIndex> s_index(&indexOf);
  return root.derived(s_index);
}

std::vector<Entry> entriesOf(const DataSection& root, const EntryIndex& index, const std::string& model) {
  const std::size_t nameHash = hashOf(model);
  std::vector<Entry> entries;
  auto row = std::ranges::lower_bound(index.rows, nameHash, {}, &EntryIndex::Row::nameHash);
  for (; row != index.rows.end() && row->nameHash == nameHash; ++row) {
    addEntry(root, row->place, entries);
    if (entries.back().entry->readString(kFileName) != model) entries.pop_back();  // of the same hash
  }
  return entries;
}

std::vector<Entry> entriesOf(const DataSection& root, const std::string& model) {
  return entriesOf(root, *entryIndex(root), model);
}

std::vector<Entry> findEntries(const DataSection& root, const std::string& model) {
  std::vector<Entry> entries;
  forEachSection(root, [&](KsDestructibleType, const SmartPointer<DataSection>& section, int place) {
    for (int entry = section->findChildWith(kFileName, model); entry != -1;
         entry = section->findChildWith(kFileName, model, entry + 1))
      addEntry(root, {place, entry}, entries);
  });
  return entries;
}

}  // namespace Tal::load_rules
