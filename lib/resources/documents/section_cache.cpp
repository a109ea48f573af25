#include <core/display_text.h>
#include <resources/data_section_cache.h>
#include <resources/documents/save_queue.h>
#include <resources/documents/section_cache.h>
#include <resources/documents/xml_section.h>
#include <resources/file_system.h>
#include <resources/report.h>
#include <resources/resource_name.h>

#include <utility>

namespace Tal {
namespace {

/// Edits that have not reached the file are what nobody could get back.
bool isKept(const SectionDocument& document) {
  return document.isEdited() || document.isSavePending();
}

/// Lets a document go. What it saved and could not flush to the disk, the next document of the resource has
/// to flush.
void drop(SectionCache::Entry& entry) {
  entry.isFlushPending = entry.isFlushPending || (entry.document && entry.document->isFlushPending());
  entry.document = nullptr;
  entry.isPinned = false;
}

/// Drops a document with its unsaved edits, unless a save was asked for that has not succeeded yet. What its
/// file held is noted, so that a document with the same bytes gets the same content stamp.
void forget(SectionCache::Entry& entry) {
  if (!entry.document || entry.document->isSavePending()) return;
  entry.saved = entry.document->savedContent();
  drop(entry);
}

SmartPointer<DataSection> rootOf(const SmartPointer<SectionDocument>& document) {
  if (!document) return nullptr;
  return new XmlSection(document, document->tree().root());
}

/// The root of a document that was looked for. A group that has nothing new to save makes up for a flush that
/// is pending; without one the next save does.
SmartPointer<DataSection> handOut(const SmartPointer<SectionDocument>& document) {
  if (document->isFlushPending()) static_cast<void>(SaveQueue::instance().put(document, ""));
  return rootOf(document);
}

/// Whether a resource may not be used, which is for who opens it to report.
bool isRefused(DocumentSource& source, BasicStringRef resourceName) {
  const auto location = source.find(resourceName, false);
  return !location && location.fault().kind != FaultKind::missing;
}

}  // namespace

SectionCache& SectionCache::instance() {
  static SectionCache cache;
  return cache;
}

Result<void> SectionCache::lock(BasicStringRef resourceName) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  if (fileSystem == nullptr || !SaveQueue::instance().isOpen()) return {};
  DocumentSource& source = *fileSystem->documents();
  const auto location = source.find(resourceName, false);
  if (!location) return {};  // to be reported by who opens it
  return SaveQueue::instance().lock(source, *location);
}

Result<SmartPointer<DataSection>> SectionCache::open(BasicStringRef resourceName, bool create,
                                                     DataSectionCreator* creator) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  if (fileSystem == nullptr) {
    return Fault{FaultKind::refused,
                 "cannot open " + quotedName(resourceName) + ": no resource roots are set up",
                 "set some first"};
  }
  const std::shared_ptr<DocumentSource>& source = fileSystem->documents();
  const auto known = entries_.find(normalisedName(resourceName));
  const bool isKnown = known != entries_.end() && known->second.document;
  if (isKnown && known->second.isPinned && !known->second.pin.expired())
    return handOut(known->second.document);
  const bool isToStay = isKnown && isKept(*known->second.document);
  // Not in the place of a link that leads out of the root.
  if (isToStay && !isRefused(*source, resourceName)) return rootOf(known->second.document);
  const auto location = source->find(resourceName, create);
  if (!location) {
    const bool isFileGone = isKnown && !isToStay && known->second.document->identity();
    if (isFileGone) drop(known->second);
    Fault fault = location.fault();
    fault.what = "the resource name " + quotedName(resourceName) + ' ' + fault.what;
    return fault;
  }
  if (!location->file)
    return creator == nullptr ? rootOf(newDocument(source, location->place)) : creator->create(resourceName);
  auto document = documentOf(source, location->place, *location->file);
  if (!document) return std::move(document).fault();
  Entry& entry = entries_.find(location->place.name.native())->second;
  entry.isPinned = !entry.pin.expired();
  return handOut(*document);
}

void SectionCache::report(BasicStringRef resourceName, const Fault& fault) {
  if (fault.kind == FaultKind::missing) return;
  const auto known = entries_.find(normalisedName(resourceName));
  const bool isRefused =
      fault.kind == FaultKind::malformed && known != entries_.end() && known->second.refused;
  if (isRefused && std::exchange(known->second.refused->isReported, true)) return;
  reportRefusal(textOf(fault));
}

