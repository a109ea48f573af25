#include <core/display_text.h>
#include <resources/documents/save_queue.h>
#include <resources/documents/section_cache.h>
#include <resources/file_system.h>
#include <resources/report.h>
#include <resources/save_group.h>

#include <algorithm>
#include <utility>

namespace Tal {

namespace {

/// Adds what another document failed with.
void add(Result<void>& all, const Result<void>& written) {
  if (written) return;
  Fault fault = written.fault();
  if (!all) fault.what = textOf(all.fault()) + "; " + fault.what;
  all = fault;
}

}  // namespace

SaveQueue& SaveQueue::instance() {
  static SaveQueue queue;
  return queue;
}

bool SaveQueue::put(const SmartPointer<SectionDocument>& document, BasicStringRef resourceName) {
  if (depth_ == 0) return false;
  Save save(document, resourceName);
  if (std::find(saves_.begin(), saves_.end(), save) == saves_.end()) saves_.push_back(std::move(save));
  if (resourceName.empty()) document->markSavePending();
  return true;
}

Result<void> SaveQueue::lock(DocumentSource& source, const Location& location) {
  auto lock = source.lock(location);
  if (!lock) return std::move(lock).fault();
  locks_.insert(*std::move(lock));
  return {};
}

bool SaveQueue::refuseValue(BasicStringRef key, BasicStringRef reason) {
  reportRefusal("the value for " + quotedName(key) + ' ' + std::string(reason));
  isValueRefused_ = depth_ > 0;
  return false;
}

Result<void> SaveQueue::close(bool isCommitted) {
  if (--depth_ > 0) return {};
  const std::vector<Save> saves = std::exchange(saves_, {});
  const auto locks = std::exchange(locks_, {});  // let go when everything is written
  if (std::exchange(isValueRefused_, false) && isCommitted) {
    return Fault{FaultKind::refused, "nothing was saved, since a value was refused",
                 "correct the value and save again"};
  }
  Result<void> all;
  for (const auto& [document, resourceName] : saves)
    if (isCommitted) add(all, document->write(resourceName));
  return all;
}

SaveGroup::SaveGroup() {
  SaveQueue::instance().open();
}

SaveGroup::~SaveGroup() {
  if (isOpen_) static_cast<void>(SaveQueue::instance().close(false));  // nothing is written that could fail
}

Result<void> SaveGroup::commit() {
  if (!isOpen_) return {};
  isOpen_ = false;
  return SaveQueue::instance().close(true);
}

bool SaveGroup::commitOrReport() {
  const Result<void> written = commit();
  if (!written) reportFailedSave(written.fault());
  return static_cast<bool>(written);
}

bool SaveGroup::isAnyOpen() noexcept {
  return SaveQueue::instance().isOpen();
}

Result<SaveLock> SaveLock::acquire(BasicStringRef resourceName) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  if (fileSystem == nullptr) return SaveLock(nullptr, nullptr);
  const auto location = fileSystem->documents()->find(resourceName, false);
  if (!location && location.fault().kind == FaultKind::missing) return SaveLock(nullptr, nullptr);
  if (!location) {
    Fault fault = location.fault();
    fault.what = "cannot save " + quotedName(resourceName) + ", which " + fault.what + "; nothing was saved";
    return fault;
  }
  auto lock = fileSystem->documents()->lock(*location);
  if (!lock) return std::move(lock).fault();
  return SaveLock(*std::move(lock), SectionCache::instance().pin(resourceName));
}

}  // namespace Tal
