#include <resources/data_section_cache.h>
#include <resources/file_system.h>
#include <resources/report.h>
#include <resources/resource_name.h>
#include <resources/section_cache.h>
#include <resources/xml_section.h>

#include <utility>

namespace Tal {

SectionCache& SectionCache::instance() {
  static SectionCache cache;
  return cache;
}

SmartPointer<DataSection> SectionCache::open(BasicStringRef resourceName, bool create,
                                             DataSectionCreator* creator) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  if (fileSystem == nullptr) {
    reportRefusal("cannot open " + inQuotes(resourceName) + ": no resource roots are set up; set some first");
    return nullptr;
  }
  const auto file = fileSystem->find(resourceName);
  SmartPointer<SectionDocument> document;
  if (file) document = documentOf(normalisedName(resourceName), *file);
  if (!document && !file && create) {
    if (!fileSystem->locationFor(resourceName)) return nullptr;
    if (creator != nullptr) return creator->create(resourceName);
    document = SectionDocument::make(normalisedName(resourceName));
  }
  if (!document) return nullptr;
  return new XmlSection(document, document->tree().root());
}

SmartPointer<SectionDocument> SectionCache::documentOf(const std::string& name,
                                                       const std::filesystem::path& file) {
  const auto identity = identityAt(file);
  if (!identity) return nullptr;
  Entry& entry = entries_[name];
  if (entry.document && entry.document->identity() == identity) return entry.document;
  if (entry.refused == identity) return nullptr;
  SectionDocument::Refusal refusal;
  entry.document = SectionDocument::read(name, file, refusal);
  entry.refused.reset();
  if (entry.document) return entry.document;
  entry.refused = identity;
  reportRefusal(refusal);
  return nullptr;
}

void SectionCache::purge(BasicStringRef resourceName, bool recursive) {
  const std::string name = normalisedName(resourceName);
  if (const auto found = entries_.find(name); found != entries_.end()) found->second.document = nullptr;
  if (!recursive) return;
  const std::string folder = name.empty() ? name : name + '/';
  for (auto entry = entries_.lower_bound(folder); entry != entries_.end() && entry->first.starts_with(folder);
       ++entry)
    entry->second.document = nullptr;
}

void SectionCache::clear() {
  entries_.clear();
}

void DataSectionCache::purge(BasicStringRef path, bool recursive) {
  SectionCache::instance().purge(path, recursive);
}

void DataSectionCache::clear() {
  SectionCache::instance().clear();
}

}  // namespace Tal
