#include <core/display_text.h>
#include <resources/data_section_cache.h>
#include <resources/documents/save_queue.h>
#include <resources/documents/section_cache.h>
#include <resources/documents/xml_section.h>
#include <resources/file_system.h>
#include <resources/files/system_fault.h>
#include <resources/report.h>
#include <resources/resource_name.h>

#include <cerrno>
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

/// Whether a resource may not be used, which is for who opens it to report.
bool isRefused(const FS::MultiFileSystem& fileSystem, BasicStringRef resourceName) {
  const auto place = fileSystem.find(resourceName);
  return !place && place.fault().kind != FaultKind::missing;
}

/// What is opened to be saved is kept from other programs until it is.
Result<void> lockForSaving(const FS::MultiFileSystem& fileSystem, const std::string& name) {
  if (!SaveQueue::instance().isOpen()) return {};
  const auto place = fileSystem.find(name);
  if (!place) return {};  // to be reported by who opens it
  return SaveQueue::instance().lock(place->path());
}

}  // namespace

SectionCache& SectionCache::instance() {
  static SectionCache cache;
  return cache;
}

SmartPointer<DataSection> SectionCache::open(BasicStringRef resourceName, bool create,
                                             DataSectionCreator* creator) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  if (fileSystem == nullptr) {
    reportRefusal("cannot open " + quotedName(resourceName) +
                  ": no resource roots are set up; set some first");
    return nullptr;
  }
  const std::string name = normalisedName(resourceName);
  if (const auto locked = lockForSaving(*fileSystem, name); !locked) {
    reportFailedSave(locked.fault());
    return nullptr;
  }
  const auto known = entries_.find(name);
  const bool isKnown = known != entries_.end() && known->second.document;
  const bool isToStay = isKnown && isKept(*known->second.document);
  // Not in the place of a link that leads out of the root.
  if (isToStay && !isRefused(*fileSystem, resourceName)) return rootOf(known->second.document);
  const auto place = create ? fileSystem->locationFor(resourceName) : fileSystem->find(resourceName);
  if (!place) {
    FS::reportRefused(resourceName, place.fault());
    const bool isFileGone = isKnown && !isToStay && known->second.document->identity();
    if (isFileGone) drop(known->second);
    return nullptr;
  }
  if (const auto identity = identityAt(place->path())) {
    const SmartPointer<SectionDocument> document = documentOf(*place, *identity);
    SmartPointer<DataSection> root = rootOf(document);
    // A group that has nothing new to save makes up for the flush too; without one the next save does.
    if (document && document->isFlushPending()) static_cast<void>(SaveQueue::instance().put(document, ""));
    return root;
  }
  if (const int code = errno; code != ENOENT && code != ENOTDIR) {
    Fault fault = failedReading("cannot examine the file", code);
    fault.file = shownName(name);
    fault.remedy += " and open it again";
    reportRefusal(textOf(fault));
    return nullptr;
  }
  if (!create) return nullptr;  // gone since it was found
  return creator == nullptr ? rootOf(newDocument(*place)) : creator->create(resourceName);
}

SmartPointer<SectionDocument> SectionCache::newDocument(const RootedPath& place) {
  Entry& entry = entries_[place.name.native()];
  const bool isMade = entry.document && !entry.document->identity();
  if (!isMade) entry = {SectionDocument::make(place), std::nullopt, std::nullopt, false};
  return entry.document;
}

SmartPointer<SectionDocument> SectionCache::documentOf(const RootedPath& place,
                                                       const FileIdentity& identity) {
  Entry& entry = entries_[place.name.native()];
  if (entry.document && entry.document->isCurrent(place, identity)) return entry.document;
  drop(entry);
  const bool isRefused = entry.refused && entry.refused->version == identity;
  if (isRefused && !entry.refused->isRecent) return nullptr;
  auto document = SectionDocument::read(place);
  if (!document) {
    const std::string text = textOf(document.fault());
    if (!isRefused || entry.refused->text != text) reportRefusal(text);
    entry.refused = std::nullopt;
    if (document.fault().kind == FaultKind::malformed)
      entry.refused = Refused{identity, text, isRecent(identity)};
    return nullptr;
  }
  entry.document = *std::move(document);
  entry.refused = std::nullopt;
  if (entry.saved) entry.document->recognise(*std::exchange(entry.saved, {}));
  if (std::exchange(entry.isFlushPending, false)) entry.document->markFlushPending();
  return entry.document;
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
  found->second = std::move(left);
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

void DataSectionCache::clear() {
  SectionCache::instance().clear();
}

}  // namespace Tal
