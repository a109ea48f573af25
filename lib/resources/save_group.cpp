#include <core/debug_message.h>
#include <core/format.h>
#include <resources/file_system.h>
#include <resources/save_group.h>
#include <resources/save_queue.h>

#include <algorithm>
#include <utility>

namespace Tal {

SaveQueue& SaveQueue::instance() {
  static SaveQueue queue;
  return queue;
}

bool SaveQueue::put(const SmartPointer<SectionDocument>& document, BasicStringRef resourceName) {
  if (depth_ == 0) return false;
  Save save(document, resourceName);
  if (std::find(saves_.begin(), saves_.end(), save) == saves_.end()) saves_.push_back(std::move(save));
  if (resourceName.empty()) document->oweSave();
  return true;
}

bool SaveQueue::lock(const std::filesystem::path& file) {
  if (locks_.contains(file) || held_.contains(file)) return true;
  std::optional<FileLock> lock = acquire(file);
  if (!lock) return false;
  locks_.emplace(file, *std::move(lock));
  return true;
}

bool SaveQueue::hold(const std::filesystem::path& file) {
  std::optional<FileLock> lock = acquire(file);
  if (!lock) return false;
  held_.emplace(file, *std::move(lock));
  return true;
}

std::optional<FileLock> SaveQueue::acquire(const std::filesystem::path& file) const {
  std::string holder;
  std::optional<FileLock> lock = FileLock::acquire(file, patience_, holder);
  if (lock) return lock;
  DebugMessageHelper::criticalMessage("lib/resources/save_group", __LINE__,
                                      "cannot save %s: %s is saving it and does not come to an end; nothing "
                                      "was saved and the edits are kept: "
                                      "save again when it has ended",
                                      escapeControls(file.native()).c_str(), holder.c_str());
  return std::nullopt;
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
  if (isOpen_) SaveQueue::instance().close(false);
}

bool SaveGroup::commit() {
  if (!isOpen_) return true;
  isOpen_ = false;
  return SaveQueue::instance().close(true);
}

SaveLock::SaveLock(BasicStringRef resourceName) {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  std::string refusal;  // to be reported by who opens it
  const auto place = fileSystem == nullptr ? std::nullopt : fileSystem->find(resourceName, &refusal);
  if (!place) return;
  isHeld_ = SaveQueue::instance().hold(*place);
  if (isHeld_) file_ = *place;
}

SaveLock::~SaveLock() {
  if (!file_.empty()) SaveQueue::instance().letGo(file_);
}

}  // namespace Tal