SmartPointer<SectionDocument> SectionCache::newDocument(const std::shared_ptr<DocumentSource>& source,
                                                        const files::RootedPath& place) {
  Entry& entry = entries_[place.name.native()];
  const bool isMade = entry.document && !entry.document->identity();
  if (!isMade) {
    entry = {};
    entry.document = SectionDocument::make(source, place);
  }
  return entry.document;
}

Result<SmartPointer<SectionDocument>> SectionCache::documentOf(const std::shared_ptr<DocumentSource>& source,
                                                               const files::RootedPath& place,
                                                               const files::FileIdentity& identity) {
  Entry& entry = entries_[place.name.native()];
  if (entry.document && entry.document->isCurrent(place, identity)) return entry.document;
  drop(entry);
  const bool isRefused = entry.refused && entry.refused->version == identity;
  if (isRefused && !entry.refused->isRecent) return entry.refused->fault;
  auto document = SectionDocument::read(source, place);
  if (!document) {
    const Fault& fault = document.fault();
    const bool isReported =
        isRefused && entry.refused->isReported && textOf(entry.refused->fault) == textOf(fault);
    entry.refused = std::nullopt;
    if (fault.kind == FaultKind::malformed)
      entry.refused = Refused{identity, fault, files::isRecent(identity), isReported};
    return fault;
  }
  entry.document = *std::move(document);
  entry.refused = std::nullopt;
  if (entry.saved) entry.document->recognise(*std::exchange(entry.saved, {}));
  if (std::exchange(entry.isFlushPending, false)) entry.document->markFlushPending();
  return entry.document;
}

std::shared_ptr<const void> SectionCache::pin(BasicStringRef resourceName) {
  Entry& entry = entries_[normalisedName(resourceName)];
  auto pin = entry.pin.lock();
  if (!pin) pin = std::make_shared<char>();
  entry.pin = pin;
  entry.isPinned = false;
  return pin;
}

void SectionCache::purge(BasicStringRef resourceName, bool recursive) {
  const std::string name = normalisedName(resourceName);
  if (const auto found = entries_.find(name); found != entries_.end()) forget(found->second);
  if (!recursive) return;
  const std::string folder = name.empty() ? name : name + '/';
  for (auto entry = entries_.lower_bound(folder); entry != entries_.end() && entry->first.starts_with(folder);
       ++entry)
    forget(entry->second);
}

void SectionCache::discard(BasicStringRef resourceName) {
  // A name that is as it is kept needs no memory to be found: this is also called when there is none.
  auto found = entries_.find(resourceName);
  if (found == entries_.end()) found = entries_.find(normalisedName(resourceName));
  if (found == entries_.end()) return;
  Entry left;
  drop(found->second);
  left.isFlushPending = found->second.isFlushPending;
  left.pin = std::move(found->second.pin);
  found->second = std::move(left);
}

std::optional<files::FileIdentity> SectionCache::version(BasicStringRef resourceName) const {
  const auto known = entries_.find(normalisedName(resourceName));
  if (known == entries_.end() || !known->second.document) return std::nullopt;
  return known->second.document->identity();
}

void SectionCache::clear() {
  entries_.clear();
}

void SectionCache::markPossiblyStale(BasicStringRef resourceName) {
  const auto found = entries_.find(normalisedName(resourceName));
  if (found == entries_.end()) return;
  if (found->second.refused) found->second.refused->isRecent = true;
  if (found->second.document) found->second.document->markPossiblyStale();
}

void DataSectionCache::purge(BasicStringRef path, bool recursive) {
  SectionCache::instance().purge(path, recursive);
}

void DataSectionCache::discard(BasicStringRef path) {
  SectionCache::instance().discard(path);
}

std::shared_ptr<const void> DataSectionCache::pin(BasicStringRef path) {
  return SectionCache::instance().pin(path);
}

std::optional<files::FileIdentity> DataSectionCache::version(BasicStringRef path) {
  return SectionCache::instance().version(path);
}

void DataSectionCache::clear() {
  SectionCache::instance().clear();
}

}  // namespace Tal
