#include <core/debug_message.h>
#include <core/display_text.h>
#include <resources/documents/save_queue.h>
#include <resources/file_system.h>
#include <resources/report.h>
#include <resources/save_group.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Tal {

namespace {

void reportUnsaved(const std::filesystem::path& file, const std::string& reason, const std::string& advice) {
  DebugMessageHelper::criticalMessage("lib/resources/save_group", __LINE__,
                                      "cannot save %s: %s; nothing was saved and the edits are kept: %s",
                                      quotedName(file.native()).c_str(), reason.c_str(), advice.c_str());
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

bool SaveQueue::lock(const std::filesystem::path& file) {
  if (locks_.contains(file)) return true;
  std::shared_ptr<const FileLock> lock = hold(file);
  if (!lock) return false;
  locks_.emplace(file, std::move(lock));
  return true;
}

// The system would make a second lock of the same process wait for the first.
std::shared_ptr<const FileLock> SaveQueue::hold(const std::filesystem::path& file) {
  std::erase_if(shared_, [](const auto& lock) { return lock.expired(); });
  const std::optional<FileIdentity> identity = identityAt(file);
  if (!identity && errno != ENOENT && errno != ENOTDIR) {
    const FileFailure failure = failedStep("examining", file, errno);
    reportUnsaved(file, failure.text, failure.hint + " and save again");
    return nullptr;
  }
  for (const auto& lock : shared_)  // a file may have several names
    if (auto known = lock.lock(); known && identity && known->isOf(*identity)) return known;
  std::optional<FileLock> made = acquire(file);
  if (!made) return nullptr;
  auto lock = std::make_shared<const FileLock>(*std::move(made));
  shared_.push_back(lock);
  return lock;
}

std::optional<FileLock> SaveQueue::acquire(const std::filesystem::path& file) {
  std::string holder;
  std::optional<FileLock> lock = FileLock::acquire(file, patience_, holder);
  if (lock && !lock->fault().empty()) warnOfNoLock(file, lock->fault());
  if (lock) return lock;
  reportUnsaved(file, holder + " is saving it and does not come to an end", "save again when it has ended");
  return std::nullopt;
}

bool SaveQueue::refuseValue(BasicStringRef key, BasicStringRef reason) {
  reportRefusal("the value for " + quotedName(key) + ' ' + std::string(reason));
  isValueRefused_ = depth_ > 0;
  return false;
}

void SaveQueue::warnOfNoLock(const std::filesystem::path& file, const std::string& reason) {
  if (!unlockable_.insert(file).second) return;
  DebugMessageHelper({0, 4}, "", 0)
      .message(quotedName(file.native()) + " cannot be locked here (" + reason +
               "): take care that no other program saves it at the same time");
}

bool SaveQueue::close(bool isCommitted) {
  if (--depth_ > 0) return true;
  const std::vector<Save> saves = std::exchange(saves_, {});
  const auto locks = std::exchange(locks_, {});  // let go when everything is written
  if (std::exchange(isValueRefused_, false) && isCommitted) {
    DebugMessageHelper::criticalMessage(
        "lib/resources/save_group", __LINE__,
        "nothing was saved, since a value was refused; the edits are kept: correct the "
        "value and save again");
    return false;
  }
  bool isWritten = true;
  for (const auto& [document, resourceName] : saves)
    if (isCommitted) isWritten = document->write(resourceName) && isWritten;
  return isWritten;
}

SaveGroup::SaveGroup() {
  SaveQueue::instance().open();
}

SaveGroup::~SaveGroup() {
  if (isOpen_) static_cast<void>(SaveQueue::instance().close(false));  // nothing is written that could fail
}

bool SaveGroup::commit() {
  if (!isOpen_) return true;
  isOpen_ = false;
  return SaveQueue::instance().close(true);
}

bool SaveGroup::isAnyOpen() noexcept {
  return SaveQueue::instance().isOpen();
}

SaveLock::SaveLock(BasicStringRef resourceName) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  std::string refusal;  // to be reported by who opens it
  const auto place = fileSystem == nullptr ? std::nullopt : fileSystem->find(resourceName, &refusal);
  if (!place) return;
  lock_ = SaveQueue::instance().hold(place->path());
  isHeld_ = lock_ != nullptr;
}

}  // namespace Tal
